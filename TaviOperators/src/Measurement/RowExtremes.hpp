#pragma once

#include <Tavi/Types.hpp>

#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Widens [low, high], which holds no NaN, by the voxels of a row. NaN voxels are ignored.
template <class T>
void widenByVoxels(const T* row, SizeType count, int64 stride, T& low, T& high) {
  for (SizeType i = 0; i < count; ++i, row += stride) {
    if (low > *row) {
      low = *row;
    } else if (*row > high) {
      high = *row;
    }
  }
}

/// As `widenByVoxels`, for a dense row. Which of two equal zeros of different sign results is not fixed here.
template <class T>
void widenByDenseRow(const T* row, SizeType count, T& low, T& high) {
  SizeType done = 0;
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<T> tag;
  const SizeType lanes = hn::Lanes(tag);
  if (count >= 4 * lanes) {
    // Ordered comparisons, so that a NaN never replaces a value; two chains hide the latency.
    auto low0 = hn::Set(tag, low), low1 = low0;
    auto high0 = hn::Set(tag, high), high1 = high0;
    for (; count - done >= 2 * lanes; done += 2 * lanes) {
      const auto a = hn::LoadU(tag, row + done), b = hn::LoadU(tag, row + done + lanes);
      if constexpr (std::is_floating_point_v<T>) {
        low0 = hn::IfThenElse(hn::Lt(a, low0), a, low0);
        low1 = hn::IfThenElse(hn::Lt(b, low1), b, low1);
        high0 = hn::IfThenElse(hn::Gt(a, high0), a, high0);
        high1 = hn::IfThenElse(hn::Gt(b, high1), b, high1);
      } else {
        low0 = hn::Min(low0, a);
        low1 = hn::Min(low1, b);
        high0 = hn::Max(high0, a);
        high1 = hn::Max(high1, b);
      }
    }
    HWY_ALIGN T lows[2 * HWY_MAX_BYTES / sizeof(T)];
    HWY_ALIGN T highs[2 * HWY_MAX_BYTES / sizeof(T)];
    hn::Store(low0, tag, lows);
    hn::Store(low1, tag, lows + lanes);
    hn::Store(high0, tag, highs);
    hn::Store(high1, tag, highs + lanes);
    widenByVoxels(lows, 2 * lanes, 1, low, high);
    widenByVoxels(highs, 2 * lanes, 1, low, high);
  }
#endif
  widenByVoxels(row + done, count - done, 1, low, high);
}

}  // namespace NORV::TaviOperators::Impl
