#pragma once

#include "support/Volumes.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

/// The plain restatement of the distance transforms, and volumes to measure.
namespace NORV::Tests {

using Tavi::SizeType;

/// The start value in the arithmetic of the type, wrapped.
template <class T>
T startOf(const Extents& extents) {
  const SizeType largest = std::max({extents[0], extents[1], extents[2]});
  T value = std::numeric_limits<T>::max();
  value = static_cast<T>(value - T(2));
  for (const SizeType part : {largest, largest}) {
    value = static_cast<T>(value - static_cast<T>(part));
  }
  return value;
}

/// The rule as it is stated: two passes in place, each voxel lowered by its earlier neighbours.
template <class In, class Out>
std::vector<Out> twoPasses(const std::vector<In>& input, const Extents& extents, In source, bool allNeighbours) {
  const auto nx = static_cast<int64>(extents[0]), ny = static_cast<int64>(extents[1]),
             nz = static_cast<int64>(extents[2]);
  std::vector<Out> output;
  for (const In value : input) {
    output.push_back(value == source ? Out(0) : startOf<Out>(extents));
  }
  const auto index = [&](int64 x, int64 y, int64 z) { return static_cast<std::size_t>((z * ny + y) * nx + x); };
  const auto update = [&](int64 x, int64 y, int64 z, int64 sense) {
    Out& voxel = output[index(x, y, z)];
    int64 value = voxel;
    for (int64 dz = -1; dz <= 0; ++dz) {
      for (int64 dy = -1; dy <= 1; ++dy) {
        for (int64 dx = -1; dx <= 1; ++dx) {
          const bool earlier = dz < 0 || dy < 0 || (dy == 0 && dx < 0);
          if (!earlier || (!allNeighbours && std::abs(dx) + std::abs(dy) + std::abs(dz) != 1)) {
            continue;
          }
          const int64 px = x - sense * dx, py = y - sense * dy, pz = z - sense * dz;
          if (px >= 0 && px < nx && py >= 0 && py < ny && pz >= 0 && pz < nz) {
            value = std::min(value, int64{output[index(px, py, pz)]} + 1);
          }
        }
      }
    }
    voxel = static_cast<Out>(value);
  };
  const auto pass = [&](int64 sense) {
    for (int64 k = 0; k < nx * ny * nz; ++k) {
      const int64 i = sense < 0 ? k : nx * ny * nz - 1 - k;
      update(i % nx, i / nx % ny, i / nx / ny, sense);
    }
  };
  pass(-1);
  pass(1);
  return output;
}

/// Mostly others, some sources, in places that differ with the seed; also none at all and nothing else.
template <class In>
std::vector<In> sparseSources(std::size_t count, unsigned seed, In source, In other) {
  std::mt19937 random(seed);
  const unsigned oneIn = seed % 7 == 0 ? 1 : 2 + static_cast<unsigned>(random() % 60);
  std::vector<In> values(count, other);
  for (In& value : values) {
    if (seed % 11 != 1 && random() % oneIn == 0) {
      value = source;
    }
  }
  return values;
}

}  // namespace NORV::Tests
