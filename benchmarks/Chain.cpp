// Ten voxel-wise operators one after the other, as a pipeline runs them: each result is dropped once it has been read.
// With new outputs beside two volumes that take turns, and with the cache of blocks switched off.

#include "Contest.hpp"

#include <DLL/Saturation.hpp>
#include <Saturation.hpp>
#include <Tavi/BlockCache.hpp>

#include <array>
#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;
using Tavi::Allocator::processWideBlockCache;

constexpr SizeType steps = 10;

/// Gives each step the output that `output(step)` names; an empty one lets the operator make its own.
template <class T, class Outputs>
void runChain(const VolumePtr<T>& input, int threads, const Outputs& output) {
  SmartPointer<IVolume> current = input;
  for (SizeType step = 0; step < steps; ++step) {
    const SmartPointer<Saturation::Parameter> parameter(new Saturation::Parameter);
    parameter->inputVolume = current;
    parameter->inputLowerLimit.setValue(static_cast<T>(step));
    parameter->inputUpperLimit.setValue(static_cast<T>(100 - step));
    parameter->inputNumberOfThreads = static_cast<SizeType>(threads);
    parameter->outputVolume = output(step);
    DLL::Saturation::Operator().apply(parameter);
    current = parameter->outputVolume.value();
  }
}

template <class T>
std::vector<Contestant> chain(SizeType bytes, int threads) {
  const auto input = makeVolume<T>(bytes);
  const std::array<VolumePtr<T>, 2> reused{makeVolume<T>(bytes), makeVolume<T>(bytes)};
  const SizeType moved = steps * 2 * input->getSize() * sizeof(T);
  const auto fresh = [=] { runChain(input, threads, [](SizeType) { return SmartPointer<IVolume>(); }); };
  const SizeType limit = processWideBlockCache().getLimit();
  return {{"new", moved, fresh, fresh},  // a process that has run a chain before
          {"reused", moved,
           [=] { runChain(input, threads, [&](SizeType step) { return SmartPointer<IVolume>(reused[step % 2]); }); }},
          {"uncached", moved, [=] {
             processWideBlockCache().setLimit(0);
             fresh();
             processWideBlockCache().setLimit(limit);
           }}};
}

[[maybe_unused]] const bool registered = [] {
  registerContest("Chain<uint8>", [](SizeType bytes, int threads) { return chain<uint8>(bytes, threads); });
  registerContest("Chain<uint16>", [](SizeType bytes, int threads) { return chain<uint16>(bytes, threads); });
  registerContest("Chain<float32>", [](SizeType bytes, int threads) { return chain<float32>(bytes, threads); });
  return true;
}();

}  // namespace
