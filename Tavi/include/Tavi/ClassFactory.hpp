#pragma once

#include <Tavi/Export.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/SmartPointer.hpp>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace NORV::Tavi::Factory {

/// Makes objects by name. Filled while libraries load, only read afterwards; it has no lock.
template <class Identifier, class Product>
class TAVI_EXPORT ClassFactory {
public:
  class TAVI_EXPORT CreationMethod {
  public:
    virtual ~CreationMethod() = default;
    virtual SmartPointer<Product> create() const = 0;
  };

  /// Throws `std::invalid_argument` for a null method and for an identifier that is taken.
  void registerClass(const Identifier& identifier, SmartPointer<CreationMethod> method) {
    if (!registerIfAbsent(identifier, method)) {
      throw std::invalid_argument("NORV::Tavi::Factory::ClassFactory::register No duplicate identifieres allowed");
    }
  }

  /// As `registerClass`, but a taken identifier keeps its first method; returns whether the method was inserted. For
  /// static registrators: a host and the library both compile the classes of the core.
  bool registerIfAbsent(const Identifier& identifier, SmartPointer<CreationMethod> method) {
    if (method == nullptr) {
      throw std::invalid_argument("NORV::Tavi::Factory::ClassFactory::register creationMethod points to NULL");
    }
    return _methods.try_emplace(identifier, method).second;
  }

  bool isRegistered(const Identifier& identifier) const { return _methods.find(identifier) != _methods.end(); }

  /// Throws `std::invalid_argument` for an identifier that is not registered.
  SmartPointer<Product> createInstance(const Identifier& identifier) const {
    const auto found = _methods.find(identifier);
    if (found == _methods.end()) {
      throw std::invalid_argument(
          "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier " + identifier +
          " is registered");
    }
    return found->second->create();
  }

  /// All identifiers in ascending order.
  std::vector<Identifier> getIdentifiers() const {
    std::vector<Identifier> identifiers;
    identifiers.reserve(_methods.size());
    for (const auto& entry : _methods) {
      identifiers.push_back(entry.first);
    }
    return identifiers;
  }

private:
  std::map<Identifier, SmartPointer<CreationMethod>> _methods;
};

using CompositeFactory = ClassFactory<std::string, Persistence::IComposite>;

/// The one factory of the process, made at first use and never destroyed: static objects of hosts may use it to the
/// end. The symbol is exported also from executables, so that a library that is loaded at run time finds the factory of
/// its host.
TAVI_EXPORT inline CompositeFactory& getClassFactory() {
  static CompositeFactory* const factory = new CompositeFactory;
  return *factory;
}

/// Makes objects by a plain function.
class TAVI_EXPORT FunctionCreationMethod final : public CompositeFactory::CreationMethod {
public:
  using Function = Persistence::IComposite* (*)();
  explicit FunctionCreationMethod(Function function) : _function(function) {}
  SmartPointer<Persistence::IComposite> create() const override {
    return SmartPointer<Persistence::IComposite>(_function());
  }

private:
  Function _function;
};

namespace Impl {

inline void registerFunction(FunctionCreationMethod::Function function) {
  const SmartPointer<CompositeFactory::CreationMethod> method(new FunctionCreationMethod(function));
  getClassFactory().registerIfAbsent(method->create()->getType(), method);
}

}  // namespace Impl

/// Registers `Class` while its library loads, under the identifier that an instance of it reports.
template <class Class>
class FactoryRegistrator {
public:
  FactoryRegistrator() {
    Impl::registerFunction([]() -> Persistence::IComposite* { return new Class; });
  }
};

/// Base of every class that can be made by name: whoever can construct a `Derived` has it registered.
template <class Derived>
class StaticFactorySubscriber {
protected:
  StaticFactorySubscriber() { static_cast<void>(&registrator); }
  StaticFactorySubscriber(const StaticFactorySubscriber&) : StaticFactorySubscriber() {}
  StaticFactorySubscriber& operator=(const StaticFactorySubscriber&) = default;
  ~StaticFactorySubscriber() = default;

private:
  static const FactoryRegistrator<Derived> registrator;
};

// Not inline, so that a declared instance keeps other sources from running it, too.
template <class Derived>
const FactoryRegistrator<Derived> StaticFactorySubscriber<Derived>::registrator;

}  // namespace NORV::Tavi::Factory
