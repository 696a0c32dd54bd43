#pragma once

#include <Tavi/Types.hpp>

#include <Rank/ThresholdMedians.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <vector>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

namespace NORV::TaviOperators::Impl {

/// The medians of a tile of 16-bit voxels. Neighbouring grey values form up to 256 classes, of as equal numbers of
/// voxels as the values of the tile allow. Thresholds between classes find the class that holds a median. Then the few
/// voxels of that class are looked at, in the order of their values: the median is the one with as many before it in
/// the box as the rank leaves.
template <class Count>
class ClassMedians {
public:
  ClassMedians(const TileExtents& box, const TileExtents& medians)
      : _box(box),
        _tile(medians),
        _thresholds(box, medians),
        _voxels(_thresholds.extents()[0] * _thresholds.extents()[1] * _thresholds.extents()[2]),
        _places(bins + 1),
        _classOf(bins),
        _sorted(_voxels.size()),
        _medians(medians[0] * medians[1] * medians[2]) {
    for (auto& coordinates : _coordinates) {
      coordinates.resize(_voxels.size() + padding);
    }
  }

  /// Rows one after the other, then slices.
  uint16* voxels() { return _voxels.data(); }
  /// At most 256 along each axis.
  const TileExtents& extents() const { return _thresholds.extents(); }
  /// Of each position, after `find`.
  const std::vector<uint16>& medians() const { return _medians; }

  void find() {
    classify();
    sort();
    _thresholds.find();
    SizeType place = 0;
    for (SizeType z = 0; z < _tile[2]; ++z) {
      for (SizeType y = 0; y < _tile[1]; ++y) {
        for (SizeType x = 0; x < _tile[0]; ++x, ++place) {
          const Class& found = _classes[_thresholds.medians()[place]];
          const SizeType rank = _thresholds.rank() - _thresholds.below()[place];
          _medians[place] =
              found.isOneValue
                  ? _sorted[found.begin]
                  : _sorted[search(found, rank, {static_cast<uint8>(x), static_cast<uint8>(y), static_cast<uint8>(z)})];
        }
      }
    }
  }

private:
  static constexpr SizeType bins = 65536, mostClasses = 256, padding = 256;

  /// Where the voxels of a class stand in their order.
  struct Class {
    uint32 begin, end;
    bool isOneValue;
  };

  void classify() {
    std::fill(_places.begin(), _places.end(), 0U);
    for (const uint16 voxel : _voxels) {
      ++_places[SizeType{voxel} + 1];
    }
    for (SizeType most = _voxels.size() / mostClasses + 1; !formClasses(most);) {
      most *= 2;
    }
    for (SizeType bin = 0; bin < bins; ++bin) {
      _places[bin + 1] += _places[bin];
    }
  }

  /// Classes of at most so many voxels, or of one value; false if they were too many.
  bool formClasses(SizeType most) {
    _classes.clear();
    uint32 begin = 0;
    for (SizeType bin = 0; bin < bins; ++bin) {
      const uint32 count = _places[bin + 1];
      if (count == 0) {
        continue;
      }
      if (_classes.empty() || begin + count - _classes.back().begin > most) {
        if (_classes.size() == mostClasses) {
          return false;
        }
        _classes.push_back({begin, begin, true});
      } else {
        _classes.back().isOneValue = false;
      }
      begin += count;
      _classes.back().end = begin;
      _classOf[bin] = static_cast<uint8>(_classes.size() - 1);
    }
    return true;
  }

  void sort() {
    const TileExtents& extents = _thresholds.extents();
    SizeType index = 0;
    for (SizeType z = 0; z < extents[2]; ++z) {
      for (SizeType y = 0; y < extents[1]; ++y) {
        for (SizeType x = 0; x < extents[0]; ++x, ++index) {
          const uint16 voxel = _voxels[index];
          const uint32 place = _places[voxel]++;
          _sorted[place] = voxel;
          _coordinates[0][place] = static_cast<uint8>(x);
          _coordinates[1][place] = static_cast<uint8>(y);
          _coordinates[2][place] = static_cast<uint8>(z);
          _thresholds.voxels()[index] = _classOf[voxel];
        }
      }
    }
  }

  /// The voxel of this rank among those of a class that lie in the box which begins at `first`.
  SizeType search(const Class& among, SizeType rank, const std::array<uint8, 3>& first) const {
    SizeType place = among.begin;
#ifdef TAVI_USE_HIGHWAY
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::CappedTag<uint8, 64> tag;
    const SizeType lanes = hn::Lanes(tag);
    const auto isWithin = [&](std::size_t axis) {
      const auto offset = hn::Sub(hn::LoadU(tag, _coordinates[axis].data() + place), hn::Set(tag, first[axis]));
      return hn::Lt(offset, hn::Set(tag, static_cast<uint8>(_box[axis])));
    };
    for (; place < among.end; place += lanes) {
      std::array<uint8, 8> bytes{};
      hn::StoreMaskBits(tag, hn::And(hn::And(isWithin(0), isWithin(1)), isWithin(2)), bytes.data());
      uint64 bits = 0;
      for (std::size_t i = 0; i < bytes.size(); ++i) {
        bits |= uint64{bytes[i]} << (8 * i);
      }
      const auto count = static_cast<SizeType>(std::popcount(bits));
      if (rank < count) {
        for (; rank > 0; --rank) {
          bits &= bits - 1;
        }
        return place + static_cast<SizeType>(std::countr_zero(bits));
      }
      rank -= count;
    }
#else
    for (; place < among.end; ++place) {
      bool isInside = true;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        isInside = isInside && static_cast<uint8>(_coordinates[axis][place] - first[axis]) < _box[axis];
      }
      if (isInside && rank-- == 0) {
        return place;
      }
    }
#endif
    return among.begin;  // never: the class holds the median
  }

  const TileExtents _box, _tile;
  ThresholdMedians<Count> _thresholds;
  std::vector<uint16> _voxels;
  std::vector<uint32> _places;  // of the next voxel of each value
  std::vector<uint8> _classOf;
  std::vector<Class> _classes;
  std::vector<uint16> _sorted;
  std::array<std::vector<uint8>, 3> _coordinates;  // of the sorted voxels
  std::vector<uint16> _medians;
};

}  // namespace NORV::TaviOperators::Impl
