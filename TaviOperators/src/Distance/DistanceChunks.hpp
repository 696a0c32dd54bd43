#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128 && !HWY_HAVE_SCALABLE
#define TAVI_DISTANCE_VECTORS
#endif
#endif

/// Chunks of the rows that a distance transform measures: where the sources are, and how far they are within a chunk.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Rows are measured in chunks of so many voxels.
#ifdef TAVI_DISTANCE_VECTORS
namespace hn = hwy::HWY_NAMESPACE;
inline constexpr SizeType distanceChunk = hn::MaxLanes(hn::CappedTag<uint8, 64>());
#else
inline constexpr SizeType distanceChunk = 64;
#endif

/// By value: a minimum by reference keeps compilers from turning a loop into vector code.
template <class T>
T smaller(T a, T b) {
  return b < a ? b : a;
}

/// `value + steps`, at most the largest value of the type.
template <class T>
T plusSteps(T value, T steps) {
  return static_cast<T>(smaller(value, static_cast<T>(std::numeric_limits<T>::max() - steps)) + steps);
}

/// What the voxels of a chunk are.
enum class ChunkKind { others, mixed, sources };

/// The sources in the rows of a view, whatever the type of its voxels.
class RowSources {
public:
  /// Sources are the voxels equal to `value`, which must stay, or with `inverted` all others.
  template <class T>
  RowSources(const T& value, bool inverted, const View<const T>& view)
      : _mark(&markEqual<T>),
        _value(&value),
        _inversion(inverted ? 255 : 0),
        _data(reinterpret_cast<const std::byte*>(view.data)),
        _count(view.dimPrim),
        _stride(view.stridePrim),
        _bytesPerRow(view.strideSec * int64{sizeof(T)}),
        _bytesPerSlice(view.strideTert * int64{sizeof(T)}),
        _bytesPerVoxel(view.stridePrim * int64{sizeof(T)}) {}

  void beginRow(SizeType sec, SizeType tert) {
    _row = _data + static_cast<int64>(sec) * _bytesPerRow + static_cast<int64>(tert) * _bytesPerSlice;
  }
  SizeType count() const { return _count; }

  /// Marks the chunk of the row that begins at `first`: 0 for a source, 255 for another voxel or one past the end.
  ChunkKind mark(SizeType first, uint8* marks) const {
    const SizeType count = std::min(distanceChunk, _count - first);
    return _mark(_row + static_cast<int64>(first) * _bytesPerVoxel, _stride, count, _value, _inversion, marks);
  }

private:
  using Mark = ChunkKind (*)(const void* from, int64 stride, SizeType count, const void* wanted, uint8 inversion,
                             uint8* marks);

  template <class T>
  static ChunkKind markEqual(const void* from, int64 stride, SizeType count, const void* wanted, uint8 inversion,
                             uint8* marks) {
    const T* voxels = static_cast<const T*>(from);
    const T value = *static_cast<const T*>(wanted);
#ifdef TAVI_DISTANCE_VECTORS
    if constexpr (sizeof(T) == 1) {
      if (stride == 1 && count == distanceChunk) {
        return markBytes(voxels, value, inversion, marks);
      }
    }
#endif
    if (stride == 1 && count == distanceChunk) {
      for (SizeType i = 0; i < distanceChunk; ++i) {
        marks[i] = static_cast<uint8>((voxels[i] == value ? 0 : 255) ^ inversion);
      }
    } else {
      for (SizeType i = 0; i < count; ++i, voxels += stride) {
        marks[i] = static_cast<uint8>((*voxels == value ? 0 : 255) ^ inversion);
      }
      std::fill(marks + count, marks + distanceChunk, uint8{255});
    }
    uint64 words[distanceChunk / sizeof(uint64)];
    std::memcpy(words, marks, distanceChunk);
    uint64 all = ~uint64{0}, any = 0;
    for (const uint64 word : words) {
      all &= word;
      any |= word;
    }
    return all == ~uint64{0} ? ChunkKind::others : any != 0 ? ChunkKind::mixed : ChunkKind::sources;
  }

#ifdef TAVI_DISTANCE_VECTORS
  template <class T>
  static ChunkKind markBytes(const T* voxels, T value, uint8 inversion, uint8* marks) {
    const hn::CappedTag<uint8, 64> tag;
    const hn::Rebind<T, decltype(tag)> voxelTag;
    const auto equal = hn::Eq(hn::LoadU(voxelTag, voxels), hn::Set(voxelTag, value));
    const auto others = hn::Xor(hn::Not(hn::BitCast(tag, hn::VecFromMask(voxelTag, equal))), hn::Set(tag, inversion));
    hn::Store(others, tag, marks);
    const auto kindOfEqual = inversion == 0 ? ChunkKind::sources : ChunkKind::others;
    const auto kindOfUnequal = inversion == 0 ? ChunkKind::others : ChunkKind::sources;
    return hn::AllFalse(voxelTag, equal)  ? kindOfUnequal
           : hn::AllTrue(voxelTag, equal) ? kindOfEqual
                                          : ChunkKind::mixed;
  }
#endif

