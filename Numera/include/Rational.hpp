#pragma once

#include <Impl/Failures.hpp>

#include <limits>
#include <type_traits>

namespace NORV::Numera {

/// An exact fraction of two signed integers of the type `T`, in lowest terms with a denominator above 0.
///
/// A fraction with the smallest value of `T` in it has no such form, since that number has no negative: it is held as
/// the invalid fraction, with the smallest value as numerator and denominator.
template <class T>
class Rational {
  static_assert(std::is_integral_v<T> && std::is_signed_v<T>);

public:
  /// 0/1.
  constexpr Rational() = default;

  /// Throws `Exceptions::InvalidArg` for a denominator of 0.
  constexpr Rational(T numerator, T denominator) {
    if (denominator == 0) {
      Impl::throwInvalid<T>("Rational constructor", "The denominator can't be zero!");
    }
    if (numerator == smallest || denominator == smallest) {
      _numerator = _denominator = smallest;
      return;
    }
    if (denominator < 0) {
      numerator = static_cast<T>(-numerator);
      denominator = static_cast<T>(-denominator);
    }
    const T divisor = greatestCommonDivisor(magnitude(numerator), denominator);
    _numerator = static_cast<T>(numerator / divisor);
    _denominator = static_cast<T>(denominator / divisor);
  }

  constexpr T getNumerator() const { return _numerator; }
  constexpr T getDenominator() const { return _denominator; }
  constexpr bool isValid() const { return _denominator != smallest; }

  /// Two invalid fractions are equal.
  friend constexpr bool operator==(const Rational& a, const Rational& b) = default;

private:
  static constexpr T smallest = std::numeric_limits<T>::min();

  static constexpr T magnitude(T value) { return value < 0 ? static_cast<T>(-value) : value; }
  static constexpr T greatestCommonDivisor(T a, T b) {
    while (a != 0) {
      const T rest = static_cast<T>(b % a);
      b = a;
      a = rest;
    }
    return b;
  }

  T _numerator = 0;
  T _denominator = 1;
};

}  // namespace NORV::Numera
