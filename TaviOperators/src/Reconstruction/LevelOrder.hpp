#pragma once

#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/Allocators.hpp>

#include <Reconstruction/NeighbourOffsets.hpp>

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>
#include <vector>

/// The voxels of a volume by ascending grey value.
namespace NORV::TaviOperators::Impl {

/// Calls `act(x, value)` for each voxel of a row above `low`, which no voxel is below. Stretches of `low` are skipped.
template <class T, class Act>
void forEachAbove(const T* row, int64 stride, SizeType count, T low, const Act& act) {
  constexpr SizeType block = sizeof(uint64) / sizeof(T);
  T lowest[block];
  std::fill_n(lowest, block, low);
  SizeType x = 0;
  while (x < count) {
    if (stride == 1 && count - x >= block && std::memcmp(row + x, lowest, sizeof lowest) == 0) {
      x += block;
      continue;
    }
    for (const SizeType end = std::min(count, x + block); x < end; ++x) {
      const T value = row[static_cast<int64>(x) * stride];
      if (value != low) {
        act(x, value);
      }
    }
  }
}

/// Distributes the voxels above the lowest grey value to buckets of ascending values: stable, parallel over ranges of
/// rows, with a table of counters for each range.
template <class T>
class Buckets {
public:
  /// Bucket i holds the values v with (v - low) >> shift = i. At most one table of counters for each four voxels and
  /// eight bytes is used.
  Buckets(const View<const T>& input, const Strides& strides, T low, T high, unsigned shift, int threads)
      : _input(input),
        _strides(strides),
        _low(low),
        _shift(shift),
        _count(((SizeType{high} - low) >> shift) + 1),
        _rows(input.dimSec * input.dimTert),
        _parts(std::clamp<SizeType>(input.size() / 4 / _count, 1,
                                    static_cast<SizeType>(teamSize(threads, std::max<SizeType>(1, _rows))))),
        _threads(threads),
        _begins(_parts * _count) {}

  SizeType count() const { return _count; }

  /// Returns the number of voxels in all buckets.
  SizeType countVoxels(OperatorBase& self) {
    forEachPart(self, [this](SizeType part, const T* row, SizeType) {
      SizeType* const counters = _begins.data() + part * _count;
      forEachAbove(row, _input.stridePrim, _input.dimPrim, _low,
                   [&](SizeType, T value) { ++counters[bucketOf(value)]; });
    });
    SizeType sum = 0;
    for (SizeType bucket = 0; bucket < _count; ++bucket) {
      for (SizeType part = 0; part < _parts; ++part) {
        sum += std::exchange(_begins[part * _count + bucket], sum);
      }
    }
    return sum;
  }

  /// Writes `make(value, offset)` for each voxel to its place. Afterwards `end` is valid.
  template <class Entry, class Make>
  void distribute(OperatorBase& self, Entry* entries, const Make& make) {
    forEachPart(self, [&](SizeType part, const T* row, SizeType offset) {
      SizeType* const places = _begins.data() + part * _count;
      forEachAbove(row, _input.stridePrim, _input.dimPrim, _low,
                   [&](SizeType x, T value) { entries[places[bucketOf(value)]++] = make(value, offset + x); });
    });
  }
  SizeType begin(SizeType bucket) const { return bucket == 0 ? 0 : end(bucket - 1); }
  SizeType end(SizeType bucket) const { return _begins[(_parts - 1) * _count + bucket]; }

private:
  SizeType bucketOf(T value) const { return static_cast<SizeType>(static_cast<T>(value - _low)) >> _shift; }

  template <class Act>
  void forEachPart(OperatorBase& self, const Act& act) {
    forEachSlice(self, _threads, _parts, Steps::silent, [&](SizeType part) {
      const SizeType first = _rows * part / _parts, last = _rows * (part + 1) / _parts;
      SizeType sec = first % _input.dimSec, tert = first / _input.dimSec;
      for (SizeType row = first; row < last && !self.isAborted(); ++row) {
        act(part, _input.row(sec, tert),
            sec * static_cast<SizeType>(_strides.sec) + tert * static_cast<SizeType>(_strides.tert));
        if (++sec == _input.dimSec) {
          sec = 0;
          ++tert;
        }
      }
    });
  }

  const View<const T> _input;
  const Strides _strides;
  const T _low;
  const unsigned _shift;
  const SizeType _count;
  const SizeType _rows;
  const SizeType _parts;
  const int _threads;
  std::vector<SizeType> _begins;  // counters first, then places
};

/// The voxels above the lowest grey value, by ascending value and within a value in scan order, as offsets from the
/// first interior voxel of a padded volume. The first offset of each level is marked, so no table of levels is needed.
///
/// Memory: an offset per voxel and two bytes; while many different values are sorted, eight bytes per voxel more.
template <class Offset>
class LevelOrder {
public:
  static constexpr Offset levelBegin = Offset{1} << (8 * sizeof(Offset) - 1);

