#pragma once

#include "support/NaiveView.hpp"

#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <vector>

/// Thinning voxel by voxel, with lists of neighbours and a recursion over octants, as it is stated.
namespace NORV::Tests::StatedThinning {

using Tavi::SizeType;

using Neighbours = std::array<int, 26>;

inline int eulerSum(const Neighbours& n) {
  static constexpr int odd[128] = {
      1,  -1, -1, 1, -3, -1, -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, -3, -1, 3, 1, 1, -1, 3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
      -3, 3,  -1, 1, 1,  3,  -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, 1,  3,  3, 1, 5, 3,  3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
      -7, -1, -1, 1, -3, -1, -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, -3, -1, 3, 1, 1, -1, 3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
      -3, 3,  -1, 1, 1,  3,  -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, 1,  3,  3, 1, 5, 3,  3, 1, -1, 1, 1, -1, 3, 1, 1, -1};
  static constexpr int octants[8][7] = {{23, 24, 14, 15, 20, 21, 12}, {25, 22, 16, 13, 24, 21, 15},
                                        {17, 20, 9, 12, 18, 21, 10},  {19, 22, 18, 21, 11, 13, 10},
                                        {6, 14, 7, 15, 3, 12, 4},     {8, 7, 16, 15, 5, 4, 13},
                                        {0, 9, 3, 12, 1, 10, 4},      {2, 1, 11, 10, 5, 4, 13}};
  int sum = 0;
  for (const auto& octant : octants) {
    int index = 1;
    for (int bit = 0; bit < 7; ++bit) {
      index |= n[static_cast<std::size_t>(octant[bit])] == 1 ? 128 >> bit : 0;
    }
    sum += index % 2 == 0 ? 0 : odd[index / 2];
  }
  return sum;
}

inline void labelOctant(int octant, int label, Neighbours& n) {
  struct Entry {
    std::size_t neighbour;
    std::vector<int> octants;
  };
  static const std::vector<std::vector<Entry>> rows{
      {},
      {{0, {}}, {1, {2}}, {3, {3}}, {4, {2, 3, 4}}, {9, {5}}, {10, {2, 5, 6}}, {12, {3, 5, 7}}},
      {{1, {1}}, {4, {1, 3, 4}}, {10, {1, 5, 6}}, {2, {}}, {5, {4}}, {11, {6}}, {13, {4, 6, 8}}},
      {{3, {1}}, {4, {1, 2, 4}}, {12, {1, 5, 7}}, {6, {}}, {7, {4}}, {14, {7}}, {15, {4, 7, 8}}},
      {{4, {1, 2, 3}}, {5, {2}}, {13, {2, 6, 8}}, {7, {3}}, {15, {3, 7, 8}}, {8, {}}, {16, {8}}},
      {{9, {1}}, {10, {1, 2, 6}}, {12, {1, 3, 7}}, {17, {}}, {18, {6}}, {20, {7}}, {21, {6, 7, 8}}},
      {{10, {1, 2, 5}}, {11, {2}}, {13, {2, 4, 8}}, {18, {5}}, {21, {5, 7, 8}}, {19, {}}, {22, {8}}},
      {{12, {1, 3, 5}}, {14, {3}}, {15, {3, 4, 8}}, {20, {5}}, {21, {5, 6, 8}}, {23, {}}, {24, {8}}},
      {{13, {2, 4, 6}}, {15, {3, 4, 7}}, {16, {4}}, {21, {5, 6, 7}}, {22, {6}}, {24, {7}}, {25, {}}}};
  for (const Entry& entry : rows[static_cast<std::size_t>(octant)]) {
    if (n[entry.neighbour] == 1) {
      n[entry.neighbour] = label;
      for (const int next : entry.octants) {
        labelOctant(next, label, n);
      }
    }
  }
}

inline bool isSimple(Neighbours n) {
  static constexpr int octantOf[26] = {1, 1, 2, 1, 1, 2, 3, 3, 4, 1, 1, 2, 1, 2, 3, 3, 4, 5, 5, 6, 5, 5, 6, 7, 7, 8};
  int label = 2;
  for (std::size_t i = 0; i < n.size(); ++i) {
    if (n[i] == 1) {
      labelOctant(octantOf[i], label, n);
      if (++label > 3) {
        return false;
      }
    }
  }
  return true;
}

inline bool isEndPoint(const Neighbours& n) { return std::count(n.begin(), n.end(), 1) == 1; }

/// The work volume: 0 background, 1 object, 2 candidate, with a shell.
class Work {
public:
  Work(const std::vector<bool>& object, const Extents& extents)
      : _extents(extents),
        _row(extents[0] + 2),
        _slice(_row * (extents[1] + 2)),
        _voxels(_slice * (extents[2] + 2)) {
    SizeType index = 0;
    forEach([&](SizeType at) { _voxels[at] = object[index++] ? 1 : 0; });
  }

  std::vector<bool> object() const {
    std::vector<bool> result;
    forEach([&](SizeType at) { result.push_back(_voxels[at] != 0); });
    return result;
  }

  /// Returns the candidates of each pass.
  std::vector<SizeType> thin() {
    std::vector<SizeType> counts;
    const std::array<SizeType, 6> border{SizeType(0) - _row, _row, SizeType(0) - 1, 1, SizeType(0) - _slice, _slice};
    for (int quiet = 0; quiet < 6;) {
      quiet = 0;
      for (const SizeType direction : border) {
        counts.push_back(markCandidates(direction));
        quiet += deleteCandidates() ? 0 : 1;
      }
    }
    return counts;
  }

private:
  template <class Body>
  void forEach(const Body& body) const {
    for (SizeType z = 1; z <= _extents[2]; ++z) {
      for (SizeType y = 1; y <= _extents[1]; ++y) {
        for (SizeType x = 1; x <= _extents[0]; ++x) {
          body(x + _row * y + _slice * z);
        }
      }
    }
  }
  Neighbours neighbours(SizeType at) const {
    Neighbours n{};
    std::size_t i = 0;
    for (const SizeType z : {at - _slice, at, at + _slice}) {
      for (const SizeType y : {z - _row, z, z + _row}) {
        for (const SizeType x : {y - 1, y, y + 1}) {
          if (x != at) {
            n[i++] = _voxels[x] != 0 ? 1 : 0;
          }
        }
      }
    }
    return n;
  }
  SizeType markCandidates(SizeType direction) {
    SizeType count = 0;
    forEach([&](SizeType at) {
      if (_voxels[at] == 1 && _voxels[at + direction] == 0) {
        const Neighbours n = neighbours(at);
        if (!isEndPoint(n) && eulerSum(n) == 0 && isSimple(n)) {
          _voxels[at] = 2;
          ++count;
        }
      }
    });
    return count;
  }
  bool deleteCandidates() {
    bool isAnyDeleted = false;
    forEach([&](SizeType at) {
      if (_voxels[at] == 2) {
        _voxels[at] = 0;
        if (isSimple(neighbours(at))) {
          isAnyDeleted = true;
        } else {
          _voxels[at] = 1;
        }
      }
    });
    return isAnyDeleted;
  }

  Extents _extents;
  SizeType _row, _slice;
  std::vector<uint8> _voxels;
};

inline std::vector<bool> thinned(const std::vector<bool>& object, const Extents& extents) {
  Work work(object, extents);
  work.thin();
  return work.object();
}

}  // namespace NORV::Tests::StatedThinning
