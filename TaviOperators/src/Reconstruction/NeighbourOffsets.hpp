#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <array>
#include <cstddef>

/// The neighbours of a voxel as signed distances in memory, in fixed orders.
namespace NORV::TaviOperators::Impl {

/// How far apart neighbours lie in memory along each axis, in voxels.
struct Strides {
  int64 prim = 1, sec = 0, tert = 0;
};

template <class T>
Strides stridesOf(const View<T>& view) {
  return {view.stridePrim, view.strideSec, view.strideTert};
}

/// Neighbours with a common face: -tert, -sec, -prim, +prim, +sec, +tert.
inline std::array<int64, 6> faceNeighbours(const Strides& strides) {
  return {-strides.tert, -strides.sec, -strides.prim, strides.prim, strides.sec, strides.tert};
}

/// Neighbours with a common edge or corner in a slice: sec outermost, then prim, each from -1 to 1.
inline std::array<int64, 8> sliceNeighbours(const Strides& strides) {
  std::array<int64, 8> offsets{};
  std::size_t count = 0;
  for (int sec = -1; sec <= 1; ++sec) {
    for (int prim = -1; prim <= 1; ++prim) {
      if (sec != 0 || prim != 0) {
        offsets[count++] = sec * strides.sec + prim * strides.prim;
      }
    }
  }
  return offsets;
}

/// Neighbours with a common face, edge or corner: tert outermost, then sec, then prim, each from -1 to 1.
inline std::array<int64, 26> allNeighbours(const Strides& strides) {
  std::array<int64, 26> offsets{};
  std::size_t count = 0;
  for (int tert = -1; tert <= 1; ++tert) {
    for (int sec = -1; sec <= 1; ++sec) {
      for (int prim = -1; prim <= 1; ++prim) {
        if (tert != 0 || sec != 0 || prim != 0) {
          offsets[count++] = tert * strides.tert + sec * strides.sec + prim * strides.prim;
        }
      }
    }
  }
  return offsets;
}

}  // namespace NORV::TaviOperators::Impl
