#pragma once

#include "support/NaiveView.hpp"

#include <Tavi/Types.hpp>

#include <limits>
#include <random>
#include <string>
#include <vector>

/// Grey-value volumes on which propagation goes wrong in different ways.
namespace NORV::Tests {

using Tavi::SizeType;

inline SizeType voxelsIn(const Extents& extents) { return extents[0] * extents[1] * extents[2]; }

template <class T>
struct Relief {
  std::string name;
  Extents extents;
  std::vector<T> voxels;
};

/// A path of one voxel's width through the whole volume: rows in turn to the right and to the left, joined at their
/// ends, with rows of walls between them; slices likewise. Calls `onPath(index, step)` along it.
template <class OnPath>
void walkSpiral(const Extents& extents, const OnPath& onPath) {
  SizeType step = 0;
  const auto index = [&](SizeType x, SizeType y, SizeType z) { return x + extents[0] * (y + extents[1] * z); };
  bool isBackwards = false;
  const SizeType lastRow = (extents[1] - 1) / 2 * 2;
  for (SizeType z = 0; z < extents[2]; z += 2) {
    const bool isUpwards = z % 4 == 0;
    for (SizeType k = 0; k <= lastRow; k += 2) {
      const SizeType y = isUpwards ? k : lastRow - k;
      for (SizeType i = 0; i < extents[0]; ++i) {
        onPath(index(isBackwards ? extents[0] - 1 - i : i, y, z), step++);
      }
      const SizeType end = isBackwards ? 0 : extents[0] - 1;
      isBackwards = !isBackwards;
      if (k < lastRow) {
        onPath(index(end, isUpwards ? y + 1 : y - 1, z), step++);
      } else if (z + 2 < extents[2]) {
        onPath(index(end, y, z + 1), step++);
      }
    }
  }
}

/// All kinds, of odd sizes.
template <class T>
std::vector<Relief<T>> makeReliefs(unsigned seed) {
  std::mt19937_64 random(seed);
  constexpr T top = std::numeric_limits<T>::max();
  std::vector<Relief<T>> all;
  const auto add = [&](const std::string& name, const Extents& extents, const auto& valueAt) {
    Relief<T> relief{name, extents, {}};
    for (SizeType z = 0; z < extents[2]; ++z) {
      for (SizeType y = 0; y < extents[1]; ++y) {
        for (SizeType x = 0; x < extents[0]; ++x) {
          relief.voxels.push_back(static_cast<T>(valueAt(x, y, z)));
        }
      }
    }
    all.push_back(relief);
  };
  const auto below = [&random](uint64 count) { return random() % count; };
  for (const Extents& extents : std::vector<Extents>{{1, 1, 1},
                                                     {67, 1, 1},
                                                     {1, 13, 1},
                                                     {1, 1, 9},
                                                     {19, 7, 1},
                                                     {1, 5, 6},
                                                     {17, 9, 5},
                                                     {131, 5, 3},
                                                     {33, 11, 13}}) {
    add("noise", extents, [&](auto...) { return below(64); });
    add("wide noise", extents, [&](auto...) { return random(); });
    add("plateaus", extents, [&](auto...) { return below(3) * 30; });
    add("islands", extents, [&](auto...) { return below(9) == 0 ? 40 + below(60) : 7; });
    add("ridges", extents, [&](SizeType x, SizeType y, SizeType z) { return 20 * ((x / 3 + y / 2 + z) % 5) + x % 11; });
    add("checkerboard", extents, [&](SizeType x, SizeType y, SizeType z) { return (x + y + z) % 2 * 50 + below(3); });
    add("comb", extents, [&](SizeType x, SizeType y, SizeType z) { return y == 0 && z == 0 ? 90 : x % 2 * (60 + y); });
    add("near both ends", extents, [&](auto...) { return below(2) == 0 ? below(9) : top - below(9); });
    add("constant", extents, [](auto...) { return 9; });
  }
  for (const Extents& extents : std::vector<Extents>{{21, 9, 5}, {5, 5, 17}}) {
    add("spiral", extents, [](auto...) { return 0; });
    walkSpiral(extents, [&](SizeType index, SizeType) { all.back().voxels[index] = 100; });
    all.back().voxels[0] = 120;
    add("spiral uphill", extents, [](auto...) { return 3; });
    walkSpiral(extents, [&](SizeType index, SizeType step) {
      all.back().voxels[index] = static_cast<T>(step % 37 == 0 ? 50 + step / 37 * 3 : 45 + step / 10);
    });
  }
  return all;
}

}  // namespace NORV::Tests
