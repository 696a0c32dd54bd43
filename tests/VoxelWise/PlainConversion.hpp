#pragma once

#include <Tavi/Types.hpp>

#include <cmath>
#include <type_traits>

namespace NORV::Tests {

/// The plain numeric conversion between voxel types, restated in whole numbers: truncation, the lowest number of the
/// processor's word for what the word does not hold, then the low bits.
template <class In, class Out>
Out converted(In x) {
  if constexpr (std::is_integral_v<Out>) {
    uint64 low = 0;
    if constexpr (std::is_integral_v<In>) {
      low = static_cast<uint64>(static_cast<int64>(x));
    } else {
      constexpr int bits = std::is_same_v<Out, uint32> ? 64 : 32;
      const long double end = std::ldexp(1.0L, bits - 1);
      const long double whole = std::trunc(static_cast<long double>(x));
      low = whole >= -end && whole < end ? static_cast<uint64>(static_cast<int64>(whole)) : uint64{1} << (bits - 1);
    }
    const uint64 cut = low & (~uint64{0} >> (64 - 8 * sizeof(Out)));
    return static_cast<Out>(cut);
  } else {
    return static_cast<Out>(x);
  }
}

}  // namespace NORV::Tests
