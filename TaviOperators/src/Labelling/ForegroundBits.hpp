#pragma once

#include <Impl/Loops/View.hpp>
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

/// The bits of two slices: the one that is scanned and the one before it. Each row has a word of zeros before it and
/// one behind it.
class BitRows {
public:
  BitRows(SizeType dimPrim, SizeType dimSec, SizeType dimTert)
      : _words((dimPrim + 63) / 64),
        _rows(dimSec),
        _bits((_words + 1) * (std::min<SizeType>(2, dimTert) * _rows + 1) + 1) {}

  SizeType words() const { return _words; }
  uint64* row(SizeType sec, SizeType tert) { return at((tert % 2) * _rows + sec + 1); }
  /// A row outside the volume.
  const uint64* none() { return at(0); }

private:
  uint64* at(SizeType row) { return _bits.data() + 1 + row * (_words + 1); }

  const SizeType _words;
  const SizeType _rows;
  std::vector<uint64> _bits;
};

/// Which words of a volume have a bit set, one bit for each.
class FilledWords {
public:
  explicit FilledWords(SizeType words) : _bits(words / 64 + 2) {}
  void add(SizeType word) { _bits[word / 64] |= uint64{1} << word % 64; }
  /// Those of `count` words, 64 at most, from `first` on.
  uint64 piece(SizeType first, SizeType count) const {
    const uint64* const bits = _bits.data() + first / 64;
    const SizeType shift = first % 64;
    return (bits[0] >> shift | bits[1] << 1 << (63 - shift)) & ~uint64{0} >> (64 - count);
  }

private:
  std::vector<uint64> _bits;
};

}  // namespace NORV::TaviOperators::Impl
