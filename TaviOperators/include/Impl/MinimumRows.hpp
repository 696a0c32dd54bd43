#pragma once

#include <Tavi/Types.hpp>

#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

/// The minimum of the voxels under a structuring element, for many neighbouring positions.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The lower of what was found so far and one more voxel. The second one also where neither is lower, so a NaN is taken
/// and then replaced by the voxel after it.
template <class T>
T lower(T found, T voxel) {
  return found < voxel ? found : voxel;
}

template <class T>
T minimumAt(const T* position, const int64* offsets, SizeType count) {
  T minimum = position[offsets[0]];
  for (SizeType i = 1; i < count; ++i) {
    minimum = lower(minimum, position[offsets[i]]);
  }
  return minimum;
}

/// One row with any strides, voxel by voxel. `count` is not 0.
template <class T>
[[gnu::noinline]] void minimumStrided(const T* input, int64 inputStride, const int64* offsets, SizeType count,
                                      T* output, int64 outputStride, SizeType length) {
  for (SizeType i = 0; i < length; ++i, input += inputStride, output += outputStride) {
    *output = minimumAt(input, offsets, count);
  }
}

#ifdef TAVI_USE_HIGHWAY
template <class V>
V lowerOf(V found, V voxels) {
  namespace hn = hwy::HWY_NAMESPACE;
#if HWY_ARCH_X86
  return hn::Min(found, voxels);  // for floating point too this instruction is `lower`, NaN and signed zeros included
#else
  if constexpr (hn::IsFloat<hn::TFromV<V>>()) {
    return hn::IfThenElse(hn::Lt(found, voxels), found, voxels);
  } else {
    return hn::Min(found, voxels);
  }
#endif
}

/// `vectors` neighbouring vectors of positions; independent chains hide the latency.
template <int vectors, class D, class T = hwy::HWY_NAMESPACE::TFromD<D>>
HWY_INLINE void minimumOfVectors(D tag, const T* input, const int64* offsets, SizeType count, T* output) {
  namespace hn = hwy::HWY_NAMESPACE;
  const SizeType lanes = hn::Lanes(tag);
  const T* from = input + offsets[0];
  auto a = hn::LoadU(tag, from), b = a, c = a, d = a;
  if constexpr (vectors == 4) {
    b = hn::LoadU(tag, from + lanes);
    c = hn::LoadU(tag, from + 2 * lanes);
    d = hn::LoadU(tag, from + 3 * lanes);
  }
  for (SizeType i = 1; i < count; ++i) {
    from = input + offsets[i];
    a = lowerOf(a, hn::LoadU(tag, from));
    if constexpr (vectors == 4) {
      b = lowerOf(b, hn::LoadU(tag, from + lanes));
      c = lowerOf(c, hn::LoadU(tag, from + 2 * lanes));
      d = lowerOf(d, hn::LoadU(tag, from + 3 * lanes));
    }
  }
  hn::StoreU(a, tag, output);
  if constexpr (vectors == 4) {
    hn::StoreU(b, tag, output + lanes);
    hn::StoreU(c, tag, output + 2 * lanes);
    hn::StoreU(d, tag, output + 3 * lanes);
  }
}
#endif

/// One dense row, which shares no voxel with the rows read. `count` is not 0.
template <class T>
[[gnu::noinline]] void minimumDense(const T* input, const int64* offsets, SizeType count, T* output, SizeType length) {
  SizeType done = 0;
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<T> tag;
  const SizeType lanes = hn::Lanes(tag);
  if (length >= lanes) {
    for (; length - done >= 4 * lanes; done += 4 * lanes) {
      minimumOfVectors<4>(tag, input + done, offsets, count, output + done);
    }
    for (; length - done >= lanes; done += lanes) {
      minimumOfVectors<1>(tag, input + done, offsets, count, output + done);
    }
    if (done != length) {  // once more for some voxels rather than one by one
      done = length - lanes;
      minimumOfVectors<1>(tag, input + done, offsets, count, output + done);
    }
    return;
  }
#endif
  minimumStrided(input, 1, offsets, count, output, 1, length);
}

}  // namespace NORV::TaviOperators::Impl
