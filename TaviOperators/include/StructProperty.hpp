#pragma once

#include <Tavi/Property.hpp>

#include <string>

namespace NORV::TaviOperators {

/// One typed entry of an `IStruct`: numbers, flags and texts pass as a `Data<V>`, triples and regions as nodes of their
/// own.
template <class V>
class StructProperty final : public Tavi::Persistence::Impl::KindOfProperty<V> {
public:
  StructProperty() : Tavi::Persistence::Impl::KindOfProperty<V>(&identifyOwner) {}
  explicit StructProperty(const V& value) : StructProperty() { this->_value = value; }
  using Tavi::Persistence::Impl::KindOfProperty<V>::operator=;

private:
  static std::string identifyOwner() { return "NORV::TaviOperators::IStruct"; }
};

}  // namespace NORV::TaviOperators
