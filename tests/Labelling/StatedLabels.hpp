#pragma once

#include "support/NaiveView.hpp"

#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <vector>

namespace NORV::Tests {

using Tavi::SizeType;

/// The plain restatement of labelling by floods: objects are numbered in the order of their first voxels.
template <class T>
std::vector<uint64> floodedLabels(const std::vector<T>& values, const Extents& extents, T background,
                                  bool allNeighbours) {
  const auto [nx, ny, nz] = std::array<int64, 3>{static_cast<int64>(extents[0]), static_cast<int64>(extents[1]),
                                                 static_cast<int64>(extents[2])};
  std::vector<uint64> labels(values.size(), 0);
  uint64 objects = 0;
  for (std::size_t first = 0; first < values.size(); ++first) {
    if (values[first] == background || labels[first] != 0) {
      continue;
    }
    labels[first] = ++objects;
    std::vector<std::size_t> open{first};
    while (!open.empty()) {
      const auto place = static_cast<int64>(open.back());
      open.pop_back();
      const int64 x = place % nx, y = place / nx % ny, z = place / (nx * ny);
      for (int64 step = 0; step < 27; ++step) {
        const int64 dx = step % 3 - 1, dy = step / 3 % 3 - 1, dz = step / 9 - 1;
        if (!allNeighbours && std::abs(dx) + std::abs(dy) + std::abs(dz) != 1) {
          continue;
        }
        if (x + dx < 0 || x + dx >= nx || y + dy < 0 || y + dy >= ny || z + dz < 0 || z + dz >= nz) {
          continue;
        }
        const auto other = static_cast<std::size_t>(x + dx + nx * (y + dy + ny * (z + dz)));
        if (values[other] != background && labels[other] == 0) {
          labels[other] = objects;
          open.push_back(other);
        }
      }
    }
  }
  return labels;
}

/// The plain restatement of the first pass: raw labels voxel by voxel, in unlimited numbers. With `most` given, it ends
/// where one more label than that is needed, and leaves the voxels from there on empty.
template <class T>
std::vector<std::optional<uint64>> rawLabels(const std::vector<T>& values, const Extents& extents, T background,
                                             bool allNeighbours, uint64 most) {
  std::vector<std::optional<uint64>> labels(values.size());
  std::vector<uint64> table{0};
  const auto [nx, ny, nz] = extents;
  for (SizeType z = 0; z < nz; ++z) {
    for (SizeType y = 0; y < ny; ++y) {
      for (SizeType x = 0; x < nx; ++x) {
        const SizeType place = x + nx * (y + ny * z);
        if (values[place] == background) {
          labels[place] = 0;
          continue;
        }
        std::vector<uint64> found;
        for (SizeType step = 0; step < 13; ++step) {  // 27 places in scan order, the middle one is the 14th
          const SizeType sx = x + step % 3, sy = y + step / 3 % 3, sz = z + step / 9;  // each is one too many
          const bool isFace = step == 4 || step == 10 || step == 12;
          if ((!allNeighbours && !isFace) || sx < 1 || sx > nx || sy < 1 || sy > ny || sz < 1) {
            continue;
          }
          const uint64 label = *labels[sx - 1 + nx * (sy - 1 + ny * (sz - 1))];
          if (label != 0 && std::find(found.begin(), found.end(), label) == found.end()) {
            found.push_back(label);
          }
        }
        if (found.empty()) {
          if (table.size() > most) {
            return labels;
          }
          labels[place] = table.size();
          table.push_back(table.size());
        } else if (found.size() == 1) {
          labels[place] = found[0];
        } else {
          uint64 smallest = found[0];
          for (uint64 label : found) {
            while (table[label] != label) {
              label = table[label];
            }
            smallest = std::min(smallest, label);
          }
          for (uint64 label : found) {
            for (uint64 parent = table[label]; parent != smallest; parent = table[label]) {
              table[label] = smallest;
              label = parent;
            }
          }
          labels[place] = smallest;
        }
      }
    }
  }
  return labels;
}

/// How many raw labels the first pass makes.
template <class T>
uint64 countRawLabels(const std::vector<T>& values, const Extents& extents, T background, bool allNeighbours) {
  uint64 largest = 0;
  for (const auto& label : rawLabels(values, extents, background, allNeighbours, ~uint64{0})) {
    largest = std::max(largest, *label);
  }
  return largest;
}

}  // namespace NORV::Tests
