#pragma once

#include <Tavi/Composite.hpp>
#include <Tavi/KeyInfo.hpp>
#include <Tavi/Property.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace NORV::Tavi::Persistence {

/// Base of every parameter object: typed members that are also reachable by key. "input..." keys are read by an
/// operator, "output..." keys written, "modify..." keys changed in place.
template <class Derived>
class TAVI_EXPORT CompositeOfProperties : public Composite<Derived>, public IDescribed {
public:
  using PropertyBase = Persistence::PropertyBase;

  template <class T>
  class Property : public Impl::KindOfProperty<T> {
  public:
    Property() : Impl::KindOfProperty<T>(&identifyOwner) {}
    using Impl::KindOfProperty<T>::operator=;
  };
  template <class T>
  using PropertyData = Property<T>;

  CompositeOfProperties() = default;
  CompositeOfProperties(const CompositeOfProperties&) = delete;  // the table below points to members
  CompositeOfProperties& operator=(const CompositeOfProperties&) = delete;

  void setValue(const std::string& key, SmartPointer<IComposite> value) override { find(key).set(value); }
  SmartPointer<IComposite> getValue(const std::string& key) const override { return find(key).get(); }
  /// Throws `std::out_of_range` for an index past the end.
  std::string getKey(SizeType index) const override { return _descriptions.at(index).key; }
  SizeType getNumberOfKeys() const override { return _descriptions.size(); }

  const std::vector<KeyDescription>& describe() const override { return _descriptions; }

  /// Makes `property` reachable under `name`, which must begin with "input", "output" or "modify". A name that exists
  /// keeps its place and gets the new property.
  void append(std::string name, PropertyBase& property, const KeyInfo& info = {}) {
    if (name.empty()) {
      throw std::invalid_argument(
          "NORV::Tavi::Persistence::CompositeOfProperties::append The name of an Property has to have at least one "
          "character");
    }
    if (!name.starts_with("input") && !name.starts_with("output") && !name.starts_with("modify")) {
      throw std::invalid_argument(
          "NORV::Tavi::Persistence::CompositeOfProperties::append The name of an Property must start with input, "
          "output or modify");
    }
    property.setOwner(this);
    for (std::size_t i = 0; i < _descriptions.size(); ++i) {
      if (_descriptions[i].key == name) {
        _properties[i] = &property;
        _descriptions[i].info = info;
        return;
      }
    }
    _properties.push_back(&property);
    _descriptions.push_back({std::move(name), info});
  }

private:
  /// Empty while a constructor that uses a property too early is itself what is asked for the name.
  static std::string identifyOwner() {
    thread_local bool asked = false;
    if (asked) {
      return {};
    }
    const struct Asking {
      Asking() { asked = true; }
      ~Asking() { asked = false; }
    } asking;
    return Derived().getType();
  }

  PropertyBase& find(const std::string& key) const {
    for (std::size_t i = 0; i < _descriptions.size(); ++i) {
      if (_descriptions[i].key == key) {
        return *_properties[i];
      }
    }
    this->throwWrongKey(key);
  }

  std::vector<PropertyBase*> _properties;  // beside _descriptions, at the same indices
  std::vector<KeyDescription> _descriptions;
};

}  // namespace NORV::Tavi::Persistence
