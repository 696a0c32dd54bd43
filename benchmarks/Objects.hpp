#pragma once

#include "Contest.hpp"

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

}  // namespace NORV::Benchmarks
