#pragma once

#include "Contest.hpp"

#include <DLL/RekGzReader.hpp>
#include <RekGzReader.hpp>

#include <string>

/// Volumes with objects, as measuring and labelling find them.
namespace NORV::Benchmarks {

/// The number of the ball that a voxel belongs to, or 0: one ball in each cube of 32 voxels, of different sizes. They
/// fill about 7 % of the volume.
inline uint32 ballAt(SizeType x, SizeType y, SizeType z) {
  const SizeType cube = x / 32 + 8 * (y / 32) + 64 * (z / 32);
  const double radius = 4 + static_cast<double>(cube * 2654435761u >> 7 & 7);
  const auto offset = [](SizeType at) { return static_cast<double>(at % 32) - 15.5; };
  const double square = offset(x) * offset(x) + offset(y) * offset(y) + offset(z) * offset(z);
  return square < radius * radius ? static_cast<uint32>(cube + 1) : 0;
}

/// 256 voxels wide and high; each voxel is `valueOf(x, y, z)`.
template <class T, class Rule>
VolumePtr<T> makeScene(SizeType voxels, const Rule& valueOf) {
  const VolumePtr<T> volume(new Volume<T>(Tavi::Dimension<SizeType>(256, 256, std::max<SizeType>(1, voxels / 65536))));
  T* const data = volume->getData();
  const auto count = static_cast<int64>(volume->getSize());
#pragma omp parallel for schedule(static)
  for (int64 i = 0; i < count; ++i) {
    const auto at = static_cast<SizeType>(i);
    data[i] = static_cast<T>(valueOf(at % 256, at / 256 % 256, at / 65536));
  }
  return volume;
}

/// Whether a voxel of a volume without any order is set: 30 in 100 are.
inline uint32 noiseAt(SizeType x, SizeType y, SizeType z) {
  uint64 number = x + 256 * (y + 256 * z);
  number = (number ^ number >> 30) * 0xbf58476d1ce4e5b9u;
  number = (number ^ number >> 27) * 0x94d049bb133111ebu;
  return (number ^ number >> 31) % 100 < 30 ? 1 : 0;
}

/// A volume of 0 and 1 by name: "balls", "noise", or "file", which is the uint8 volume of the gzip-compressed REK file
/// that TAVI_BENCHMARK_FILE names, with 1 above 60.
inline VolumePtr<uint8> makeBinaryScene(const std::string& scene, SizeType voxels) {
  if (scene != "file") {
    const auto valueAt = scene == "balls" ? &ballAt : &noiseAt;
    return makeScene<uint8>(voxels, [=](auto... at) { return valueAt(at...) != 0 ? 1 : 0; });
  }
  const Tavi::SmartPointer<TaviOperators::RekGzReader::Parameter> parameter(new TaviOperators::RekGzReader::Parameter);
  parameter->inputFilename = std::string(std::getenv("TAVI_BENCHMARK_FILE"));
  TaviOperators::DLL::RekGzReader::Operator().apply(parameter);
  const VolumePtr<uint8> volume(parameter->outputVolume.value());
  uint8* const data = volume->getData();
  std::transform(data, data + volume->getSize(), data, [](uint8 value) { return static_cast<uint8>(value > 60); });
  return volume;
}
inline std::vector<std::string> binaryScenes() {
  std::vector<std::string> scenes{"balls", "noise"};
  if (std::getenv("TAVI_BENCHMARK_FILE") != nullptr) {
    scenes.emplace_back("file");
  }
  return scenes;
}

}  // namespace NORV::Benchmarks
