#pragma once

#include <Tavi/Types.hpp>

#include <bit>
#include <limits>
#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

/// The minimum of several rows of voxels, voxel by voxel.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The lower of what was found so far and one more voxel. The second one also where neither is lower, so a NaN is taken
/// and then replaced by the voxel after it.
template <class T>
T lower(T found, T voxel) {
  return found < voxel ? found : voxel;
}

/// Whether a row has a zero with a sign: which of two equal zeros is the minimum depends on their order.
template <class T>
[[gnu::noinline]] bool hasNegativeZero(const T* row, SizeType count) {
  using Bits = std::conditional_t<sizeof(T) == 4, uint32, uint64>;
  SizeType found = 0;
  for (SizeType i = 0; i < count; ++i) {
    found |= static_cast<SizeType>(std::bit_cast<Bits>(row[i]) == std::bit_cast<Bits>(T(-0.0)));
  }
  return found != 0;
}

/// Whether the minimum of these voxels depends on more than their order: a NaN hides the voxels before it, which parts
/// cannot know.
template <class T>
[[gnu::noinline]] bool hasNaN(const T* row, SizeType count) {
  if constexpr (std::is_floating_point_v<T>) {
    using Bits = std::conditional_t<sizeof(T) == 4, uint32, uint64>;
    constexpr Bits sign = std::bit_cast<Bits>(T(-0.0)),
                   infinity = std::bit_cast<Bits>(std::numeric_limits<T>::infinity());
    Bits found = 0;
    for (SizeType i = 0; i < count; ++i) {
      found |= static_cast<Bits>((std::bit_cast<Bits>(row[i]) & ~sign) > infinity);
    }
    return found != 0;
  } else {
    return false;
  }
}

/// Rows given by their offsets from one voxel.
template <class T>
struct RowsAtOffsets {
  const T* voxel;
  const int64* offsets;
  const T* operator()(SizeType i) const { return voxel + offsets[i]; }
};

/// Rows with any strides, voxel by voxel. `count` is not 0.
template <class T>
[[gnu::noinline]] void minimumStrided(const T* input, int64 inputStride, const int64* offsets, SizeType count,
                                      T* output, int64 outputStride, SizeType length) {
  for (SizeType x = 0; x < length; ++x, input += inputStride, output += outputStride) {
    T minimum = input[offsets[0]];
    for (SizeType i = 1; i < count; ++i) {
      minimum = lower(minimum, input[offsets[i]]);
    }
    *output = minimum;
  }
}

#ifdef TAVI_USE_HIGHWAY
template <class V>
V lowerOf(V found, V voxels) {
  namespace hn = hwy::HWY_NAMESPACE;
#if HWY_ARCH_X86 && HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
  return hn::Min(found, voxels);  // for floating point too this instruction is `lower`, NaN and signed zeros included
#else
  if constexpr (hwy::IsFloat<hn::TFromV<V>>()) {
    return hn::IfThenElse(hn::Lt(found, voxels), found, voxels);
  } else {
    return hn::Min(found, voxels);
  }
#endif
}

/// `vectors` neighbouring vectors of voxels; independent chains hide the latency.
template <int vectors, class D, class T, class Rows>
HWY_INLINE void minimumOfVectors(D tag, const Rows& rows, SizeType count, SizeType x, T* output) {
  namespace hn = hwy::HWY_NAMESPACE;
  const SizeType lanes = hn::Lanes(tag);
  const T* from = rows(0) + x;
  auto a = hn::LoadU(tag, from), b = a, c = a, d = a;
  if constexpr (vectors == 4) {
    b = hn::LoadU(tag, from + lanes);
    c = hn::LoadU(tag, from + 2 * lanes);
    d = hn::LoadU(tag, from + 3 * lanes);
  }
  for (SizeType i = 1; i < count; ++i) {
    from = rows(i) + x;
    a = lowerOf(a, hn::LoadU(tag, from));
    if constexpr (vectors == 4) {
      b = lowerOf(b, hn::LoadU(tag, from + lanes));
      c = lowerOf(c, hn::LoadU(tag, from + 2 * lanes));
      d = lowerOf(d, hn::LoadU(tag, from + 3 * lanes));
    }
  }
  hn::StoreU(a, tag, output + x);
  if constexpr (vectors == 4) {
    hn::StoreU(b, tag, output + x + lanes);
    hn::StoreU(c, tag, output + x + 2 * lanes);
    hn::StoreU(d, tag, output + x + 3 * lanes);
  }
}

/// A row of one vector at least, the last one of which may overlap the one before it: some voxels once more rather than
/// one by one.
template <class D, class T, class Rows>
void minimumInVectors(D tag, const Rows& rows, SizeType count, T* output, SizeType length) {
  const SizeType lanes = hwy::HWY_NAMESPACE::Lanes(tag);
  SizeType done = 0;
  for (; length - done >= 4 * lanes; done += 4 * lanes) {
    minimumOfVectors<4>(tag, rows, count, done, output);
  }
  for (; length - done >= lanes; done += lanes) {
    minimumOfVectors<1>(tag, rows, count, done, output);
  }
  if (done != length) {
    minimumOfVectors<1>(tag, rows, count, length - lanes, output);
  }
}
#endif

/// Dense rows, folded in their order. `count` is not 0. `output` may be one of the rows if no voxel is a NaN, but it
/// overlaps none in part.
template <class T, class Rows>
[[gnu::noinline]] void minimumDense(const Rows rows, SizeType count, T* output, SizeType length) {
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<T> wide;
  const hn::CappedTag<T, 16 / sizeof(T)> narrow;
  if (length >= hn::Lanes(wide)) {
    minimumInVectors(wide, rows, count, output, length);
    return;
  }
  if (length >= hn::Lanes(narrow)) {
    minimumInVectors(narrow, rows, count, output, length);
    return;
  }
#endif
  for (SizeType x = 0; x < length; ++x) {
    T minimum = rows(0)[x];
    for (SizeType i = 1; i < count; ++i) {
      minimum = lower(minimum, rows(i)[x]);
    }
    output[x] = minimum;
  }
}

}  // namespace NORV::TaviOperators::Impl
