#pragma once

#include <Tavi/Types.hpp>

#include <Vectors/Lanes.hpp>

#include <limits>
#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
#define TAVI_VECTOR_TRUNCATION  // emulated, it would take numbers next to the lowest integer for that one
#endif
#endif

/// The language's plain numeric conversion between voxel types, with one result for each value in every build.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Toward zero. NaN and what `Whole` does not hold give its lowest number, as the truncating instructions of x86-64 do.
template <class Whole, class Real>
Whole truncated(Real x) {
  constexpr auto lowest = static_cast<Real>(std::numeric_limits<Whole>::min());  // a power of two, so exact
  const Real notBelow = x > lowest ? x : lowest;
  return static_cast<Whole>(notBelow < -lowest ? notBelow : lowest);
}

/// No rounding to integers, no clamping, no scaling. Wider to narrower integers cut the high bits; `float64` to
/// `float32` and integers to floating point round to nearest.
///
/// The language leaves it open what a floating-point value becomes that its integer target does not hold. Here it is
/// what the scalar code for x86-64 gives: the value is truncated to 64 bits for `uint32`, to 32 bits for all others,
/// and the high bits are cut. So -1.0 becomes 4294967295 in `uint32`, 300.0 becomes 44 in `uint8`, and NaN becomes
/// -2147483648 in `int32` and 0 in all others. Vector instructions that convert to unsigned numbers give other values;
/// going through signed ones of a stated width makes scalar and vector code of every level agree.
template <class Out, class In>
Out convertPlainly(In x) {
  if constexpr (std::is_floating_point_v<In> && std::is_integral_v<Out>) {
    using Whole = std::conditional_t<std::is_same_v<Out, uint32>, int64, int32>;
    return static_cast<Out>(truncated<Whole>(x));
  } else {
    return static_cast<Out>(x);
  }
}

/// `convertPlainly` on a row of floating-point voxels, for integers of 8 and 16 bits, where compilers go detours.
template <class Out, class In>
void convertRowPlainly(const In* input, Out* output, SizeType count) {
  static_assert(std::is_floating_point_v<In> && std::is_unsigned_v<Out> && sizeof(Out) <= 2);
  SizeType done = 0;
#ifdef TAVI_VECTOR_TRUNCATION
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<In> real;
  const hn::Rebind<int32, decltype(real)> whole;
  const hn::Rebind<uint32, decltype(real)> bits;
  const hn::Rebind<Out, decltype(real)> out;
  const auto lowest = hn::Set(real, In(std::numeric_limits<int32>::min()));
  const SizeType vectors = count - count % hn::Lanes(real);
  for (; done < vectors; done += hn::Lanes(real)) {
    auto x = hn::LoadU(real, input + done);
    x = hn::IfThenElse(hn::And(hn::Gt(x, lowest), hn::Lt(x, hn::Neg(lowest))), x, lowest);
    if constexpr (sizeof(In) == 4) {
      hn::StoreU(lowBits(out, hn::BitCast(bits, hn::ConvertTo(whole, x))), out, output + done);
    } else {
      hn::StoreU(lowBits(out, hn::BitCast(bits, hn::DemoteTo(whole, x))), out, output + done);
    }
  }
#endif
  for (; done < count; ++done) {
    output[done] = convertPlainly<Out>(input[done]);
  }
}

}  // namespace NORV::TaviOperators::Impl
