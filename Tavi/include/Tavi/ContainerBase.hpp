#pragma once

#include <Tavi/ClassFactory.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/SmartPointer.hpp>

#include <iterator>
#include <sstream>
#include <string>

namespace NORV::Tavi {

class IVolume;
class RoiComposite;

namespace Container {

/// The text by which an element type stands in the identifier of a container: `text`, or what `compose()` returns.
template <class T>
struct ElementName;
template <>
struct ElementName<SmartPointer<IVolume>> {
  static constexpr const char* text = "NORV::Tavi::SmartPointer< NORV::Tavi::IVolume >";
};
template <>
struct ElementName<SmartPointer<RoiComposite>> {
  static constexpr const char* text = "NORV::Tavi::SmartPointer< NORV::Tavi::RoiComposite >";
};
template <>
struct ElementName<SmartPointer<Persistence::IComposite>> {
  static constexpr const char* text = "NORV::Tavi::SmartPointer< NORV::Tavi::Persistence::IComposite >";
};

template <class T>
std::string elementName() {
  if constexpr (requires { ElementName<T>::compose(); }) {
    return ElementName<T>::compose();
  } else {
    return ElementName<T>::text;
  }
}

/// A standard sequence of composites that is itself a node: its keys are the decimal texts of the indices. Its
/// failures name the container by `Words`.
template <class Derived, class Sequence, class Words>
class TAVI_EXPORT ContainerBase : public Sequence,
                                  public Persistence::IComposite,
                                  private Factory::StaticFactorySubscriber<Derived> {
  using Element = typename Sequence::value_type;

public:
  using Sequence::Sequence;

  /// Replaces an element, never adds one. A value of another class stores an empty pointer.
  void setValue(const std::string& key, SmartPointer<Persistence::IComposite> value) override {
    *std::next(this->begin(), position(key, Words::inSetValue)) = Element(value);
  }
  SmartPointer<Persistence::IComposite> getValue(const std::string& key) const override {
    return *std::next(this->begin(), position(key, Words::inGetValue));
  }
  std::string getKey(SizeType index) const override {
    if (index >= this->size()) {
      // The vector reports under the list's name, too.
      throw Exceptions::IndexOutOfRange("NORV::Tavi::Container::List::getKey", index, 0, this->size() - SizeType{1});
    }
    return std::to_string(index);
  }
  SizeType getNumberOfKeys() const override { return this->size(); }
  std::string getType() const override { return std::string(Words::name) + "< " + elementName<Element>() + " >"; }

private:
  std::ptrdiff_t position(const std::string& key, const Exceptions::Origin& origin) const {
    std::istringstream stream(key);
    SizeType index = 0;
    if (!(stream >> index) || key.find('-') != std::string::npos) {
      index = this->size();  // no number is no index
    }
    if (index >= this->size()) {
      throw Exceptions::IndexOutOfRange(origin, index, 0, this->size() - SizeType{1});
    }
    return static_cast<std::ptrdiff_t>(index);
  }
};

}  // namespace Container
}  // namespace NORV::Tavi
