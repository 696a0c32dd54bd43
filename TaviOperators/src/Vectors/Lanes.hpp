#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#if HWY_TARGET != HWY_SCALAR
#define TAVI_WIDE_VECTORS  // of several lanes, which can be taken apart and put together
#endif
#endif

/// Real arithmetic on one voxel or on a whole vector of them, so that a rule is written once.
///
/// A rule is a function object with `using Real` and `template <class L> typename L::V map(L, typename L::V x) const`,
/// where `L` is one of the kinds of lanes below. What it gives for an integer output must be a whole number that the
/// output holds; for uint32 also one from -2^31 on, of which the low bits count. Each operation rounds once, so both
/// kinds give the same values. A comparison with a NaN is false.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// A number to divide many others by, with its reciprocal as a sum of two numbers.
template <class R>
struct Divisor {
  R value, reciprocal, rest;

  Divisor(R number) : value(number), reciprocal(R(1) / number), rest(std::fma(-reciprocal, number, R(1)) / number) {}

  /// Whether no step of `QuickLanes::div` overflows, loses digits to underflow or gives a zero the wrong sign, for
  /// dividends that are integers of up to 16 bits, such quotients, and differences of these and of numbers that
  /// `isModerateOrZero`.
  bool isModerate() const { return value >= R(1) / largest && value <= largest; }
  static bool isModerateOrZero(R number) { return number == R(0) || Divisor(std::abs(number)).isModerate(); }

private:
  static constexpr R largest = R(4294967296);
};

template <class R>
struct OneLane {
  using V = R;
  static V set(R value) { return value; }
  static V add(V a, V b) { return a + b; }
  static V sub(V a, V b) { return a - b; }
  static V mul(V a, V b) { return a * b; }
  static V div(V a, V b) { return a / b; }
  static V div(V a, const Divisor<R>& b) { return a / b.value; }
  static V floor(V a) { return std::floor(a); }
  static V abs(V a) { return std::abs(a); }
  /// `a < b ? yes : no`
  static V ifLess(V a, V b, V yes, V no) { return a < b ? yes : no; }
  /// `a <= b ? yes : no`
  static V ifLessOrEqual(V a, V b, V yes, V no) { return a <= b ? yes : no; }
};

#ifdef TAVI_USE_HIGHWAY
namespace hn = hwy::HWY_NAMESPACE;

/// The low bits of unsigned lanes. On processors with AVX3_DL, `TruncateTo` of Highway 1.0 picks the wrong bytes except
/// where it halves whole vectors of 512 bits or takes 64-bit lanes: there a conversion that saturates does the same.
template <class Tag, class V>
auto lowBits(Tag out, V bits) {
  using Narrow = hn::TFromD<Tag>;
  using Wide = hn::TFromV<V>;
  constexpr bool isWhole = sizeof(Wide) == 2 * sizeof(Narrow) && hn::MaxLanes(Tag()) * sizeof(Wide) == 64;
  if constexpr (HWY_TARGET != HWY_AVX3_DL || isWhole || sizeof(Wide) == 8) {
    return hn::TruncateTo(out, bits);
  } else {
    const hn::Rebind<Wide, Tag> wide;
    const auto low = hn::And(bits, hn::Set(wide, static_cast<Wide>(static_cast<Narrow>(~Narrow(0)))));
    return hn::DemoteTo(out, hn::BitCast(hn::Rebind<std::make_signed_t<Wide>, Tag>(), low));
  }
}

template <class R>
struct VectorLanes {
  using Tag = hn::ScalableTag<R>;
  using V = hn::Vec<Tag>;
  template <class T>
  using Beside = hn::Rebind<T, Tag>;  // as many lanes of another type

  static SizeType count() { return hn::Lanes(Tag()); }
  static V set(R value) { return hn::Set(Tag(), value); }
  static V add(V a, V b) { return hn::Add(a, b); }
  static V sub(V a, V b) { return hn::Sub(a, b); }
  static V mul(V a, V b) { return hn::Mul(a, b); }
  static V div(V a, V b) { return hn::Div(a, b); }
  static V div(V a, const Divisor<R>& b) { return hn::Div(a, set(b.value)); }
  static V floor(V a) { return hn::Floor(a); }
  static V abs(V a) { return hn::Abs(a); }
  static V ifLess(V a, V b, V yes, V no) { return hn::IfThenElse(hn::Lt(a, b), yes, no); }
  static V ifLessOrEqual(V a, V b, V yes, V no) { return hn::IfThenElse(hn::Le(a, b), yes, no); }

  /// The next voxels of a row, exactly. `R` is double for 32-bit integers.
  template <class In>
  static V load(const In* from) {
    const Beside<int32> whole;
    const auto voxels = hn::LoadU(Beside<In>(), from);
    if constexpr (std::is_same_v<In, R>) {
      return voxels;
    } else if constexpr (std::is_same_v<In, uint32>) {
      return add(real(hn::BitCast(whole, hn::Xor(voxels, hn::Set(Beside<uint32>(), signBit)))), set(halfRange));
    } else if constexpr (sizeof(In) < 4) {
      return real(hn::PromoteTo(whole, voxels));
    } else {
      return hn::PromoteTo(Tag(), voxels);
    }
  }

