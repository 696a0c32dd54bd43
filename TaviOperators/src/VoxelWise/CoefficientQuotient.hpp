#pragma once

#include <Vectors/Lanes.hpp>

/// The rule of ConversionToAttenuationCoefficient.
namespace NORV::TaviOperators::ConversionToAttenuationCoefficient {

template <class Coefficient>
struct Unscale {
  using Real = Coefficient;
  Impl::Divisor<Real> factor;
  Real offset;

  bool dividesModerately() const { return factor.isModerate(); }

  template <class L>
  typename L::V map(L, typename L::V x) const {
    return L::sub(L::div(x, factor), L::set(offset));
  }
};

}  // namespace NORV::TaviOperators::ConversionToAttenuationCoefficient
