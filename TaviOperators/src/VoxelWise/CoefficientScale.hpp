#pragma once

#include <Vectors/Lanes.hpp>
#include <VoxelWise/WindowRule.hpp>

#include <cmath>
#include <limits>

/// The rule of ConversionFromAttenuationCoefficient.
namespace NORV::TaviOperators::ConversionFromAttenuationCoefficient {

template <class In, class Out>
struct Scale {
  using Real = float64;
  static constexpr bool meetsEnds = true;
  Real minimumCoefficient, maximumCoefficient, minimumScaled, maximumScaled, factor, offset, ofNaN;

  Scale(Real coefficientLow, Real coefficientHigh, Real scaledLow, Real scaledHigh)
      : minimumCoefficient(coefficientLow),
        maximumCoefficient(coefficientHigh),
        minimumScaled(scaledLow),
        maximumScaled(scaledHigh),
        factor((scaledHigh - scaledLow) / (coefficientHigh - coefficientLow)),
        offset(scaledLow / factor - coefficientLow),
        ofNaN(scaledLow) {}

  template <class L>
  typename L::V between(L, typename L::V x) const {
    return L::add(L::mul(L::add(x, L::set(offset)), L::set(factor)), L::set(0.5));
  }

  template <class L>
  typename L::V map(L lanes, typename L::V x) const {
    const auto low = L::set(minimumScaled), zero = L::set(0.0), most = L::set(std::numeric_limits<Out>::max());
    auto v = L::floor(between(lanes, x));
    v = L::ifLessOrEqual(v, v, v, low);  // a NaN is not equal to itself
    v = L::ifLess(v, zero, zero, L::ifLess(most, v, most, v));
    v = L::ifLess(L::set(maximumCoefficient), x, L::set(maximumScaled), v);
    return L::ifLess(x, L::set(minimumCoefficient), low, v);
  }

  /// Between two scaled values that it meets, the line keeps to the output's voxel type and is a number.
  Impl::ValueWindow<In, Out> window() const {
    const Impl::OneLane<Real> lane;
    const bool meets = minimumCoefficient <= maximumCoefficient &&
                       std::floor(between(lane, minimumCoefficient)) == minimumScaled &&
                       std::floor(between(lane, maximumCoefficient)) == maximumScaled;
    return {meets, static_cast<In>(minimumCoefficient), static_cast<In>(maximumCoefficient),
            static_cast<Out>(minimumScaled), static_cast<Out>(maximumScaled)};
  }
};

}  // namespace NORV::TaviOperators::ConversionFromAttenuationCoefficient
