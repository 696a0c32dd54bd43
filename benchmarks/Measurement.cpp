// The measuring operators beside a plain loop that reads the same bytes with as many threads.

#include "Contest.hpp"

#include <DLL/ExtremeValueCalculation.hpp>
#include <ExtremeValueCalculation.hpp>
#include <Impl/Frame/Instances.hpp>

#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

template <class T>
std::vector<Contestant> extremes(SizeType bytes, int threads) {
  const auto input = makeVolume<T>(bytes);
  const SmartPointer<ExtremeValueCalculation::Parameter> parameter(new ExtremeValueCalculation::Parameter);
  parameter->inputVolume = input;
  parameter->inputNumberOfThreads = threads;
  const SizeType count = input->getSize();
  return {{"ExtremeValueCalculation", count * sizeof(T),
           [=] { DLL::ExtremeValueCalculation::Operator().apply(parameter); }},
          {"reading", count * sizeof(T), [=] { plainRead(threads, input->getData(), count); }}};
}

[[maybe_unused]] const bool registered = [] {
  Impl::forEachType(Impl::AllVoxelTypes(), []<class T>() {
    registerContest(std::string("ExtremeValueCalculation<") + Tavi::typeName<T> + ">", extremes<T>);
  });
  return true;
}();

}  // namespace
