#pragma once

#include <Tavi/Types.hpp>

#include <Vectors/Lanes.hpp>
#include <VoxelWise/WindowRule.hpp>

#include <cmath>
#include <limits>
#include <type_traits>

/// The rules of AdjustLinear.
namespace NORV::TaviOperators::AdjustLinear {

/// The lower limit is looked at first, so it wins where both are equal.
template <class In, class Out>
struct Stretch {
  using Real = std::conditional_t<std::is_integral_v<In> && sizeof(In) <= 2, float32, float64>;
  static constexpr bool meetsEnds = true;
  static constexpr Real ofNaN = 0;
  Real originalMinimum, originalMaximum, resultMinimum, resultMaximum, slope;

  Stretch(In o1, In o2, Out r1, Out r2)
      : originalMinimum(static_cast<Real>(o1)),
        originalMaximum(static_cast<Real>(o2)),
        resultMinimum(static_cast<Real>(r1)),
        resultMaximum(static_cast<Real>(r2)),
        slope(o1 == o2 ? Real(0) : (resultMaximum - resultMinimum) / (originalMaximum - originalMinimum)) {}

  template <class L>
  typename L::V line(L, typename L::V x) const {
    return L::add(L::mul(L::sub(x, L::set(originalMinimum)), L::set(slope)), L::set(resultMinimum));
  }

  template <class L>
  typename L::V map(L lanes, typename L::V x) const {
    auto v = line(lanes, x);
    const auto low = L::set(static_cast<Real>(std::numeric_limits<Out>::lowest()));
    const auto high = L::set(static_cast<Real>(std::numeric_limits<Out>::max()));
    v = L::ifLess(high, v, high, v);
    if constexpr (std::is_integral_v<Out>) {
      v = L::floor(L::add(L::ifLess(low, v, v, low), L::set(Real(0.5))));  // a NaN becomes 0: such outputs are unsigned
    } else {
      v = L::ifLess(v, low, low, v);
    }
    v = L::ifLessOrEqual(L::set(originalMaximum), x, L::set(resultMaximum), v);
    return L::ifLessOrEqual(x, L::set(originalMinimum), L::set(resultMinimum), v);
  }

  template <class L>
  typename L::V between(L lanes, typename L::V x) const {
    return L::add(line(lanes, x), L::set(Real(0.5)));
  }

  /// The line rises from one result to the other, past them by no more than rounding, so within the original range it
  /// needs no limits. Where rounding is too coarse or an end is no number, it is not met.
  Impl::ValueWindow<In, Out> window() const {
    const Impl::OneLane<Real> lane;
    const bool meets = originalMinimum <= originalMaximum &&
                       std::floor(between(lane, originalMinimum)) == resultMinimum &&
                       std::floor(between(lane, originalMaximum)) == resultMaximum;
    return {meets, static_cast<In>(originalMinimum), static_cast<In>(originalMaximum), static_cast<Out>(resultMinimum),
            static_cast<Out>(resultMaximum)};
  }
};

/// Between float32 volumes only the line needs float64; limits and original range are compared on twice as many lanes.
struct SingleStretch {
  Impl::LanewiseRule<float32, float32, Stretch<float32, float32>> rule;

  float32 operator()(float32 x) const { return rule(x); }

  void row(const float32* input, float32* output, SizeType count) const {
    const bool isFinite = std::isfinite(rule.rule.resultMinimum) && std::isfinite(rule.rule.resultMaximum);
    const SizeType done = isFinite ? vectors<false>(input, output, count) : vectors<true>(input, output, count);
    rule.row(input + done, output + done, count - done);
  }

private:
  /// A line between finite results leaves float32 nowhere, so it needs no limits.
  template <bool isLimited>
  SizeType vectors(const float32* input, float32* output, SizeType count) const {
    SizeType done = 0;
#ifdef TAVI_WIDE_VECTORS
    using Lines = Impl::VectorLanes<float64>;
    using Lanes = Impl::VectorLanes<float32>;
    namespace hn = hwy::HWY_NAMESPACE;
    const Lanes::Tag whole;
    const Stretch<float32, float32> stretch = rule.rule;
    const auto set = [](float64 value) { return Lanes::set(static_cast<float32>(value)); };
    const auto first = set(stretch.originalMinimum), last = set(stretch.originalMaximum);
    const auto below = set(stretch.resultMinimum), above = set(stretch.resultMaximum);
    const auto low = Lanes::set(std::numeric_limits<float32>::lowest());
    const auto high = Lanes::set(std::numeric_limits<float32>::max());
    const auto line = [&](const float32* from) { return Lines::single(stretch.line(Lines(), Lines::load(from))); };
    const SizeType vectors = count - count % Lanes::count();
    for (; done < vectors; done += Lanes::count()) {
      const auto x = Lanes::load(input + done);
      auto v = hn::Combine(whole, line(input + done + Lines::count()), line(input + done));
      if constexpr (isLimited) {
        v = Lanes::ifLess(high, v, high, v);
        v = Lanes::ifLess(v, low, low, v);
      }
      v = Lanes::ifLessOrEqual(last, x, above, v);
      hn::StoreU(Lanes::ifLessOrEqual(x, first, below, v), whole, output + done);
    }
#else
    static_cast<void>(input), static_cast<void>(output), static_cast<void>(count);
#endif
    return done;
  }
};

/// The fastest of the rules that give the same voxels.
template <class In, class Out>
struct Fastest {
  static constexpr bool hasWindow =
      std::is_integral_v<Out> && sizeof(Out) <= 2 && (std::is_floating_point_v<In> || sizeof(In) <= 2);
  using Line = Stretch<In, Out>;
  using type = std::conditional_t<hasWindow, Impl::WindowRule<In, Out, Line>, Impl::LanewiseRule<In, Out, Line>>;
};
template <>
struct Fastest<float32, float32> {
  using type = SingleStretch;
};

}  // namespace NORV::TaviOperators::AdjustLinear
