#pragma once

#include "support/NaiveView.hpp"

#include <Tavi/Types.hpp>

#include <array>
#include <cstddef>
#include <vector>

/// The topology of a binary volume, counted independently of thinning: a 26-connected object in 6-connected background.
namespace NORV::Tests {

struct Topology {
  int components = 0;
  int cavities = 0;  ///< components of the background that do not reach the outside
  int euler = 0;     ///< components - tunnels + cavities

  int tunnels() const { return components + cavities - euler; }
  friend bool operator==(const Topology&, const Topology&) = default;
};

class TopologyCounter {
public:
  static Topology count(const std::vector<bool>& object, const Extents& extents) {
    const TopologyCounter counter(object, extents);
    Topology topology;
    topology.components = counter.components(true);
    topology.cavities = counter.components(false) - 1;
    topology.euler = counter.euler();
    return topology;
  }

private:
  using Index = long;

  TopologyCounter(const std::vector<bool>& object, const Extents& extents)
      : _size{static_cast<Index>(extents[0]) + 2, static_cast<Index>(extents[1]) + 2,
              static_cast<Index>(extents[2]) + 2},
        _voxels(static_cast<std::size_t>(_size[0] * _size[1] * _size[2])) {
    std::size_t index = 0;
    for (Index z = 1; z + 1 < _size[2]; ++z) {
      for (Index y = 1; y + 1 < _size[1]; ++y) {
        for (Index x = 1; x + 1 < _size[0]; ++x) {
          _voxels[at(x, y, z)] = object[index++];
        }
      }
    }
  }

  std::size_t at(Index x, Index y, Index z) const {
    return static_cast<std::size_t>(x + _size[0] * (y + _size[1] * z));
  }
  bool isSet(Index x, Index y, Index z) const {
    return x >= 0 && y >= 0 && z >= 0 && x < _size[0] && y < _size[1] && z < _size[2] && _voxels[at(x, y, z)];
  }

  int components(bool ofObject) const {
    std::vector<bool> isSeen(_voxels.size());
    int count = 0;
    std::vector<std::array<Index, 3>> stack;
    const auto visit = [&](Index x, Index y, Index z) {
      if (x < 0 || y < 0 || z < 0 || x >= _size[0] || y >= _size[1] || z >= _size[2] || isSeen[at(x, y, z)] ||
          _voxels[at(x, y, z)] != ofObject) {
        return false;
      }
      isSeen[at(x, y, z)] = true;
      stack.push_back({x, y, z});
      return true;
    };
    for (Index z = 0; z < _size[2]; ++z) {
      for (Index y = 0; y < _size[1]; ++y) {
        for (Index x = 0; x < _size[0]; ++x) {
          count += visit(x, y, z) ? 1 : 0;
          while (!stack.empty()) {
            const auto p = stack.back();
            stack.pop_back();
            for (Index i = 0; i < 27; ++i) {
              const Index dx = i % 3 - 1, dy = i / 3 % 3 - 1, dz = i / 9 - 1;
              if (ofObject || dx * dx + dy * dy + dz * dz == 1) {
                visit(p[0] + dx, p[1] + dy, p[2] + dz);
              }
            }
          }
        }
      }
    }
    return count;
  }

  /// Corners minus edges plus faces minus cubes of the union of the voxels: a cell is part of it if one of the voxels
  /// around it is set.
  int euler() const {
    int sum = 0;
    for (Index z = 0; z < 2 * _size[2]; ++z) {
      for (Index y = 0; y < 2 * _size[1]; ++y) {
        for (Index x = 0; x < 2 * _size[0]; ++x) {
          // Odd coordinates run along the voxel, even ones lie between two.
          bool isPart = false;
          for (Index dz = z % 2; dz < 2; ++dz) {
            for (Index dy = y % 2; dy < 2; ++dy) {
              for (Index dx = x % 2; dx < 2; ++dx) {
                isPart = isPart || isSet(x / 2 - 1 + dx, y / 2 - 1 + dy, z / 2 - 1 + dz);
              }
            }
          }
          sum += isPart ? ((x + y + z) % 2 == 0 ? 1 : -1) : 0;
        }
      }
    }
    return sum;
  }

  std::array<Index, 3> _size;
  std::vector<bool> _voxels;
};

}  // namespace NORV::Tests
