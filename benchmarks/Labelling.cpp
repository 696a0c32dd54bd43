// Labelling and the selection of objects, which use one thread, beside copying a volume of the labels' size. Bytes are
// those of the inputs and of the output, each counted once.

#include "Objects.hpp"

#include <BigObjectsRemover.hpp>
#include <ChessboardConnectedComponentsAnalysis.hpp>
#include <CityblockConnectedComponentsAnalysis.hpp>
#include <DLL/BigObjectsRemover.hpp>
#include <DLL/ChessboardConnectedComponentsAnalysis.hpp>
#include <DLL/CityblockConnectedComponentsAnalysis.hpp>

#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

/// Whether a voxel of a volume without any order is set: 30 in 100 are.
uint32 noiseAt(SizeType x, SizeType y, SizeType z) {
  uint64 number = x + 256 * (y + 256 * z);
  number = (number ^ number >> 30) * 0xbf58476d1ce4e5b9u;
  number = (number ^ number >> 27) * 0x94d049bb133111ebu;
  return (number ^ number >> 31) % 100 < 30 ? 1 : 0;
}

SizeType sceneVoxels() { return std::min(largeBytes(), SizeType{64} << 20); }

void setVoxels(benchmark::State& state, SizeType count) {
  state.counters["voxels"] =
      benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate);
}

template <class Op, class Parameter, class L>
void addLabelling(const std::string& name, const std::string& scene, uint32 (*valueAt)(SizeType, SizeType, SizeType)) {
  benchmark::RegisterBenchmark(
      (name + "<uint8," + Tavi::typeName<L> + ">/" + scene).c_str(),
      [=](benchmark::State& state) {
        const auto input = makeScene<uint8>(sceneVoxels(), [=](auto... at) { return valueAt(at...) != 0 ? 1 : 0; });
        const VolumePtr<L> labels(new Volume<L>(input->getDimension()));
        const VolumePtr<L> copy(new Volume<L>(input->getDimension()));
        const SmartPointer<Parameter> parameter(new Parameter);
        parameter->inputFirstVolume = input;
        parameter->outputVolume = labels;
        parameter->inputBackgroundValue.setValue(uint8{0});
        const SizeType count = input->getSize();
        contest(state,
                {{name, count * (1 + sizeof(L)), [=] { Op().apply(parameter); }},
                 {"memcpy", count * 2 * sizeof(L), [=] { plainCopy(1, labels->getData(), copy->getData(), count); }}});
        setVoxels(state, count);
      })
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime();
}

template <class L>
void addBoth() {
  for (const auto& [scene, valueAt] : {std::pair{"balls", &ballAt}, std::pair{"noise", &noiseAt}}) {
    addLabelling<DLL::CityblockConnectedComponentsAnalysis::Operator, CityblockConnectedComponentsAnalysis::Parameter,
                 L>("CityblockConnectedComponentsAnalysis", scene, valueAt);
    addLabelling<DLL::ChessboardConnectedComponentsAnalysis::Operator, ChessboardConnectedComponentsAnalysis::Parameter,
                 L>("ChessboardConnectedComponentsAnalysis", scene, valueAt);
  }
}

/// A label each for the balls, or many small ones.
template <class L>
void addSelection(const std::string& scene, uint32 (*labelAt)(SizeType, SizeType, SizeType)) {
  const std::string name = "BigObjectsRemover";
  benchmark::RegisterBenchmark(
      (name + "<uint8," + Tavi::typeName<L> + ">/" + scene).c_str(),
      [=](benchmark::State& state) {
        const auto labels = makeScene<L>(sceneVoxels(), labelAt);
        const auto input = makeVolume<uint8>(labels->getSize());
        const VolumePtr<uint8> output(new Volume<uint8>(labels->getDimension()));
        const VolumePtr<L> copy(new Volume<L>(labels->getDimension()));
        const SmartPointer<BigObjectsRemover::Parameter> parameter(new BigObjectsRemover::Parameter);
        parameter->inputVolume = input;
        parameter->inputLabelVolume = labels;
        parameter->outputVolume = output;
        parameter->inputThreshold = 1000;
        parameter->inputBackgroundLabelEnabled = true;
        parameter->inputBackgroundLabel.setValue(L(0));
        parameter->inputSubstitutionValue.setValue(uint8{0});
        const SizeType count = labels->getSize();
        contest(state,
                {{name, count * (2 + sizeof(L)), [=] { DLL::BigObjectsRemover::Operator().apply(parameter); }},
                 {"memcpy", count * 2 * sizeof(L), [=] { plainCopy(1, labels->getData(), copy->getData(), count); }}});
        setVoxels(state, count);
      })
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime();
}

uint32 grainAt(SizeType x, SizeType y, SizeType z) {
  return noiseAt(x, y, z) * static_cast<uint32>(1 + (x + y) % 5000);
}

[[maybe_unused]] const bool registered = [] {
  addBoth<uint32>();
  addSelection<uint32>("balls", &ballAt);
  addSelection<uint32>("noise", &grainAt);
  addSelection<uint16>("noise", &grainAt);
  return true;
}();

}  // namespace
