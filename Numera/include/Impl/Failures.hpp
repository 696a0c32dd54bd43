#pragma once

#include <cstddef>

namespace NORV::Exceptions {

class IndexOutOfRange;
class InvalidArg;

}  // namespace NORV::Exceptions

/// The failures of this library are those of the `Exceptions` family, which it only declares: it includes no other
/// library. A source that uses a function that may fail includes `<Tavi/Exceptions.hpp>`.
namespace NORV::Numera::Impl {

/// `Failure`, looked up where a template with the argument `T` is instantiated. It is complete there.
template <class T, class Failure>
struct CompleteAtUse {
  using type = Failure;
};

/// Throws the general failure of the family.
template <class T>
[[noreturn]] void throwInvalid(const char* function, const char* text) {
  throw typename CompleteAtUse<T, Exceptions::InvalidArg>::type(function, text);
}

template <class T>
[[noreturn]] void throwOutOfRange(const char* function, std::size_t index, std::size_t count) {
  throw typename CompleteAtUse<T, Exceptions::IndexOutOfRange>::type(function, index, 0u, count - 1);
}

}  // namespace NORV::Numera::Impl
