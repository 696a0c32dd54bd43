#pragma once

#include <Tavi/CheckedCast.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/ReadData.hpp>

#include <array>
#include <string>

namespace NORV::Tavi {

/// Three numbers along the axes of a volume: prim (fastest in memory), sec, tert (slowest).
template <class T>
class TAVI_EXPORT Triple {
public:
  using Component = T;

  Triple() = default;
  Triple(T p, T s, T t) : prim(p), sec(s), tert(t) {}
  Triple(const Triple&) = default;
  Triple& operator=(const Triple&) = default;
  virtual ~Triple() = default;

  friend bool operator==(const Triple& a, const Triple& b) {
    return a.prim == b.prim && a.sec == b.sec && a.tert == b.tert;
  }

  T prim{}, sec{}, tert{};
};

namespace Impl {

inline constexpr std::array tripleKeys{"prim", "sec", "tert"};

inline std::string tripleKey(SizeType index, const Exceptions::Origin& origin) {
  if (index >= tripleKeys.size()) {
    throw Exceptions::IndexOutOfRange(origin, index, 0, tripleKeys.size() - 1);
  }
  return tripleKeys[index];
}

inline std::size_t findTripleKey(const std::string& key, const Exceptions::Origin& origin) {
  for (std::size_t i = 0; i < tripleKeys.size(); ++i) {
    if (key == tripleKeys[i]) {
      return i;
    }
  }
  throw Exceptions::InvalidArg(origin);
}

/// A triple as a node with the keys "prim", "sec" and "tert", each a `Data` of the component type.
template <class Derived, class Value>
class TAVI_EXPORT TripleNode : public Persistence::IComposite, private Factory::StaticFactorySubscriber<Derived> {
  using T = typename Value::Component;

public:
  using Plain = Value;

  TripleNode() = default;
  explicit TripleNode(const Value& value) : _components{value.prim, value.sec, value.tert} {}

  /// The plain value, checked as its class does.
  Value value() const { return Value(_components[0], _components[1], _components[2]); }

  void setValue(const std::string& key, SmartPointer<Persistence::IComposite> value) override {
    T& component = _components[findTripleKey(key, "NORV::Tavi::Triple::setValue")];
    component = Persistence::Impl::readData<T>(value);
  }
  SmartPointer<Persistence::IComposite> getValue(const std::string& key) const override {
    return SmartPointer<Persistence::IComposite>(
        new Persistence::Data<T>(_components[findTripleKey(key, "NORV::Tavi::Triple::getValue")]));
  }
  std::string getKey(SizeType index) const override { return tripleKey(index, "NORV::Tavi::Triple::getKey"); }
  SizeType getNumberOfKeys() const override { return tripleKeys.size(); }

private:
  std::array<T, 3> _components{};
};

}  // namespace Impl

template <class T>
class TAVI_EXPORT TripleComposite final : public Impl::TripleNode<TripleComposite<T>, Triple<T>> {
public:
  using Impl::TripleNode<TripleComposite<T>, Triple<T>>::TripleNode;
  std::string getType() const override { return std::string("NORV::Tavi::TripleComposite< ") + typeName<T> + " >"; }
};

}  // namespace NORV::Tavi
