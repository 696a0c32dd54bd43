#pragma once

#include <complex>
#include <cstdint>
#include <string>
#include <type_traits>

namespace NORV {

using int8 = std::int8_t;
using int16 = std::int16_t;
using int32 = std::int32_t;
using int64 = std::int64_t;
using uint8 = std::uint8_t;
using uint16 = std::uint16_t;
using uint32 = std::uint32_t;
using uint64 = std::uint64_t;
using float32 = float;
using float64 = double;

namespace Tavi {

/// Counts and extents: unsigned, 64 bits.
using SizeType = uint64;

/// The text by which a value type is known in identifiers, messages and files, such as "NORV::uint8".
template <class T>
struct TypeName;

#define TAVI_TYPE_NAME(type)                                               \
  template <>                                                              \
  struct TypeName<type> {                                                  \
    static constexpr const char* text = "NORV::" #type;                    \
  };                                                                       \
  template <>                                                              \
  struct TypeName<std::complex<type>> {                                    \
    static constexpr const char* text = "std::complex< NORV::" #type " >"; \
  }
TAVI_TYPE_NAME(int8);
TAVI_TYPE_NAME(int16);
TAVI_TYPE_NAME(int32);
TAVI_TYPE_NAME(int64);
TAVI_TYPE_NAME(uint8);
TAVI_TYPE_NAME(uint16);
TAVI_TYPE_NAME(uint32);
TAVI_TYPE_NAME(uint64);
TAVI_TYPE_NAME(float32);
TAVI_TYPE_NAME(float64);
#undef TAVI_TYPE_NAME

template <>
struct TypeName<std::string> {
  static constexpr const char* text = "std::string";
};

template <>
struct TypeName<bool> {
  static constexpr const char* text = "bool";
};

template <class T>
inline constexpr const char* typeName = TypeName<T>::text;

/// An arithmetic type that counts: any integer but bool.
template <class T>
inline constexpr bool isInteger = std::is_integral_v<T> && !std::is_same_v<T, bool>;

}  // namespace Tavi
}  // namespace NORV
