#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Allocators.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <vector>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Which voxels of a piece of a row differ from the background, one bit each; 64 voxels at most.
template <class T>
uint64 foregroundWord(const T* row, int64 stride, SizeType count, T background) {
  uint64 word = 0;
  for (SizeType i = 0; i < count; ++i, row += stride) {
    word |= static_cast<uint64>(*row != background) << i;
  }
  return word;
}

#ifdef TAVI_USE_HIGHWAY
/// The same for 64 voxels that lie one after the other.
template <class T>
uint64 foregroundWord(const T* row, T background) {
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::CappedTag<T, 64> tag;
  const auto value = hn::Set(tag, background);
  uint64 word = 0;
  for (SizeType i = 0; i < 64; i += hn::Lanes(tag)) {
    uint8 bytes[8] = {};
    hn::StoreMaskBits(tag, hn::Ne(hn::LoadU(tag, row + i), value), bytes);
    uint64 bits = 0;
    __builtin_memcpy(&bits, bytes, sizeof bits);
    word |= bits << i;
  }
  return word;
}
#endif

/// One bit per voxel of a row: whether it is foreground.
template <class T>
void findForeground(const T* row, int64 stride, SizeType count, T background, uint64* words) {
  SizeType begin = 0;
#ifdef TAVI_USE_HIGHWAY
  if (stride == 1) {
    for (; begin + 64 <= count; begin += 64) {
      *words++ = foregroundWord(row + begin, background);
    }
  }
#endif
  for (; begin < count; begin += 64) {
    *words++ = foregroundWord(row + static_cast<int64>(begin) * stride, stride, std::min<SizeType>(64, count - begin),
                              background);
  }
}

/// The bits of all rows of a volume. Each row has a word of zeros before it and one behind it, which no other row
/// shares: rows may be set on different threads.
class BitRows {
public:
  BitRows(SizeType dimPrim, SizeType dimSec, SizeType dimTert)
      : _words((dimPrim + 63) / 64),
        _rows(dimSec),
        _bits(Tavi::Allocator::SingleBlockAllocator::allocate<uint64>(
            Tavi::Dimension<SizeType>(_words + 2, dimSec, dimTert))),
        _none(_words + 2) {}

  SizeType words() const { return _words; }
  const uint64* row(SizeType sec, SizeType tert) const { return at(sec, tert); }
  /// A row outside the volume.
  const uint64* none() const { return _none.data() + 1; }

  /// Sets the bits of a row with `find(words)`.
  template <class Find>
  void set(SizeType sec, SizeType tert, const Find& find) {
    uint64* const words = at(sec, tert);
    words[-1] = 0;
    find(words);
    words[_words] = 0;
  }

private:
  uint64* at(SizeType sec, SizeType tert) const { return _bits.getData() + (tert * _rows + sec) * (_words + 2) + 1; }

  const SizeType _words;
  const SizeType _rows;
  const Tavi::Allocator::Block<uint64> _bits;  // not initialised
  const std::vector<uint64> _none;
};

}  // namespace NORV::TaviOperators::Impl
