// Labelling, the selection of objects and the shuffling of labels, beside copying a volume of the labels' size. Bytes
// are those of the inputs and of the output, each counted once. TAVI_BENCHMARK_FILE adds a volume of the user's own.

#include "Objects.hpp"

#include <BigObjectsRemover.hpp>
#include <ChessboardConnectedComponentsAnalysis.hpp>
#include <CityblockConnectedComponentsAnalysis.hpp>
#include <DLL/BigObjectsRemover.hpp>
#include <DLL/ChessboardConnectedComponentsAnalysis.hpp>
#include <DLL/CityblockConnectedComponentsAnalysis.hpp>
#include <DLL/SwitchLabelsRandom.hpp>
#include <SwitchLabelsRandom.hpp>

#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

SizeType sceneVoxels() { return std::min(largeBytes(), SizeType{64} << 20); }

template <class Op, class Parameter, class L>
void addLabelling(const std::string& name, const std::string& scene) {
  registerByThreads(name + "<uint8," + Tavi::typeName<L> + ">/" + scene, [=](int threads) {
    const auto input = makeBinaryScene(scene, sceneVoxels());
    const VolumePtr<L> labels(new Volume<L>(input->getDimension()));
    const VolumePtr<L> copy(new Volume<L>(input->getDimension()));
    const SmartPointer<Parameter> parameter(new Parameter);
    parameter->inputFirstVolume = input;
    parameter->outputVolume = labels;
    parameter->inputBackgroundValue.setValue(uint8{0});
    const SizeType count = input->getSize();
    return std::vector<Contestant>{
        {.name = name, .bytes = count * (1 + sizeof(L)), .run = [=] { Op().apply(parameter); }, .voxels = count},
        {.name = "memcpy", .bytes = count * 2 * sizeof(L), .run = [=] {
           plainCopy(threads, labels->getData(), copy->getData(), count);
         }}};
  });
}

template <class L>
void addBoth() {
  for (const std::string& scene : binaryScenes()) {
    addLabelling<DLL::CityblockConnectedComponentsAnalysis::Operator, CityblockConnectedComponentsAnalysis::Parameter,
                 L>("CityblockConnectedComponentsAnalysis", scene);
    addLabelling<DLL::ChessboardConnectedComponentsAnalysis::Operator, ChessboardConnectedComponentsAnalysis::Parameter,
                 L>("ChessboardConnectedComponentsAnalysis", scene);
  }
}

/// A label each for the balls, or many small ones.
template <class L>
void addSelection(const std::string& scene, uint32 (*labelAt)(SizeType, SizeType, SizeType)) {
  const std::string name = "BigObjectsRemover";
  registerByThreads(name + "<uint8," + Tavi::typeName<L> + ">/" + scene, [=](int threads) {
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
    return std::vector<Contestant>{{.name = name,
                                    .bytes = count * (2 + sizeof(L)),
                                    .run = [=] { DLL::BigObjectsRemover::Operator().apply(parameter); },
                                    .voxels = count},
                                   {.name = "memcpy", .bytes = count * 2 * sizeof(L), .run = [=] {
                                      plainCopy(threads, labels->getData(), copy->getData(), count);
                                    }}};
  });
}

void addShuffling(const std::string& scene, uint32 (*labelAt)(SizeType, SizeType, SizeType), uint64 labelCount) {
  const std::string name = "SwitchLabelsRandom";
  registerByThreads(name + "<uint32>/" + scene, [=](int threads) {
    const auto labels = makeScene<uint32>(sceneVoxels(), labelAt);
    const VolumePtr<uint32> output(new Volume<uint32>(labels->getDimension()));
    const SmartPointer<SwitchLabelsRandom::Parameter> parameter(new SwitchLabelsRandom::Parameter);
    parameter->inputVolume = labels;
    parameter->outputVolume = output;
    parameter->inputNumberOfLabels = labelCount;
    const SizeType count = labels->getSize();
    return std::vector<Contestant>{{.name = name,
                                    .bytes = count * 8,
                                    .run = [=] { DLL::SwitchLabelsRandom::Operator().apply(parameter); },
                                    .voxels = count},
                                   {.name = "memcpy", .bytes = count * 8, .run = [=] {
                                      plainCopy(threads, labels->getData(), output->getData(), count);
                                    }}};
  });
}

uint32 grainAt(SizeType x, SizeType y, SizeType z) {
  return noiseAt(x, y, z) * static_cast<uint32>(1 + (x + y) % 5000);
}

[[maybe_unused]] const bool registered = [] {
  addBoth<uint32>();
  addSelection<uint32>("balls", &ballAt);
  addSelection<uint32>("noise", &grainAt);
  addSelection<uint16>("noise", &grainAt);
  addShuffling("balls", &ballAt, 64 * (sceneVoxels() / 65536 / 32 + 1) + 1);
  addShuffling("noise", &grainAt, 5001);
  return true;
}();

}  // namespace
