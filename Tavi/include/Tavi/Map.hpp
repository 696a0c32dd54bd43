#pragma once

#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/IComposite.hpp>

#include <iterator>
#include <map>
#include <stdexcept>
#include <string>

namespace NORV::Tavi::Container {

namespace ImplementationHelper {

/// Passes a mapped value as a composite and back.
template <class V>
struct MapDataWrapper {
  static SmartPointer<Persistence::IComposite> wrap(const V& value) {
    return SmartPointer<Persistence::IComposite>(new Persistence::Data<V>(value));
  }
  static V unwrap(const SmartPointer<Persistence::IComposite>& value) {
    const Persistence::DataPtr<V> data(value);
    if (data == nullptr) {
      throw Exceptions::InvalidArg("NORV::Tavi::Container::ImplementationHelper::MapDataWrapper::setValue",
                                   "value is not an valid DataPtr");
    }
    return data->getValue();
  }
};

}  // namespace ImplementationHelper

/// A `std::map` from text to plain values as a node of the tree; keys are sorted.
template <class K, class V>
class TAVI_EXPORT Map final : public std::map<K, V>,
                              public Persistence::IComposite,
                              private Factory::StaticFactorySubscriber<Map<K, V>> {
  static_assert(std::is_same_v<K, std::string>, "keys of the tree are texts");

public:
  using std::map<K, V>::map;

  /// Inserts or overwrites. A value that is no `Data<V>` throws InvalidArg and changes nothing.
  void setValue(const std::string& key, SmartPointer<Persistence::IComposite> value) override {
    this->insert_or_assign(key, ImplementationHelper::MapDataWrapper<V>::unwrap(value));
  }
  /// Throws InvalidArg for a key that is not there; nothing is inserted.
  SmartPointer<Persistence::IComposite> getValue(const std::string& key) const override {
    const auto found = this->find(key);
    if (found == this->end()) {
      throw Exceptions::InvalidArg("NORV::Tavi::Container::Map::getValue", "There is no key '%s'!", key.c_str());
    }
    return ImplementationHelper::MapDataWrapper<V>::wrap(found->second);
  }
  std::string getKey(SizeType index) const override {
    if (index >= this->size()) {
      // Named after its sibling; hosts know the text so.
      throw Exceptions::IndexOutOfRange("NORV::Tavi::Container::Map::setValue", index, 0, this->size() - SizeType{1});
    }
    return std::next(this->begin(), static_cast<std::ptrdiff_t>(index))->first;
  }
  SizeType getNumberOfKeys() const override { return this->size(); }
  std::string getType() const override {
    return std::string("NORV::Tavi::Container::Map< ") + typeName<K> + " , " + typeName<V> + " >";
  }
};

}  // namespace NORV::Tavi::Container
