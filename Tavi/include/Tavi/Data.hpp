#pragma once

#include <Tavi/CompositeLeaf.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>

#include <cmath>
#include <complex>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace NORV::Tavi::Persistence {

/// A value of some type, which passes to a value of the same type as text.
class TAVI_EXPORT IData {
public:
  virtual ~IData() = default;
  /// Throws InvalidArg and keeps the old value where the text is none of the type.
  virtual void fromString(const std::string& text) = 0;
  virtual std::string toString() const = 0;
};

namespace Impl {

// 8-bit integers stand as numbers: as characters, the white space among them would get lost.
template <class T>
using Printed = std::conditional_t<isInteger<T> && sizeof(T) == 1, int, T>;

template <class T>
std::string toText(const T& value) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream.precision(20);
  stream << static_cast<Printed<T>>(value);
  return stream.str();
}
template <class T>
std::string toText(const std::complex<T>& value) {
  return "(" + toText(value.real()) + "," + toText(value.imag()) + ")";
}
inline std::string toText(const std::string& value) { return value; }

template <class T>
bool fromText(const std::string& text, T& value) {
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  if constexpr (std::is_floating_point_v<T>) {
    // What a stream writes for these it does not read.
    const std::string magnitude = text.substr(text.find_first_of("+-") == 0 ? 1 : 0);
    if (magnitude == "nan" || magnitude == "inf") {
      const T special = magnitude == "nan" ? std::numeric_limits<T>::quiet_NaN() : std::numeric_limits<T>::infinity();
      value = std::copysign(special, text.front() == '-' ? T(-1) : T(1));
      return true;
    }
    T read{};
    stream >> read;
    // A stream refuses numbers below the normal range, though it has read them.
    if (stream.fail() && !(std::fpclassify(read) == FP_SUBNORMAL)) {
      return false;
    }
    value = read;
  } else {
    Printed<T> read{};
    stream >> read;
    if (stream.fail()) {
      return false;
    }
    if constexpr (!std::is_same_v<Printed<T>, T>) {
      if (!std::in_range<T>(read)) {
        return false;
      }
    }
    value = static_cast<T>(read);
  }
  return true;
}
template <class T>
bool fromText(const std::string& text, std::complex<T>& value) {
  const auto comma = text.find(',');
  if (text.size() < 5 || text.front() != '(' || text.back() != ')' || comma == std::string::npos) {
    return false;
  }
  T real{}, imaginary{};
  if (!fromText(text.substr(1, comma - 1), real) ||
      !fromText(text.substr(comma + 1, text.size() - comma - 2), imaginary)) {
    return false;
  }
  value = std::complex<T>(real, imaginary);
  return true;
}
inline bool fromText(const std::string& text, std::string& value) {
  value = text;
  return true;
}

}  // namespace Impl

/// One value as a node of the composite tree.
template <class T>
class TAVI_EXPORT Data : public CompositeLeaf<Data<T>>, public IData {
public:
  using CompositeLeaf<Data<T>>::getValue;
  using CompositeLeaf<Data<T>>::setValue;

  Data() : _value() {}
  explicit Data(const T& value) : _value(value) {}

  void fromString(const std::string& text) override {
    if (!Impl::fromText(text, _value)) {
      throw Exceptions::InvalidArg("NORV::Tavi::Persistence::Data::fromString", "'%s' is no value of the type '%s'!",
                                   text.c_str(), typeName<T>);
    }
  }
  /// Shows numbers with 20 digits, so that none is changed on its way through text.
  std::string toString() const override { return Impl::toText(_value); }

  virtual T getValue() const { return _value; }
  virtual Data& operator=(const T& value) {
    setValue(value);
    return *this;
  }
  virtual void setValue(const T& value) { _value = value; }

  std::string getType() const override { return std::string("NORV::Tavi::Persistence::Data< ") + typeName<T> + " >"; }

private:
  T _value;
};

template <class T>
class TAVI_EXPORT DataPtr : public SmartPointer<Data<T>> {
public:
  using SmartPointer<Data<T>>::SmartPointer;
  DataPtr() = default;
  DataPtr(const SmartPointer<Data<T>>& other) : SmartPointer<Data<T>>(other) {}
};

}  // namespace NORV::Tavi::Persistence