  /// `low` and `high` are the extreme values of the input. After an abort the order must not be used.
  template <class T>
  LevelOrder(OperatorBase& self, int threads, const View<const T>& input, const Strides& strides, T low, T high) {
    if (low == high) {
      return;
    }
    const SizeType range = SizeType{high} - low, quarter = input.size() / 4;
    if (range < std::max<SizeType>(256, quarter)) {
      Buckets<T> values(input, strides, low, high, 0, threads);
      sortByCounting(self, values);
    } else {
      // Each bucket keeps some bits of the values, which are sorted together with the offsets.
      const auto quarterBits = static_cast<unsigned>(std::bit_width(quarter));
      const unsigned bucketBits = std::clamp(quarterBits, 9u, 17u) - 1;
      const unsigned keptBits = static_cast<unsigned>(std::bit_width(range)) - bucketBits;
      Buckets<T> buckets(input, strides, low, high, keptBits, threads);
      sortValues(self, threads, buckets, low, keptBits);
    }
  }

  SizeType size() const { return _size; }
  Offset* begin() const { return _offsets.getData(); }

  /// Leaves out the level of the highest value; there must be one.
  void dropHighest() {
    const Offset* const offsets = begin();
    do {
      --_size;
    } while ((offsets[_size] & levelBegin) == 0);
  }

  /// The end of the level that begins at an index.
  SizeType levelEnd(SizeType index) const {
    const Offset* const offsets = begin();
    do {
      ++index;
    } while (index < _size && (offsets[index] & levelBegin) == 0);
    return index;
  }

private:
  template <class Entry>
  static Tavi::Allocator::Block<Entry> allocate(SizeType count) {
    return Tavi::Allocator::SingleBlockAllocator::allocate<Entry>(Dimension<SizeType>(count, 1, 1));
  }

  template <class T>
  void sortByCounting(OperatorBase& self, Buckets<T>& values) {
    _size = values.countVoxels(self);
    if (self.isAborted()) {
      return;
    }
    _offsets = allocate<Offset>(_size);
    Offset* const offsets = begin();
    values.distribute(self, offsets, [](T, SizeType offset) { return static_cast<Offset>(offset); });
    if (self.isAborted()) {
      return;
    }
    for (SizeType value = 0; value < values.count(); ++value) {
      if (values.begin(value) != values.end(value)) {
        offsets[values.begin(value)] |= levelBegin;
      }
    }
  }

  template <class T>
  void sortValues(OperatorBase& self, int threads, Buckets<T>& buckets, T low, unsigned keptBits) {
    const unsigned offsetBits = 64 - keptBits;
    const uint64 keptMask = (uint64{1} << keptBits) - 1;
    _size = buckets.countVoxels(self);
    if (self.isAborted()) {
      return;
    }
    auto block = allocate<uint64>(_size);
    uint64* const entries = block.getData();
    buckets.distribute(self, entries, [=](T value, SizeType offset) {
      return (static_cast<uint64>(static_cast<T>(value - low)) & keptMask) << offsetBits | offset;
    });
    forEachSlice(
        self, threads, buckets.count(), Steps::silent,
        [&](SizeType bucket) {
          uint64* const first = entries + buckets.begin(bucket);
          uint64* const last = entries + buckets.end(bucket);
          if (!std::is_sorted(first, last)) {
            std::sort(first, last);
          }
        },
        Schedule::dynamic);
    if (self.isAborted()) {
      return;
    }
    keepOffsets(self, threads, buckets, std::move(block), offsetBits);
  }

  template <class T>
  void keepOffsets(OperatorBase& self, int threads, const Buckets<T>& buckets, Tavi::Allocator::Block<uint64> block,
                   unsigned offsetBits) {
    const uint64* const entries = block.getData();
    if constexpr (sizeof(Offset) == sizeof(uint64)) {
      _offsets = std::move(block);
    } else {
      _offsets = allocate<Offset>(_size);
    }
    Offset* const offsets = begin();
    forEachSlice(self, threads, buckets.count(), Steps::silent, [&](SizeType bucket) {
      uint64 previous = ~uint64{0};
      for (SizeType i = buckets.begin(bucket); i < buckets.end(bucket); ++i) {
        const uint64 entry = entries[i], value = entry >> offsetBits;
        offsets[i] =
            static_cast<Offset>(entry & ((uint64{1} << offsetBits) - 1)) | (value != previous ? levelBegin : Offset{0});
        previous = value;
      }
    });
  }

  Tavi::Allocator::Block<Offset> _offsets;
  SizeType _size = 0;
};

}  // namespace NORV::TaviOperators::Impl
