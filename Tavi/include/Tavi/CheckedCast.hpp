#pragma once

#include <Tavi/Types.hpp>

#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace NORV::Tavi {

namespace Impl {

template <class T>
std::string describeNumberType() {
  const char* kind = std::is_floating_point_v<T> ? "floating point"
                     : std::is_signed_v<T>       ? "signed integer"
                                                 : "unsigned integer";
  const int bits =
      std::is_same_v<T, bool> ? 1 : std::numeric_limits<unsigned char>::digits * static_cast<int>(sizeof(T));
  return std::to_string(bits) + " bit " + kind;
}

template <class To, class From>
bool fits(From value) {
  if constexpr (std::is_same_v<To, bool>) {
    return value == From(0) || value == From(1);
  } else if constexpr (std::is_floating_point_v<To>) {
    // Two to the power of the digits is the first integer whose successor is lost; trailing zeros extend that.
    const To converted = static_cast<To>(value);
    if (converted >= static_cast<To>(std::numeric_limits<From>::max())) {
      return std::numeric_limits<From>::digits <= std::numeric_limits<To>::digits;
    }
    return static_cast<From>(converted) == value;
  } else {
    return std::in_range<To>(value);
  }
}

}  // namespace Impl

/// An integer as another arithmetic type, or `std::overflow_error` where the value does not survive.
template <class To, class From>
To checkedCast(From value) {
  static_assert(isInteger<From>);
  if (!Impl::fits<To>(value)) {
    throw std::overflow_error("Couldn't cast " + std::to_string(value) + " (" + Impl::describeNumberType<From>() +
                              ") to " + Impl::describeNumberType<To>() + " without loss of data!");
  }
  return static_cast<To>(value);
}

}  // namespace NORV::Tavi
