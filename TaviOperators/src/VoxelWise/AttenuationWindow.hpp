#pragma once

#include <Vectors/Lanes.hpp>
#include <VoxelWise/WindowRule.hpp>

#include <cmath>
#include <limits>
#include <type_traits>

/// The rules of AttenuationScaling.
namespace NORV::TaviOperators::AttenuationScaling {

template <class In, class Out>
struct Window {
  using Real = std::conditional_t<std::is_same_v<Out, float64>, float64, float32>;
  static constexpr bool meetsEnds = false;
  Impl::Divisor<Real> factor;
  Real offset, minimumAttenuation, maximumAttenuation, minimumGrey, maximumGrey;
  Impl::Divisor<Real> scale{(maximumAttenuation - minimumAttenuation) / (maximumGrey - minimumGrey)};

  bool dividesModerately() const {
    using Divisor = Impl::Divisor<Real>;
    return factor.isModerate() && scale.isModerate() && Divisor::isModerateOrZero(offset) &&
           Divisor::isModerateOrZero(minimumAttenuation);
  }

  template <class L>
  typename L::V attenuation(L, typename L::V x) const {
    return L::sub(L::div(x, factor), L::set(offset));
  }
  /// The grey value inside the window before it is rounded down.
  template <class L>
  typename L::V grey(L, typename L::V a) const {
    const auto v = L::sub(L::div(L::sub(a, L::set(minimumAttenuation)), scale), L::set(minimumGrey));
    return L::add(v, L::set(Real(0.5)));
  }

  template <class L>
  typename L::V map(L lanes, typename L::V x) const {
    const auto a = attenuation(lanes, x);
    auto v = lowBits(lanes, L::floor(grey(lanes, a)));
    v = L::ifLessOrEqual(L::set(maximumAttenuation), a, L::set(maximumGrey), v);
    return L::ifLess(a, L::set(minimumAttenuation), L::set(minimumGrey), v);
  }

  template <class L>
  typename L::V between(L lanes, typename L::V x) const {
    return grey(lanes, attenuation(lanes, x));
  }

  /// With a factor above 0 the attenuation grows with the voxels, and the grey value with the attenuation.
  Impl::ValueWindow<In, Out> window() const {
    if (!dividesModerately()) {
      return {};
    }
    const Impl::OneLane<Real> lane;
    const auto darker = firstWhere([&](Real x) { return !(attenuation(lane, x) < minimumAttenuation); });
    const auto lighter = firstWhere([&](Real x) { return maximumAttenuation <= attenuation(lane, x); });
    if (darker >= lighter) {
      return {};
    }
    const auto first = static_cast<In>(darker), last = static_cast<In>(lighter - 1);
    constexpr Real limit = 4194304;
    const bool isExact = std::abs(between(lane, first)) < limit && std::abs(between(lane, last)) < limit;
    return {isExact, first, last, static_cast<Out>(minimumGrey), static_cast<Out>(maximumGrey)};
  }

  /// A whole number as the low bits of it that the output keeps. All steps are exact.
  template <class L>
  static typename L::V lowBits(L, typename L::V v) {
    if constexpr (std::is_floating_point_v<Out>) {
      return v;
    } else {
      constexpr Real values = sizeof(Out) == 1 ? Real(256) : sizeof(Out) == 2 ? Real(65536) : Real(4294967296);
      constexpr Real unknown = sizeof(Out) < 4 ? Real(2147483648) : Real(9223372036854775808u);
      const auto wraps = L::floor(L::mul(v, L::set(1 / values)));
      auto bits = L::sub(v, L::mul(wraps, L::set(values)));
      if constexpr (sizeof(Out) == 4) {  // small ones would lose digits in the sum with 2^32
        bits = L::ifLess(L::abs(v), L::set(Real(2147483648)), v, bits);
      }
      return L::ifLess(L::abs(v), L::set(unknown), bits, L::set(0));
    }
  }

private:
  /// The lowest voxel for which the condition holds, one past the type's range if there is none.
  template <class Condition>
  static int firstWhere(const Condition& holds) {
    int from = 0, to = std::numeric_limits<In>::max() + 1;
    while (from < to) {
      const int middle = (from + to) / 2;
      if (holds(static_cast<Real>(middle))) {
        to = middle;
      } else {
        from = middle + 1;
      }
    }
    return from;
  }
};

/// The rule for limits of uint32 that float32 does not hold: a voxel outside the window takes the limit itself.
template <class In>
struct ExactLimits {
  Window<In, uint32> window;
  uint32 minimumGrey, maximumGrey;

  /// Whether the arithmetic of the window has both limits exactly.
  static bool areRepresentable(uint32 minimum, uint32 maximum) {
    const auto isExact = [](uint32 grey) { return static_cast<float64>(static_cast<float32>(grey)) == grey; };
    return isExact(minimum) && isExact(maximum);
  }

  uint32 operator()(In x) const {
    const Impl::OneLane<float32> lane;
    const float32 a = window.attenuation(lane, static_cast<float32>(x));
    if (a < window.minimumAttenuation) {
      return minimumGrey;
    }
    if (window.maximumAttenuation <= a) {
      return maximumGrey;
    }
    return static_cast<uint32>(static_cast<int64>(window.lowBits(lane, std::floor(window.grey(lane, a)))));
  }
};

/// Which rule is the fastest for a pair.
template <class In, class Out>
using WindowRule =
    std::conditional_t<std::is_integral_v<Out> && sizeof(Out) <= 2, Impl::WindowRule<In, Out, Window<In, Out>>,
                       Impl::LanewiseRule<In, Out, Window<In, Out>>>;

}  // namespace NORV::TaviOperators::AttenuationScaling
