// Basins beside the plain way to find them, and memory beside each figure. TAVI_BENCHMARK_SCAN names a REK file of
// uint8 voxels to measure instead of the made-up scenes.

#include "../tests/Reconstruction/StatedBasins.hpp"
#include "Contest.hpp"

#include <DLL/WatershedTransform.hpp>
#include <WatershedTransform.hpp>

#include <array>
#include <cmath>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

SizeType sceneEdge() { return largeBytes() >= SizeType{16} << 20 ? 256 : 64; }

uint64 mixed(uint64 number) {
  number = (number ^ number >> 30) * 0xbf58476d1ce4e5b9u;
  number = (number ^ number >> 27) * 0x94d049bb133111ebu;
  return number ^ number >> 31;
}

/// Smooth hills with some grain; a share of the volume is air at 0.
uint32 hillsAt(SizeType x, SizeType y, SizeType z, double air) {
  const auto wave = [](SizeType at, double period) { return std::sin(static_cast<double>(at) * 6.2832 / period); };
  const double height = 0.5 + (wave(x, 61) * wave(y, 47) + wave(y, 23) * wave(z, 31) + wave(z, 83) * wave(x, 19)) / 6;
  const double above = (height - air) / (1 - air) * 240;
  return above <= 0 ? 0 : static_cast<uint32>(above) + 1 + static_cast<uint32>(mixed(x + 512 * (y + 512 * z)) % 4);
}

struct Scene {
  std::string name;
  Tavi::Dimension<SizeType> extents;
  std::vector<uint8> values;
};

Scene makeHills(const std::string& name, SizeType edge, double air) {
  Scene scene{name, {edge, edge, edge}, std::vector<uint8>(edge * edge * edge)};
  inParts(omp_get_max_threads(), scene.values.size(), [&](SizeType begin, SizeType end) {
    for (SizeType i = begin; i < end; ++i) {
      scene.values[i] = static_cast<uint8>(hillsAt(i % edge, i / edge % edge, i / edge / edge, air));
    }
  });
  return scene;
}

/// The three extents of a REK file stand in 16 bits each at its begin.
Scene readScan(const char* name) {
  std::ifstream file(name, std::ios::binary);
  std::array<char, 2048> header{};
  file.read(header.data(), header.size());
  const auto word = [&](std::size_t at) {
    return static_cast<SizeType>(static_cast<uint8>(header[at])) |
           static_cast<SizeType>(static_cast<uint8>(header[at + 1])) << 8;
  };
  Scene scene{"scan", {word(0), word(2), word(6)}, {}};
  scene.values.resize(scene.extents.size());
  file.read(reinterpret_cast<char*>(scene.values.data()), static_cast<std::streamsize>(scene.values.size()));
  return file ? scene : Scene{"", {}, {}};
}

template <class T>
void addScene(const Scene& scene, bool hasHugeMinimum, T factor) {
  for (const int threads :
       omp_get_max_threads() > 1 ? std::vector<int>{1, omp_get_max_threads()} : std::vector<int>{1}) {
    const std::string name = "WatershedTransform<" + std::string(Tavi::typeName<T>) + ">/" + scene.name +
                             std::to_string(scene.extents.prim) + (hasHugeMinimum ? "/hugeMinimum" : "/exact") + "/" +
                             std::to_string(threads) + "T";
    benchmark::RegisterBenchmark(
        name.c_str(),
        [=](benchmark::State& state) {
          std::vector<T> values(scene.values.begin(), scene.values.end());
          for (T& value : values) {
            value = static_cast<T>(value * factor);
          }
          const VolumePtr<T> input(new Volume<T>(scene.extents));
          const VolumePtr<T> output(new Volume<T>(scene.extents));
          const VolumePtr<uint32> labels(new Volume<uint32>(scene.extents));
          std::copy(values.begin(), values.end(), input->getData());
          const SmartPointer<WatershedTransform::Parameter> parameter(new WatershedTransform::Parameter);
          parameter->inputVolume = input;
          parameter->outputVolume = labels;
          parameter->inputHugeMinimum = hasHugeMinimum;
          parameter->inputNumberOfThreads = static_cast<SizeType>(threads);
          const std::array<uint64, 3> extents{scene.extents.prim, scene.extents.sec, scene.extents.tert};
          const SizeType count = values.size();
          contest(state, {{"watershed", count, [=] { DLL::WatershedTransform::Operator().apply(parameter); }},
                          {"plain", count, [&] {
                             benchmark::DoNotOptimize(Tests::statedBasins(values, extents, false, hasHugeMinimum));
                           }}});
          state.counters["voxels"] =
              benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate);
          state.counters["ns/voxel"] =
              benchmark::Counter(static_cast<double>(count) * 1e-9,
                                 benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
        })
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime();
  }
}

[[maybe_unused]] const bool registered = [] {
  const char* const scan = std::getenv("TAVI_BENCHMARK_SCAN");
  const Scene read = readScan(scan != nullptr ? scan : "");
  if (!read.values.empty()) {
    addScene<uint8>(read, false, 1);
    addScene<uint8>(read, true, 1);
  }
  for (SizeType edge = 64; edge <= sceneEdge(); edge *= 2) {
    addScene<uint8>(makeHills("hills", edge, 0.0), false, 1);
  }
  const Scene air = makeHills("air", sceneEdge(), 0.6);
  addScene<uint8>(air, false, 1);
  addScene<uint8>(air, true, 1);
  addScene<uint16>(air, true, 257);
  addScene<uint32>(air, true, 16843009);
  return true;
}();

}  // namespace
