#pragma once

#include <Tavi/ClassFactory.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/PlainException.hpp>

#include <string>

namespace NORV::Tavi::Persistence {

/// A node without keys.
class TAVI_EXPORT KeylessNode : public IComposite {
public:
  void setValue(const std::string&, SmartPointer<IComposite>) override {
    throw PlainException(
        "NORV::Tavi::Persistence::CompositeLeaf::setValue( const std::string&, NORV::Tavi::SmartPointer< IComposite > "
        "): A leaf has got no keys and no values!");
  }
  SmartPointer<IComposite> getValue(const std::string&) const override {
    throw PlainException(
        "NORV::Tavi::Persistence::CompositeLeaf::getValue( const std::string&): A leaf has got no keys and no values!");
  }
  std::string getKey(SizeType) const override {
    throw PlainException(
        "NORV::Tavi::Persistence::CompositeLeaf::getKey( NORV::Tavi::SizeType ): A leaf has got no keys and no "
        "values!");
  }
  SizeType getNumberOfKeys() const override { return 0; }
};

/// A node without keys that can be made by name: it registers `Derived` in the class factory.
template <class Derived>
class TAVI_EXPORT CompositeLeaf : public KeylessNode, private Factory::StaticFactorySubscriber<Derived> {};

}  // namespace NORV::Tavi::Persistence
