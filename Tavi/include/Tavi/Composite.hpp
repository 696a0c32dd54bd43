#pragma once

#include <Tavi/ClassFactory.hpp>
#include <Tavi/IComposite.hpp>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace NORV::Tavi::Persistence {

/// A node that holds values under keys, in the order in which the keys came in.
template <class Derived>
class TAVI_EXPORT Composite : public IComposite, private Factory::StaticFactorySubscriber<Derived> {
public:
  void setValue(const std::string& key, SmartPointer<IComposite> value) override {
    for (auto& [name, stored] : _values) {
      if (name == key) {
        stored = value;
        return;
      }
    }
    _values.emplace_back(key, value);
  }

  /// Throws `std::invalid_argument` for an unknown key.
  SmartPointer<IComposite> getValue(const std::string& key) const override {
    for (const auto& [name, stored] : _values) {
      if (name == key) {
        return stored;
      }
    }
    throwWrongKey(key);
  }

  /// Throws `std::out_of_range` for an index past the end.
  std::string getKey(SizeType index) const override { return _values.at(index).first; }
  SizeType getNumberOfKeys() const override { return _values.size(); }

protected:
  [[noreturn]] void throwWrongKey(const std::string& key) const {
    throw std::invalid_argument("NORV::Tavi::Persistence::Composite< " + this->getType() + " >::operator[ " + key +
                                " ] Wrong key!");
  }

private:
  std::vector<std::pair<std::string, SmartPointer<IComposite>>> _values;
};

}  // namespace NORV::Tavi::Persistence