  Mark _mark;
  const void* _value;
  uint8 _inversion;
  const std::byte* _data;
  SizeType _count;
  int64 _stride, _bytesPerRow, _bytesPerSlice, _bytesPerVoxel;
  const std::byte* _row = nullptr;
};

#ifdef TAVI_DISTANCE_VECTORS
/// The marks of a chunk as one vector of how near a source is: 255 at a source, one less with each step, 0 for none.
class NearnessVector {
  static constexpr hn::CappedTag<uint8, 64> tag{};
  static constexpr hn::Repartition<uint32, decltype(tag)> words{};
  using V = hn::Vec<decltype(tag)>;

public:
  static constexpr SizeType lanes = hn::MaxLanes(tag);

  static void measure(uint8* marks) {
    V near = hn::Not(hn::Load(tag, marks));
    near = step<1>(near);
    near = step<2>(near);
    near = step<4>(near);
    near = step<8>(near);
    if constexpr (lanes > 16) {
      near = widen(near, up<1>(near), down<1>(near), 16);
    }
    if constexpr (lanes > 32) {
      near = widen(near, up<2>(near), down<2>(near), 32);
    }
    hn::Store(hn::Not(near), tag, marks);
  }

private:
  static V widen(V near, V below, V above, uint8 steps) {
    return hn::Max(near, hn::SaturatedSub(hn::Max(below, above), hn::Set(tag, steps)));
  }
  template <int steps>
  static V step(V near) {
    return widen(near, hn::CombineShiftRightBytes<16 - steps>(tag, near, up<1>(near)),
                 hn::CombineShiftRightBytes<steps>(tag, down<1>(near), near), steps);
  }

  /// Moves all lanes by whole blocks of 16 bytes; zeros follow.
  template <std::size_t blocks>
  static V up(V near) {
    if constexpr (16 * blocks >= lanes) {
      return hn::Zero(tag);
    } else {
      return hn::BitCast(tag, hn::IfThenZeroElse(hn::FirstN(words, 4 * blocks), turned<lanes / 4 - 4 * blocks>(near)));
    }
  }
  template <std::size_t blocks>
  static V down(V near) {
    if constexpr (16 * blocks >= lanes) {
      return hn::Zero(tag);
    } else {
      return hn::BitCast(tag, hn::IfThenElseZero(hn::FirstN(words, lanes / 4 - 4 * blocks), turned<4 * blocks>(near)));
    }
  }
  template <uint32 by>
  static auto turned(V near) {
    const auto from = hn::And(hn::Iota(words, by), hn::Set(words, static_cast<uint32>(lanes / 4 - 1)));
    return hn::TableLookupLanes(hn::BitCast(words, near), hn::IndicesFromVec(words, from));
  }
};
#endif

/// The distances of the voxels of a chunk to the nearest source in it, from their marks; there must be one.
class ChunkDistances {
public:
  uint8* marks() { return _padded.data() + margin; }

  SizeType firstSource() const {
    const auto* const marks = _padded.data() + margin;
    return static_cast<SizeType>(static_cast<const uint8*>(std::memchr(marks, 0, distanceChunk)) - marks);
  }

  const uint8* measure() {
#ifdef TAVI_DISTANCE_VECTORS
    NearnessVector::measure(marks());
#else
    std::fill_n(_padded.data(), margin, uint8{255});
    std::fill_n(marks() + distanceChunk, margin, uint8{255});
    step<1>();
    step<2>();
    step<4>();
    step<8>();
    step<16>();
    step<32>();
#endif
    return marks();
  }

private:
#ifdef TAVI_DISTANCE_VECTORS
  static constexpr SizeType margin = 0;
#else
  static constexpr SizeType margin = 64;

  /// Minima over 1, 2, 4 ... voxels to either side reach all distances of the chunk.
  template <uint8 width>
  void step() {
    static_assert(width <= margin);
    uint8* const marks = this->marks();
    const uint8* const before = marks - width;
    const uint8* const behind = marks + width;
    alignas(64) std::array<uint8, distanceChunk> nearer;
    for (SizeType i = 0; i < distanceChunk; ++i) {
      nearer[i] = smaller(marks[i], plusSteps(smaller(before[i], behind[i]), width));
    }
    std::memcpy(marks, nearer.data(), nearer.size());
  }
#endif

  alignas(64) std::array<uint8, margin + distanceChunk + margin> _padded;
};

}  // namespace NORV::TaviOperators::Impl
