#pragma once

#include <Tavi/CheckedCast.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/SmartPointer.hpp>

#include <string>
#include <type_traits>

namespace NORV::Tavi::Persistence::Impl {

/// Tries `Data` of each listed integer type in turn.
template <class T, class... Integers>
bool readInteger(const IComposite& composite, T& value) {
  const auto tryOne = [&]<class Integer>(Integer) {
    const auto* data = dynamic_cast<const Data<Integer>*>(&composite);
    if (data != nullptr) {
      value = checkedCast<T>(data->getValue());
    }
    return data != nullptr;
  };
  return (tryOne(Integers{}) || ...);
}

/// The value of a `Data<T>`; for an arithmetic T also of a `Data` of any integer type whose value fits, otherwise
/// `std::overflow_error`. Anything else throws BadCast.
template <class T>
T readData(const SmartPointer<IComposite>& composite) {
  if (composite != nullptr) {
    if (const auto* data = dynamic_cast<const Data<T>*>(composite.get())) {
      return data->getValue();
    }
    if constexpr (std::is_arithmetic_v<T>) {
      T value{};
      if (readInteger<T, int8, uint8, int16, uint16, int32, uint32, int64, uint64>(*composite, value)) {
        return value;
      }
    }
  }
  throw Exceptions::BadCast("NORV::Tavi::Persistence::CompositeOfProperties::PropertyData::set",
                            composite != nullptr ? composite->getType() : std::string(), Data<T>().getType());
}

}  // namespace NORV::Tavi::Persistence::Impl
