// The distance transforms, which use one thread, beside copying a volume of the output's size. Bytes are those of the
// input and of the output, each counted once.

#include "Objects.hpp"

#include <ChessboardDistanceTransform.hpp>
#include <CityblockDistanceTransform.hpp>
#include <DLL/ChessboardDistanceTransform.hpp>
#include <DLL/CityblockDistanceTransform.hpp>

#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

/// From balls to the background or, with `source` 1, from the background to balls.
template <class Op, class Parameter, class Out>
void add(const std::string& name, uint8 source) {
  const std::string title = name + "<uint8," + Tavi::typeName<Out> + ">/" + (source == 0 ? "dense" : "sparse");
  benchmark::RegisterBenchmark(title.c_str(),
                               [=](benchmark::State& state) {
                                 const SizeType voxels = std::min(largeBytes(), SizeType{16} << 20);
                                 const auto input =
                                     makeScene<uint8>(voxels, [](auto... at) { return ballAt(at...) != 0 ? 1 : 0; });
                                 const VolumePtr<Out> output(new Volume<Out>(input->getDimension()));
                                 const VolumePtr<Out> copy(new Volume<Out>(input->getDimension()));
                                 const SmartPointer<Parameter> parameter(new Parameter);
                                 parameter->inputVolume = input;
                                 parameter->outputVolume = output;
                                 parameter->inputObjectValue.setValue(source);
                                 const SizeType count = input->getSize();
                                 contest(state, {{name, count * (1 + sizeof(Out)), [=] { Op().apply(parameter); }},
                                                 {"memcpy", count * 2 * sizeof(Out),
                                                  [=] { plainCopy(1, output->getData(), copy->getData(), count); }}});
                                 state.counters["voxels"] = benchmark::Counter(
                                     static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate);
                               })
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime();
}

template <class Out>
void addBoth() {
  for (const uint8 source : {uint8{0}, uint8{1}}) {
    add<DLL::ChessboardDistanceTransform::Operator, ChessboardDistanceTransform::Parameter, Out>(
        "ChessboardDistanceTransform", source);
    add<DLL::CityblockDistanceTransform::Operator, CityblockDistanceTransform::Parameter, Out>(
        "CityblockDistanceTransform", source);
  }
}

[[maybe_unused]] const bool registered = [] {
  addBoth<uint8>();
  addBoth<uint16>();
  addBoth<uint32>();
  return true;
}();

}  // namespace
