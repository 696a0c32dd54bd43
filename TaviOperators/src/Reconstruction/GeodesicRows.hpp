#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <limits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#if HWY_TARGET != HWY_SCALAR
#define TAVI_GEODESIC_BLOCKS
#endif
#endif

/// Steps of a reconstruction by dilation along rows. A step takes a voxel to max(m, min(f, s)), where s is the result
/// of the voxel before it, f the value that bounds it and m what it reached otherwise. Such steps are clamps, and two
/// clamps one after the other are a clamp again, so a block of voxels is scanned in as many steps as its length has
/// bits.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// One voxel. `reached` may exceed `bound`.
template <class T>
T geodesicStep(T bound, T reached, T before) {
  return std::min(bound, std::max(reached, before));
}

#ifdef TAVI_GEODESIC_BLOCKS
/// 16 bytes of a row.
template <class T>
class GeodesicBlock {
  using Tag = hwy::HWY_NAMESPACE::Full128<T>;
  using V = hwy::HWY_NAMESPACE::Vec<Tag>;

public:
  static constexpr SizeType length = 16 / sizeof(T);

  /// The results of a block, given those of the block before it. Ascending or descending along the row.
  template <bool isAscending>
  static V scan(V bound, V reached, V before) {
    namespace hn = hwy::HWY_NAMESPACE;
    V low = hn::Min(bound, reached), high = bound;
    compose<isAscending, 1>(low, high);
    compose<isAscending, 2>(low, high);
    compose<isAscending, 4>(low, high);
    compose<isAscending, 8>(low, high);
    return hn::Min(high, hn::Max(low, spread<isAscending>(before)));
  }

  static V load(const T* row) { return hwy::HWY_NAMESPACE::LoadU(Tag(), row); }
  static void store(V voxels, T* row) { hwy::HWY_NAMESPACE::StoreU(voxels, Tag(), row); }
  static V all(T value) { return hwy::HWY_NAMESPACE::Set(Tag(), value); }

private:
  /// Puts the clamp of the voxel `distance` before it in front of each clamp.
  template <bool isAscending, int distance>
  static void compose(V& low, V& high) {
    namespace hn = hwy::HWY_NAMESPACE;
    if constexpr (distance < static_cast<int>(length)) {
      const Tag tag;
      const V everything = all(std::numeric_limits<T>::max());
      V earlierLow, earlierHigh;
      if constexpr (isAscending) {
        earlierLow = hn::ShiftLeftLanes<distance>(tag, low);
        earlierHigh = hn::Or(hn::ShiftLeftLanes<distance>(tag, high),
                             hn::ShiftRightLanes<static_cast<int>(length) - distance>(tag, everything));
      } else {
        earlierLow = hn::ShiftRightLanes<distance>(tag, low);
        earlierHigh = hn::Or(hn::ShiftRightLanes<distance>(tag, high),
                             hn::ShiftLeftLanes<static_cast<int>(length) - distance>(tag, everything));
      }
      earlierLow = hn::Max(low, earlierLow);
      earlierHigh = hn::Max(low, earlierHigh);
      low = hn::Min(high, earlierLow);
      high = hn::Min(high, earlierHigh);
    }
  }

  /// The last voxel of the block before, in all lanes.
  template <bool isAscending>
  static V spread(V before) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::Full128<uint8> bytes;
    alignas(16) uint8 index[16];
    for (SizeType i = 0; i < 16; ++i) {
      index[i] = static_cast<uint8>(i % sizeof(T) + (isAscending ? 16 - sizeof(T) : 0));
    }
    return hn::BitCast(Tag(), hn::TableLookupBytes(hn::BitCast(bytes, before), hn::Load(bytes, index)));
  }
};
#endif

/// The first pass over a row: the marker f - height, at least 0, raised by the rows before it and along the row.
template <class T>
[[gnu::noinline]] void raiseRowForward(const T* f, T height, const T* above, const T* behind, T* row, SizeType count) {
  SizeType i = 0;
  T before = 0;
#ifdef TAVI_GEODESIC_BLOCKS
  using Block = GeodesicBlock<T>;
  namespace hn = hwy::HWY_NAMESPACE;
  const auto heights = Block::all(height);
  auto results = Block::all(0);
  for (; i + Block::length <= count; i += Block::length) {
    const auto bound = Block::load(f + i);
    const auto marker = hn::Sub(hn::Max(bound, heights), heights);
    const auto reached = hn::Max(marker, hn::Max(Block::load(above + i), Block::load(behind + i)));
    results = Block::template scan<true>(bound, reached, results);
    Block::store(results, row + i);
  }
  before = i > 0 ? row[i - 1] : T(0);
#endif
  for (; i < count; ++i) {
    const T marker = static_cast<T>(std::max(f[i], height) - height);
    before = geodesicStep(f[i], std::max(marker, std::max(above[i], behind[i])), before);
    row[i] = before;
  }
}

/// The second pass: raises a row by the rows behind it and along the row, against its direction.
template <class T>
[[gnu::noinline]] void raiseRowBackward(const T* f, const T* below, const T* ahead, T* row, SizeType count) {
  T before = 0;
  const auto raise = [&](SizeType i) {
    before = geodesicStep(f[i], std::max(row[i], std::max(below[i], ahead[i])), before);
    row[i] = before;
  };
#ifdef TAVI_GEODESIC_BLOCKS
  using Block = GeodesicBlock<T>;
  namespace hn = hwy::HWY_NAMESPACE;
  SizeType i = count;
  for (; i % Block::length != 0; --i) {
    raise(i - 1);
  }
  auto results = Block::all(before);
  for (; i > 0; i -= Block::length) {
    const SizeType at = i - Block::length;
    const auto reached = hn::Max(Block::load(row + at), hn::Max(Block::load(below + at), Block::load(ahead + at)));
    results = Block::template scan<false>(Block::load(f + at), reached, results);
    Block::store(results, row + at);
  }
#else
  for (SizeType i = count; i > 0; --i) {
    raise(i - 1);
  }
#endif
}

/// Which of up to 64 voxels of a row still raise their neighbours, one bit each: those whose neighbour in `to` lies
/// below both them and its own bound.
template <class T>
uint64 raisingVoxels(const T* from, const T* to, const T* boundOfTo, SizeType count) {
  uint64 word = 0;
  SizeType i = 0;
#ifdef TAVI_GEODESIC_BLOCKS
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::CappedTag<T, 64> tag;
  for (; i + hn::Lanes(tag) <= count; i += hn::Lanes(tag)) {
    const auto reachable = hn::Min(hn::LoadU(tag, from + i), hn::LoadU(tag, boundOfTo + i));
    uint8 bytes[8] = {};
    hn::StoreMaskBits(tag, hn::Lt(hn::LoadU(tag, to + i), reachable), bytes);
    uint64 bits = 0;
    for (SizeType byte = 0; byte < sizeof bytes; ++byte) {
      bits |= uint64{bytes[byte]} << 8 * byte;
    }
    word |= bits << i;
  }
#endif
  for (; i < count; ++i) {
    word |= static_cast<uint64>(to[i] < std::min(from[i], boundOfTo[i])) << i;
  }
  return word;
}

}  // namespace NORV::TaviOperators::Impl
