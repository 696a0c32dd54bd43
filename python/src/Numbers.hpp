#pragma once

#include <Tavi/Data.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/Types.hpp>

namespace NORV::TaviPython {

/// Calls `use` with the value of a `Data` of arithmetic type; returns whether it is one.
template <class Use>
bool withNumber(const Tavi::Persistence::IComposite& value, const Use& use) {
  const auto tryOne = [&]<class T>(T) {
    const auto* data = dynamic_cast<const Tavi::Persistence::Data<T>*>(&value);
    if (data != nullptr) {
      use(data->getValue());
    }
    return data != nullptr;
  };
  const auto tryEach = [&]<class... T>(T... types) { return (tryOne(types) || ...); };
  return tryEach(uint64(), float64(), uint8(), uint16(), uint32(), float32(), int8(), int16(), int32(), int64(),
                 bool());
}

/// Calls `use` with a value of the arithmetic type of that name; returns whether there is one.
template <class Use>
bool withNumberType(const std::string& name, const Use& use) {
  const auto tryOne = [&]<class T>(T sample) {
    const bool isType = name == Tavi::typeName<T>;
    if (isType) {
      use(sample);
    }
    return isType;
  };
  const auto tryEach = [&]<class... T>(T... types) { return (tryOne(types) || ...); };
  return tryEach(uint8(), uint16(), float32(), uint64(), int32(), uint32(), float64(), int8(), int16(), int64());
}

}  // namespace NORV::TaviPython
