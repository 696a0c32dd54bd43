#pragma once

#include "support/NaiveView.hpp"

#include <Tavi/Types.hpp>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <random>
#include <string>
#include <vector>

/// Grey values of volumes that are hard in different ways, in 256 levels or fewer.
namespace NORV::Tests {

struct FloodRelief {
  std::string name;
  Extents extents;
  std::vector<uint8> values;
};

inline FloodRelief makeFloodRelief(const std::string& name, const Extents& extents,
                                   const std::function<uint64(uint64, uint64, uint64)>& valueAt) {
  FloodRelief relief{name, extents, {}};
  for (uint64 z = 0; z < extents[2]; ++z) {
    for (uint64 y = 0; y < extents[1]; ++y) {
      for (uint64 x = 0; x < extents[0]; ++x) {
        relief.values.push_back(static_cast<uint8>(valueAt(x, y, z)));
      }
    }
  }
  return relief;
}

inline FloodRelief makeNoiseRelief(const Extents& extents, uint64 levels, unsigned seed) {
  std::mt19937_64 random(seed);
  return makeFloodRelief("noise of " + std::to_string(levels) + " levels", extents,
                         [&](auto...) { return random() % levels; });
}

/// Corridors of one voxel's width that fold back at each end of a slice, and go on in the next slice.
inline uint64 corridorAt(uint64 x, uint64 y, uint64 z, const Extents& extents) {
  if (z % 2 == 1) {
    const bool isEnd = z / 2 % 2 == 0 ? x + 1 == extents[0] && y + 1 == extents[1] : x == 0 && y == 0;
    return isEnd ? 1 : 9;
  }
  const bool isTurn = y / 2 % 2 == 0 ? x + 1 == extents[0] : x == 0;
  return y % 2 == 0 || isTurn ? 1 : 9;
}

inline std::vector<FloodRelief> floodReliefs(const Extents& extents) {
  const auto distance = [&](uint64 x, uint64 y, uint64 z, uint64 at) {
    const auto square = [](uint64 a, uint64 b) { return (a > b ? a - b : b - a) * (a > b ? a - b : b - a); };
    return square(x, extents[0] * at / 4) + square(y, extents[1] * at / 4) + square(z, extents[2] * at / 4);
  };
  std::mt19937_64 random(extents[0] + 100 * extents[1]);
  std::vector<uint64> patches(4096);
  for (uint64& patch : patches) {
    patch = random() % 5;
  }
  std::vector<FloodRelief> all{makeNoiseRelief(extents, 2, 1), makeNoiseRelief(extents, 5, 2),
                               makeNoiseRelief(extents, 200, 3)};
  const auto add = [&](const char* name, const auto& valueAt) {
    all.push_back(makeFloodRelief(name, extents, valueAt));
  };
  add("one value", [](auto...) { return 7u; });
  add("zeros", [](auto...) { return 0u; });
  add("the largest value", [](auto...) { return 255u; });
  add("plateaus", [&](uint64 x, uint64 y, uint64 z) { return patches[(x / 4 + 16 * (y / 3) + 256 * (z / 3)) % 4096]; });
  add("ridges",
      [&](uint64 x, uint64 y, uint64 z) { return (x % 6 < 3 ? x % 6 : 6 - x % 6) + (y % 8 < 4 ? 1 : 0) + z % 2; });
  add("two wells", [&](uint64 x, uint64 y, uint64 z) {
    return std::min<uint64>(255, std::min(distance(x, y, z, 1), distance(x, y, z, 3)) / 2);
  });
  add("shells", [&](uint64 x, uint64 y, uint64 z) { return distance(x, y, z, 2) / 5 % 3 * 100; });
  add("checkerboard", [](uint64 x, uint64 y, uint64 z) { return (x + y + z) % 2 * 255; });
  add("comb", [&](uint64 x, uint64 y, uint64 z) { return x % 2 == 0 || (y == 0 && z % 2 == 0) ? 3u : 8u; });
  add("spiral with a well",
      [&](uint64 x, uint64 y, uint64 z) { return x + y + z == 0 ? 0 : corridorAt(x, y, z, extents); });
  add("spiral with wells at both ends", [&](uint64 x, uint64 y, uint64 z) {
    const bool isLast = x + 1 == extents[0] && y + 1 == extents[1] && z + 1 == extents[2];
    return x + y + z == 0 || isLast ? 0 : corridorAt(x, y, z, extents);
  });
  add("slope", [](uint64 x, uint64 y, uint64 z) { return (x + 2 * y + 3 * z) % 256; });
  add("half air",
      [&](uint64 x, uint64 y, uint64 z) { return x < extents[0] / 2 ? 0 : 1 + (x * 7 + y * 5 + z * 3) % 11; });
  return all;
}

}  // namespace NORV::Tests
