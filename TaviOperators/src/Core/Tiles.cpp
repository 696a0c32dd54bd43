#include <Impl/Loops/Tiles.hpp>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

namespace NORV::TaviOperators::Impl::Tiles {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

template <class T>
using Tag = hn::CappedTag<T, 16 / sizeof(T)>;

/// A square block of vectors of 16 bytes. Each stage interleaves both halves of the rows: after as many stages as the
/// number of a row has bits, the bits of row and column have changed places.
template <class T>
HWY_INLINE void transposeBlock(const T* from, int64 fromStride, T* to, int64 toStride) {
  constexpr SizeType size = 16 / sizeof(T);
  const Tag<T> tag;
  hn::VFromD<Tag<T>> rows[size], next[size];
  for (SizeType i = 0; i < size; ++i) {
    rows[i] = hn::LoadU(tag, from + static_cast<int64>(i) * fromStride);
  }
  for (SizeType stage = 1; stage < size; stage *= 2) {
#pragma GCC unroll 8
    for (SizeType i = 0; i < size / 2; ++i) {
      next[2 * i] = hn::InterleaveLower(tag, rows[i], rows[i + size / 2]);
      next[2 * i + 1] = hn::InterleaveUpper(tag, rows[i], rows[i + size / 2]);
    }
#pragma GCC unroll 16
    for (SizeType i = 0; i < size; ++i) {
      rows[i] = next[i];
    }
  }
#pragma GCC unroll 16
  for (SizeType i = 0; i < size; ++i) {
    hn::StoreU(rows[i], tag, to + static_cast<int64>(i) * toStride);
  }
}

/// Lines are copied before they are transposed, as lines at a distance of a power of two drive each other out of the
/// cache before all of their voxels are read.
template <class T>
void transposeTile(const std::byte* from, int64 fromStride, std::byte* to, int64 toStride, SizeType rows,
                   SizeType columnCount) {
  constexpr SizeType size = 16 / sizeof(T), group = 16;
  constexpr int64 lineVoxels = lineBytes / sizeof(T);
  const auto* const source = reinterpret_cast<const T*>(from);
  auto* const target = reinterpret_cast<T*>(to);
  const auto line = [&](SizeType column) { return source + static_cast<int64>(column) * fromStride; };
  alignas(64) T lines[group * lineVoxels] = {};
  for (SizeType column = 0; column < columnCount; column += group) {
    const SizeType count = std::min(group, columnCount - column);
    for (SizeType i = 0; i < count; ++i) {
      std::memcpy(lines + static_cast<int64>(i) * lineVoxels, line(column + i), rows * sizeof(T));
      const auto* const ahead = reinterpret_cast<const char*>(line(std::min(column + i + group, columnCount - 1)));
      for (SizeType byte = 0; byte < rows * sizeof(T); byte += 64) {
        hwy::Prefetch(ahead + byte);
      }
    }
    for (SizeType row = 0; row < rows; row += size) {
      T* const place = target + static_cast<int64>(row) * toStride + static_cast<int64>(column);
      for (SizeType i = 0; i < count; i += size) {
        transposeBlock(lines + static_cast<int64>(i) * lineVoxels + row, lineVoxels, place + i, toStride);
      }
    }
  }
}

/// Voxels are reversed within blocks of 16 bytes, and then the blocks.
template <class T>
void reverseRow(const std::byte* last, std::byte* to, SizeType count) {
  const hn::ScalableTag<uint8> tag;
  const SizeType lanes = hn::Lanes(tag) / sizeof(T);
  alignas(16) uint8 mirrored[16];
  for (SizeType i = 0; i < 16; ++i) {
    mirrored[i] = static_cast<uint8>((16 / sizeof(T) - 1 - i / sizeof(T)) * sizeof(T) + i % sizeof(T));
  }
  const auto order = hn::LoadDup128(tag, mirrored);
  // Upwards through memory, as the rows after it: a processor fetches ahead what is read in one direction.
  const auto* const first = reinterpret_cast<const T*>(last) - (static_cast<int64>(count) - 1);
  auto* const target = reinterpret_cast<T*>(to);
  SizeType left = count;
  for (; left >= lanes; left -= lanes) {
    const auto voxels = hn::LoadU(tag, reinterpret_cast<const uint8*>(first + (count - left)));
    hn::StoreU(hn::ReverseBlocks(tag, hn::TableLookupBytes(voxels, order)), tag,
               reinterpret_cast<uint8*>(target + (left - lanes)));
  }
  for (; left > 0; --left) {
    target[left - 1] = first[count - left];
  }
}

// Set while the library loads, before any operator runs.
[[maybe_unused]] const bool isSet = [] {
  if constexpr (hn::MaxLanes(Tag<uint8>()) == 16) {
    kernels = {{&transposeTile<uint8>, &transposeTile<uint16>, &transposeTile<uint32>, &transposeTile<uint64>},
               {&reverseRow<uint8>, &reverseRow<uint16>, &reverseRow<uint32>, &reverseRow<uint64>}};
  }
  return true;
}();

}  // namespace
}  // namespace NORV::TaviOperators::Impl::Tiles
