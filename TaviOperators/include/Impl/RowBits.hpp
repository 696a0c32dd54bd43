#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>
#include <vector>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

/// Rows of voxels as bits: which of them are foreground.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// One bit per voxel of a row, in order from the low bits of the first byte on. Around the row there is background.
class RowBits {
public:
  static constexpr SizeType margin = 8;  // bytes before the row, and at least as many behind it

  explicit RowBits(const uint8* bytes) : _bytes(bytes) {}

  static SizeType bytesFor(SizeType voxels) { return margin + voxels / 8 + 1 + margin; }

  /// The voxels from `place` on, the first as the lowest bit; at most 57 are wanted.
  uint64 from(int64 place, SizeType count) const {
    uint64 word = 0;
    std::memcpy(&word, bytesAt(place), sizeof word);
    return word >> bit(place) & ((uint64{1} << count) - 1);
  }

  /// The first place from `place` on, before `end`, that is foreground or background as asked; `end` if there is none.
  int64 find(bool foreground, int64 place, int64 end) const {
    constexpr int64 step = 57;
    while (place < end) {
      uint64 word = 0;
      std::memcpy(&word, bytesAt(place), sizeof word);
      word = (foreground ? word : ~word) >> bit(place) & ((uint64{1} << step) - 1);
      if (word != 0) {
        return std::min(place + std::countr_zero(word), end);
      }
      place += step;
    }
    return end;
  }

private:
  const uint8* bytesAt(int64 place) const { return _bytes + static_cast<int64>(margin) + (place >> 3); }
  static unsigned bit(int64 place) { return static_cast<unsigned>(place & 7); }

  const uint8* _bytes;
};
static_assert(std::endian::native == std::endian::little, "bits are read in words");

/// Writes the bits of a row, of voxels that differ from `background`.
template <class T>
[[gnu::noinline]] void writeRowBits(const T* voxels, int64 stride, SizeType count, T background, uint8* bytes) {
  std::memset(bytes, 0, RowBits::bytesFor(count));
  bytes += RowBits::margin;
  SizeType done = 0;
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<T> tag;
  const SizeType lanes = hn::Lanes(tag);
  if (stride == 1 && lanes >= 8) {
    const auto wanted = hn::Set(tag, background);
    for (; count - done >= lanes; done += lanes) {
      hn::StoreMaskBits(tag, hn::Ne(hn::LoadU(tag, voxels + done), wanted), bytes + done / 8);
    }
  }
#endif
  for (; done < count; ++done) {
    const bool isForeground = voxels[static_cast<int64>(done) * stride] != background;
    bytes[done / 8] = static_cast<uint8>(bytes[done / 8] | (isForeground ? 1u : 0u) << done % 8);
  }
}

/// The bits of all rows of two slices, the current one and the one before it.
class SliceBits {
public:
  SliceBits(SizeType dimPrim, SizeType dimSec)
      : _rowBytes(RowBits::bytesFor(dimPrim)),
        _dimSec(dimSec),
        _bytes(2 * _rowBytes * (dimSec + 2)) {}

  /// Makes the current slice the one before.
  void nextSlice() { _current = 1 - _current; }
  uint8* current(int64 sec) { return row(_current, sec); }
  /// Rows from -1 to the number of rows are there; those outside are background.
  RowBits currentBits(int64 sec) { return RowBits(row(_current, sec)); }
  RowBits previousBits(int64 sec) { return RowBits(row(1 - _current, sec)); }

private:
  uint8* row(SizeType slice, int64 sec) {
    return _bytes.data() + (slice * (_dimSec + 2) + static_cast<SizeType>(sec + 1)) * _rowBytes;
  }

  SizeType _rowBytes, _dimSec, _current = 0;
  std::vector<uint8> _bytes;
};

}  // namespace NORV::TaviOperators::Impl
