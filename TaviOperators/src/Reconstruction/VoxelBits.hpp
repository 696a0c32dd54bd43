#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <Reconstruction/PackedNeighbourhood.hpp>

#include <algorithm>
#include <array>
#include <cstddef>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#if HWY_TARGET != HWY_SCALAR
#define TAVI_VOXEL_BITS_LANES
#endif
#endif

/// Binary voxels as bits of 32-bit words: rows of words, the first voxel in the lowest bit.
namespace NORV::TaviOperators::Impl {

inline constexpr SizeType voxelsPerWord = 32;

/// Up to 32 voxels of a row as bits.
struct BinaryWord {
  uint32 isTrue = 0;
  bool isBinary = true;  ///< whether each voxel is one of the two values
};

/// A voxel that equals `whenFalse` is not set, whatever `whenTrue` is.
template <class T>
BinaryWord readBinary(const T* row, int64 stride, SizeType count, T whenFalse, T whenTrue) {
  BinaryWord word;
#ifdef TAVI_VOXEL_BITS_LANES
  if (stride == 1 && count == voxelsPerWord) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::CappedTag<T, voxelsPerWord> tag;
    const auto falses = hn::Set(tag, whenFalse), trues = hn::Set(tag, whenTrue);
    uint64 isTrue = 0;
    for (SizeType i = 0; i < voxelsPerWord; i += hn::Lanes(tag)) {
      const auto voxels = hn::LoadU(tag, row + i);
      const auto differs = hn::Ne(voxels, falses);
      word.isBinary = word.isBinary && hn::AllFalse(tag, hn::And(differs, hn::Ne(voxels, trues)));
      uint8 bytes[8] = {};
      hn::StoreMaskBits(tag, differs, bytes);
      for (SizeType byte = 0; byte < 4; ++byte) {
        isTrue |= uint64{bytes[byte]} << (i + 8 * byte);
      }
    }
    word.isTrue = static_cast<uint32>(isTrue);
    return word;
  }
#endif
  for (SizeType i = 0; i < count; ++i, row += stride) {
    word.isTrue |= static_cast<uint32>(*row != whenFalse) << i;
    word.isBinary = word.isBinary && (*row == whenFalse || *row == whenTrue);
  }
  return word;
}

template <class T>
void writeBinary(uint32 isTrue, T* row, int64 stride, SizeType count, T whenFalse, T whenTrue) {
#ifdef TAVI_VOXEL_BITS_LANES
  if (stride == 1 && count == voxelsPerWord) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::CappedTag<T, voxelsPerWord> tag;
    const auto falses = hn::Set(tag, whenFalse), trues = hn::Set(tag, whenTrue);
    for (SizeType i = 0; i < voxelsPerWord; i += hn::Lanes(tag)) {
      uint8 bytes[8] = {};
      for (SizeType byte = 0; byte < 4; ++byte) {
        bytes[byte] = static_cast<uint8>(uint64{isTrue} >> (i + 8 * byte));
      }
      hn::StoreU(hn::IfThenElse(hn::LoadMaskBits(tag, bytes), trues, falses), tag, row + i);
    }
    return;
  }
#endif
  for (SizeType i = 0; i < count; ++i, row += stride) {
    *row = (isTrue >> i & 1) != 0 ? whenTrue : whenFalse;
  }
}

/// The voxels of one word with all of their neighbours.
class NeighbourWindow {
public:
  /// `word` has words on all sides.
  NeighbourWindow(const uint32* word, int64 strideSec, int64 strideTert) {
    std::size_t row = 0;
    for (int64 tert = -strideTert; tert <= strideTert; tert += strideTert) {
      for (int64 sec = -strideSec; sec <= strideSec; sec += strideSec) {
        const uint32* const middle = word + tert + sec;
        _rows[row++] = uint64{middle[-1] >> 31} | uint64{middle[0]} << 1 | uint64{middle[1] & 1} << 33;
      }
    }
  }

  Neighbourhood at(unsigned bit) const {
    uint64 box = 0;
    for (std::size_t row = 0; row < _rows.size(); ++row) {
      box |= (_rows[row] >> bit & 7) << 3 * row;
    }
    return static_cast<Neighbourhood>(box & ~(uint64{1} << centreBit));
  }
  void remove(unsigned bit) { _rows[4] &= ~(uint64{2} << bit); }

private:
  std::array<uint64, 9> _rows;  // from the voxel before the word to the one behind it
};

}  // namespace NORV::TaviOperators::Impl
