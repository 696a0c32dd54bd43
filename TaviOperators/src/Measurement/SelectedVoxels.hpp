#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <bit>
#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

/// Which voxels of a row have a given value, 64 voxels at a time.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

inline constexpr SizeType wordBits = 64;

/// Bit i is set where voxel i of up to 64 equals `value`.
template <class T>
uint64 selectVoxels(const T* voxels, SizeType count, int64 stride, T value) {
  uint64 word = 0;
  for (SizeType i = 0; i < count; ++i) {
    word |= static_cast<uint64>(voxels[static_cast<int64>(i) * stride] == value) << i;
  }
  return word;
}

/// The same for 64 dense voxels.
template <class T>
uint64 selectWord(const T* voxels, T value) {
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::CappedTag<T, wordBits> tag;
  const SizeType lanes = hn::Lanes(tag);
  const auto wanted = hn::Set(tag, value);
  uint64 word = 0;
  for (SizeType i = 0; i < wordBits; i += lanes) {
    uint64 bits = 0;
    hn::StoreMaskBits(tag, hn::Eq(hn::LoadU(tag, voxels + i), wanted), reinterpret_cast<uint8_t*>(&bits));
    word |= bits << i;
  }
  return word;
#else
  return selectVoxels(voxels, wordBits, 1, value);
#endif
}

/// Calls `body(position, word)` for each stretch of up to 64 voxels of a row in which some are selected.
template <class T, class Body>
void forEachSelection(const T* row, SizeType count, int64 stride, T value, const Body& body) {
  for (SizeType begin = 0; begin < count; begin += wordBits) {
    const T* const voxels = row + static_cast<int64>(begin) * stride;
    const SizeType length = std::min(wordBits, count - begin);
    const uint64 word =
        stride == 1 && length == wordBits ? selectWord(voxels, value) : selectVoxels(voxels, length, stride, value);
    if (word != 0) {
      body(begin, word);
    }
  }
}

/// The sum of the places of the bits that are set.
inline SizeType sumOfBits(uint64 word) {
  const auto count = [word](uint64 places) { return static_cast<SizeType>(std::popcount(word & places)); };
  return count(0xAAAAAAAAAAAAAAAAu) + 2 * count(0xCCCCCCCCCCCCCCCCu) + 4 * count(0xF0F0F0F0F0F0F0F0u) +
         8 * count(0xFF00FF00FF00FF00u) + 16 * count(0xFFFF0000FFFF0000u) + 32 * count(0xFFFFFFFF00000000u);
}

/// The selected voxels of one slice.
struct SliceSelection {
  uint64 count = 0;
  uint64 sumX = 0, sumY = 0, sumZ = 0;
  uint64 before = 0;  ///< selected voxels in the slices before it
};

template <class T>
SliceSelection selectSlice(const View<const T>& view, SizeType tert, T value) {
  SliceSelection slice;
  for (SizeType sec = 0; sec < view.dimSec; ++sec) {
    uint64 inRow = 0;
    forEachSelection(view.row(sec, tert), view.dimPrim, view.stridePrim, value, [&](SizeType begin, uint64 word) {
      const auto count = static_cast<uint64>(std::popcount(word));
      inRow += count;
      slice.sumX += begin * count + sumOfBits(word);
    });
    slice.count += inRow;
    slice.sumY += sec * inRow;
  }
  slice.sumZ = tert * slice.count;
  return slice;
}

}  // namespace NORV::TaviOperators::Impl
