// The distance transforms beside copying a volume of the output's size. Bytes are those of the input and of the output,
// each counted once. TAVI_BENCHMARK_FILE adds a volume of the user's own.

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

/// To the objects or, with `source` 0, to the background.
template <class Op, class Parameter, class Out>
void add(const std::string& name, const std::string& scene, uint8 source) {
  const std::string title =
      name + "<uint8," + Tavi::typeName<Out> + ">/" + scene + (source == 0 ? "/to background" : "/to objects");
  registerByThreads(title, [=](int threads) {
    const auto input = makeBinaryScene(scene, std::min(largeBytes(), SizeType{16} << 20));
    const VolumePtr<Out> output(new Volume<Out>(input->getDimension()));
    const VolumePtr<Out> copy(new Volume<Out>(input->getDimension()));
    const SmartPointer<Parameter> parameter(new Parameter);
    parameter->inputVolume = input;
    parameter->outputVolume = output;
    parameter->inputObjectValue.setValue(source);
    const SizeType count = input->getSize();
    return std::vector<Contestant>{
        {.name = name, .bytes = count * (1 + sizeof(Out)), .run = [=] { Op().apply(parameter); }, .voxels = count},
        {.name = "memcpy", .bytes = count * 2 * sizeof(Out), .run = [=] {
           plainCopy(threads, output->getData(), copy->getData(), count);
         }}};
  });
}

template <class Out>
void addBoth() {
  const auto addScene = [](const std::string& scene, uint8 source) {
    add<DLL::ChessboardDistanceTransform::Operator, ChessboardDistanceTransform::Parameter, Out>(
        "ChessboardDistanceTransform", scene, source);
    add<DLL::CityblockDistanceTransform::Operator, CityblockDistanceTransform::Parameter, Out>(
        "CityblockDistanceTransform", scene, source);
  };
  addScene("balls", 0);
  for (const std::string& scene : binaryScenes()) {
    addScene(scene, 1);
  }
}

[[maybe_unused]] const bool registered = [] {
  addBoth<uint8>();
  addBoth<uint16>();
  addBoth<uint32>();
  return true;
}();

}  // namespace
