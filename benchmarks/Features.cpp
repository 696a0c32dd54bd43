// Measuring objects beside reading labels and values once with as many threads.

#include "Objects.hpp"

#include <DLL/StandardFeaturesCalculation.hpp>
#include <StandardFeaturesCalculation.hpp>

#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

template <class L, class T>
std::vector<Contestant> features(SizeType bytes, int threads, L from) {
  const auto labels = makeScene<L>(bytes / (sizeof(L) + sizeof(T)), [](auto... at) { return ballAt(at...); });
  const SizeType count = labels->getSize();
  const auto values =
      makeScene<T>(count, [](SizeType x, SizeType y, SizeType z) { return (x * 7 + y * 3 + z * 5) % 101; });
  const SmartPointer<StandardFeaturesCalculation::Parameter> parameter(new StandardFeaturesCalculation::Parameter);
  parameter->inputLabelVolume = labels;
  parameter->inputValueVolume = values;
  parameter->inputMinimumLabel = SmartPointer<IComposite>(new Data<L>(from));
  parameter->inputMaximumLabel =
      SmartPointer<IComposite>(new Data<L>(*std::max_element(labels->getData(), labels->getData() + count)));
  parameter->inputNumberOfThreads = threads;
  const auto run = [=] {
    parameter->outputFeaturesVector = SmartPointer<IComposite>();
    DLL::StandardFeaturesCalculation::Operator().apply(parameter);
  };
  const auto read = [=] {
    plainRead(threads, labels->getData(), count);
    plainRead(threads, values->getData(), count);
  };
  const SizeType all = count * (sizeof(L) + sizeof(T));
  return {{"StandardFeaturesCalculation", all, run}, {"reading", all, read}};
}

template <class L, class T>
void add() {
  for (const L from : {L(0), L(1)}) {
    registerContest(std::string("StandardFeaturesCalculation<") + Tavi::typeName<L> + "," + Tavi::typeName<T> + ">/" +
                        (from == 0 ? "with" : "without") + " background",
                    [from](SizeType bytes, int threads) { return features<L, T>(bytes, threads, from); });
  }
}

[[maybe_unused]] const bool registered = [] {
  add<uint16, uint8>();
  add<uint32, uint8>();
  add<uint32, uint16>();
  add<uint32, float32>();
  return true;
}();

}  // namespace
