#pragma once

#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/ReadData.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Triple.hpp>

#include <concepts>
#include <string>
#include <type_traits>

namespace NORV::Tavi::Persistence {

/// One typed value of a parameter object, reachable by key once it is appended.
class TAVI_EXPORT PropertyBase {
public:
  using Identify = std::string (*)();

  PropertyBase(const PropertyBase&) = delete;
  PropertyBase& operator=(const PropertyBase&) { return *this; }  // assigns values, never the owner
  virtual ~PropertyBase() = default;

  virtual SmartPointer<IComposite> get() const = 0;
  virtual void set(SmartPointer<IComposite> value) = 0;

  void setOwner(const IComposite* owner) { _owner = owner; }

  /// Throws InvalidState for a property that no parameter object has appended.
  void checkIfInitialized() const {
    if (_owner == nullptr) {
      throw Exceptions::InvalidState(
          "NORV::Tavi::Persistence::CompositeOfProperties::PropertyBase::checkIfInitialized",
          "You tried to use an Property without appending it to an CompositeOfProperties instance. This will never "
          "work. %s",
          _identifyOwner().c_str());
    }
  }

protected:
  explicit PropertyBase(Identify identifyOwner) : _identifyOwner(identifyOwner) {}

private:
  const IComposite* _owner = nullptr;
  Identify _identifyOwner;
};

namespace Impl {

/// The part that all kinds share: a stored value that typed code reads and assigns directly.
template <class T>
class ValueProperty : public PropertyBase {
public:
  const T& value() const {
    checkIfInitialized();
    return _value;
  }
  operator T() const { return value(); }
  ValueProperty& operator=(const ValueProperty& other) {
    *this = other.value();
    return *this;
  }
  ValueProperty& operator=(const T& value) {
    checkIfInitialized();
    _value = value;
    return *this;
  }

protected:
  using PropertyBase::PropertyBase;
  T _value{};
};

/// PropertyData: a plain value that passes as a `Data<T>`.
template <class T>
class KindOfProperty : public ValueProperty<T> {
public:
  using ValueProperty<T>::operator=;
  SmartPointer<IComposite> get() const override { return SmartPointer<IComposite>(new Data<T>(this->value())); }
  void set(SmartPointer<IComposite> value) override { *this = readData<T>(value); }

protected:
  using ValueProperty<T>::ValueProperty;
};

/// A shared object; a value of another class empties the property.
template <class P>
requires std::derived_from<P, SmartPointer<typename P::Pointee>>
class KindOfProperty<P> : public ValueProperty<P> {
public:
  using ValueProperty<P>::operator=;
  SmartPointer<IComposite> get() const override { return SmartPointer<IComposite>(this->value()); }
  void set(SmartPointer<IComposite> value) override { *this = P(value); }

protected:
  using ValueProperty<P>::ValueProperty;
};

/// A plain value that passes as a node of its own.
template <class Value, class Node>
class NodeProperty : public ValueProperty<Value> {
public:
  using ValueProperty<Value>::operator=;
  SmartPointer<IComposite> get() const override { return SmartPointer<IComposite>(new Node(this->value())); }
  void set(SmartPointer<IComposite> value) override {
    const SmartPointer<Node> node(value);
    if (node == nullptr) {
      throw Exceptions::BadCast("NORV::Tavi::Persistence::CompositeOfProperties::PropertyTripleComposite::set",
                                value != nullptr ? value->getType() : std::string(), Node().getType());
    }
    *this = node->value();
  }

protected:
  using ValueProperty<Value>::ValueProperty;
};

template <class T>
class KindOfProperty<Triple<T>> : public NodeProperty<Triple<T>, TripleComposite<T>> {
public:
  using NodeProperty<Triple<T>, TripleComposite<T>>::operator=;

protected:
  using NodeProperty<Triple<T>, TripleComposite<T>>::NodeProperty;
};
template <class T>
class KindOfProperty<Dimension<T>> : public NodeProperty<Dimension<T>, DimensionComposite<T>> {
public:
  using NodeProperty<Dimension<T>, DimensionComposite<T>>::operator=;

protected:
  using NodeProperty<Dimension<T>, DimensionComposite<T>>::NodeProperty;
};
template <class T>
class KindOfProperty<Position<T>> : public NodeProperty<Position<T>, PositionComposite<T>> {
public:
  using NodeProperty<Position<T>, PositionComposite<T>>::operator=;

protected:
  using NodeProperty<Position<T>, PositionComposite<T>>::NodeProperty;
};
template <>
class KindOfProperty<RegionOfInterest> : public NodeProperty<RegionOfInterest, RoiComposite> {
public:
  using NodeProperty<RegionOfInterest, RoiComposite>::operator=;

protected:
  using NodeProperty<RegionOfInterest, RoiComposite>::NodeProperty;
};

/// A value of any `Data<T>`. It is copied in through the class factory and text, so it is never shared with the host.
template <>
class KindOfProperty<IData> : public ValueProperty<SmartPointer<IData>> {
public:
  SmartPointer<IComposite> get() const override { return SmartPointer<IComposite>(value()); }
  void set(SmartPointer<IComposite> composite) override {
    checkIfInitialized();
    if (composite == nullptr) {
      _value = SmartPointer<IData>();
      return;
    }
    const auto* source = dynamic_cast<const IData*>(composite.get());
    if (source == nullptr) {
      throw Exceptions::BadCast(
          "NORV::Tavi::Persistence::CompositeOfProperties::Property< NORV::Tavi::Persistence::IData >::set",
          composite->getType(), "NORV::Tavi::Persistence::IData");
    }
    const std::string type = composite->getType();
    SmartPointer<IData> target = _value;
    const auto* stored = dynamic_cast<const IComposite*>(target.get());
    if (stored == nullptr || stored->getType() != type) {
      target = Factory::getClassFactory().createInstance(type);
    }
    target->fromString(source->toString());
    _value = target;
  }

  KindOfProperty& operator=(const SmartPointer<IComposite>& composite) {
    set(composite);
    return *this;
  }
  template <class T>
  KindOfProperty& operator=(const SmartPointer<T>& data) {
    set(data);
    return *this;
  }
  template <class T>
  requires requires { TypeName<T>::text; }
  void setValue(const T& value) { *this = SmartPointer<Data<T>>(new Data<T>(value)); }

  /// The stored value, which must be a `Data<T>`: NULLPointer if there is none, BadCast for one of another type.
  template <class T>
  T extractValue() const {
    static constexpr const char* origin =
        "NORV::Tavi::Persistence::CompositeOfProperties::Property< NORV::Tavi::Persistence::IData >::extractValue";
    checkIfInitialized();
    if (_value == nullptr) {
      throw Exceptions::NULLPointer(origin, "_value");
    }
    const auto* data = dynamic_cast<const Data<T>*>(_value.get());
    if (data == nullptr) {
      throw Exceptions::BadCast(origin, "", std::string("NORV::Tavi::Persistence::DataPtr< ") + typeName<T> + " >");
    }
    return data->getValue();
  }

protected:
  using ValueProperty<SmartPointer<IData>>::ValueProperty;
};

}  // namespace Impl
}  // namespace NORV::Tavi::Persistence