  /// Writes what a rule gives.
  template <class Out>
  static void store(V values, Out* to) {
    const Beside<Out> out;
    if constexpr (std::is_same_v<Out, R>) {
      hn::StoreU(values, out, to);
    } else if constexpr (std::is_same_v<Out, uint32>) {
      const auto upper = hn::Ge(values, set(halfRange));
      const auto low = truncated(hn::Sub(values, hn::IfThenElseZero(upper, set(halfRange))));
      const auto high = truncated(hn::IfThenElseZero(upper, set(-halfRange)));
      hn::StoreU(hn::BitCast(out, hn::Xor(low, high)), out, to);
    } else if constexpr (sizeof(Out) < 4) {
      hn::StoreU(hn::DemoteTo(out, truncated(values)), out, to);
    } else if constexpr (std::is_same_v<Out, int32>) {
      hn::StoreU(truncated(values), out, to);
    } else {
      hn::StoreU(single(values), out, to);
    }
  }

  /// The float32 numbers next to float64 ones. Where lanes are emulated, infinite ones would become finite.
  static auto single(V values) {
    const Beside<float32> out;
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128
    HWY_ALIGN std::array<R, hn::MaxLanes(Tag())> wide;
    HWY_ALIGN std::array<float32, hn::MaxLanes(Tag())> narrow;
    hn::Store(values, Tag(), wide.data());
    std::transform(wide.begin(), wide.end(), narrow.begin(), [](R value) { return static_cast<float32>(value); });
    return hn::Load(out, narrow.data());
#else
    return hn::DemoteTo(out, values);
#endif
  }

private:
  static constexpr uint32 signBit = 0x80000000u;
  static constexpr R halfRange = R(2147483648.0);

  template <class Integers>
  static V real(Integers values) {
    if constexpr (sizeof(R) == 4) {
      return hn::ConvertTo(Tag(), values);
    } else {
      return hn::PromoteTo(Tag(), values);
    }
  }
  static auto truncated(V values) {
    if constexpr (sizeof(R) == 4) {
      return hn::ConvertTo(Beside<int32>(), values);
    } else {
      return hn::DemoteTo(Beside<int32>(), values);
    }
  }
};

/// Divides moderate numbers without a division, which takes several times as long, and gives the same. The product with
/// the two parts of the reciprocal is off by little more than half a unit in the last place, so it is one of the two
/// neighbours of the exact quotient; then what is left of the dividend is exact, and one fused step from there rounds
/// correctly (P. Markstein, Computation of elementary functions on the IBM RISC System/6000 processor, IBM J. Res. Dev.
/// 34, 1990).
template <class R>
struct QuickLanes : VectorLanes<R> {
  using typename VectorLanes<R>::V;
  using VectorLanes<R>::div;
  using VectorLanes<R>::set;

#if HWY_NATIVE_FMA
  static V div(V a, const Divisor<R>& b) {
    const V near = hn::MulAdd(a, set(b.reciprocal), hn::Mul(a, set(b.rest)));
    const V left = hn::NegMulAdd(near, set(b.value), a);
    return hn::MulAdd(left, set(b.reciprocal), near);
  }
#endif
};
#endif

/// A rule on lanes as a rule on voxels, for `transformVoxels`. A rule that divides by a `Divisor` has also
/// `bool dividesModerately() const`.
template <class In, class Out, class Rule>
struct LanewiseRule {
  using Real = typename Rule::Real;
  Rule rule;

  Out operator()(In x) const {
    const Real result = rule.map(OneLane<Real>(), static_cast<Real>(x));
    if constexpr (std::is_same_v<Out, uint32>) {
      return static_cast<Out>(static_cast<int64>(result));
    } else {
      return static_cast<Out>(result);
    }
  }

  void row(const In* input, Out* output, SizeType count) const {
    SizeType done = 0;
#ifdef TAVI_USE_HIGHWAY
    if constexpr (requires { rule.dividesModerately(); }) {
      done = rule.dividesModerately() ? vectors<QuickLanes<Real>>(input, output, count)
                                      : vectors<VectorLanes<Real>>(input, output, count);
    } else {
      done = vectors<VectorLanes<Real>>(input, output, count);
    }
#endif
    for (; done < count; ++done) {
      output[done] = (*this)(input[done]);
    }
  }

private:
#ifdef TAVI_USE_HIGHWAY
  template <class Lanes>
  SizeType vectors(const In* input, Out* output, SizeType count) const {
    const Rule constants = rule;  // which no store into the row can change
    const SizeType whole = count - count % Lanes::count();
    for (SizeType done = 0; done < whole; done += Lanes::count()) {
      Lanes::store(constants.map(Lanes(), Lanes::load(input + done)), output + done);
    }
    return whole;
  }
#endif
};

}  // namespace NORV::TaviOperators::Impl
