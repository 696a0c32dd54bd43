#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <vector>

namespace NORV::Tests {

using Extents = std::array<Tavi::SizeType, 3>;  // prim, sec, tert
using Codes = std::array<uint8, 3>;

/// The 48 orientations: each order of the storage axes in each combination of senses.
inline std::vector<Codes> allOrientations() {
  std::vector<Codes> all;
  Codes axes{0, 1, 2};
  do {
    for (unsigned senses = 0; senses < 8; ++senses) {
      Codes codes{};
      for (unsigned i = 0; i < 3; ++i) {
        codes[i] = static_cast<uint8>(2u * axes[i] + ((senses >> i) & 1u));
      }
      all.push_back(codes);
    }
  } while (std::next_permutation(axes.begin(), axes.end()));
  return all;
}

/// The plain restatement of a view: a list of storage indices, one for each voxel that is seen. Strides and steps do
/// not occur in it.
class NaiveView {
public:
  /// Sees the whole of a stored volume.
  explicit NaiveView(const Extents& stored) : _stored(stored), _box(stored) {
    for (Tavi::SizeType index = 0; index < stored[0] * stored[1] * stored[2]; ++index) {
      _cells.push_back(index);
    }
  }

  void orient(const Codes& codes) { _codes = codes; }

  Extents size() const { return {_box[axis(0)], _box[axis(1)], _box[axis(2)]}; }

  /// The storage index that is seen at a position of the view.
  Tavi::SizeType at(const Extents& position) const {
    Extents stored{};
    for (unsigned i = 0; i < 3; ++i) {
      const Tavi::SizeType last = _box[axis(i)] - 1;
      stored[axis(i)] = isReversed(i) ? last - position[i] : position[i];
    }
    return _cells[stored[0] + _box[0] * (stored[1] + _box[1] * stored[2])];
  }

  /// Calls `act` with each position of the view, prim fastest.
  template <class Act>
  void forEachPosition(const Act& act) const {
    const Extents extents = size();
    for (Tavi::SizeType tert = 0; tert < extents[2]; ++tert) {
      for (Tavi::SizeType sec = 0; sec < extents[1]; ++sec) {
        for (Tavi::SizeType prim = 0; prim < extents[0]; ++prim) {
          act(Extents{prim, sec, tert});
        }
      }
    }
  }

  /// Keeps a box of the view.
  void crop(const Extents& extents, const Extents& origin) {
    std::vector<Tavi::SizeType> kept;
    forEachPosition([&](const Extents& position) {
      bool inside = true;
      for (unsigned i = 0; i < 3; ++i) {
        inside = inside && position[i] >= origin[i] && position[i] < origin[i] + extents[i];
      }
      if (inside) {
        kept.push_back(at(position));
      }
    });
    std::sort(kept.begin(), kept.end());  // storage order again
    _cells = kept;
    Extents box{};
    for (unsigned i = 0; i < 3; ++i) {
      box[axis(i)] = extents[i];
    }
    _box = box;
  }

  /// The first voxel of the region, counted along the axes of the view from the end of the stored volume at which each
  /// begins.
  Extents origin() const {
    const Extents low{_cells.front() % _stored[0], _cells.front() / _stored[0] % _stored[1],
                      _cells.front() / (_stored[0] * _stored[1])};
    const Extents high{_cells.back() % _stored[0], _cells.back() / _stored[0] % _stored[1],
                       _cells.back() / (_stored[0] * _stored[1])};
    Extents seen{};
    for (unsigned i = 0; i < 3; ++i) {
      seen[i] = isReversed(i) ? _stored[axis(i)] - 1 - high[axis(i)] : low[axis(i)];
    }
    return seen;
  }

private:
  unsigned axis(unsigned i) const { return _codes[i] / 2u; }
  bool isReversed(unsigned i) const { return _codes[i] % 2u == 1u; }

  Extents _stored;
  Extents _box;                         // of the region, in storage order
  std::vector<Tavi::SizeType> _cells;  // the storage index of each voxel of the region, in storage order
  Codes _codes{0, 2, 4};
};

}  // namespace NORV::Tests
