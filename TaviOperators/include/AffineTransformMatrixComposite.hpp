#pragma once

#include <AffineTransformMatrix.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>

#include <string>
#include <utility>
#include <vector>

namespace NORV::TaviOperators {

/// A transform whose parameters are fields of the derived class, each a key of a `Data<T>`.
template <class T>
class TAVI_EXPORT AffineTransformMatrixComposite : public AffineTransformMatrix<T> {
  using IComposite = Tavi::Persistence::IComposite;

public:
  AffineTransformMatrixComposite() = default;
  AffineTransformMatrixComposite(const AffineTransformMatrixComposite&) = delete;  // the table points to members
  AffineTransformMatrixComposite& operator=(const AffineTransformMatrixComposite&) = delete;

  /// Throws InvalidArg for an unknown name, NULLPointer for an empty pointer, and InvalidArg for a value that is no
  /// `Data<T>`.
  void setValue(const std::string& name, Tavi::SmartPointer<IComposite> value) override {
    static constexpr const char* here = "AffineTransformMatrixComposite::setValue";
    T& field = find(name, here);
    if (value == nullptr) {
      throw Exceptions::NULLPointer(here, "value");
    }
    const Tavi::SmartPointer<Tavi::Persistence::Data<T>> data(value);
    if (data == nullptr) {
      throw Exceptions::InvalidArg(here, "composite has an invalid type!");
    }
    field = data->getValue();
  }
  /// A copy of the field as `Data<T>`; throws InvalidArg for an unknown name.
  Tavi::SmartPointer<IComposite> getValue(const std::string& name) const override {
    return Tavi::SmartPointer<IComposite>(
        new Tavi::Persistence::Data<T>(find(name, "AffineTransformMatrixComposite::getValue")));
  }
  /// The names in the order in which they were appended; throws IndexOutOfRange past the end.
  std::string getKey(Tavi::SizeType index) const override {
    if (index >= _fields.size()) {
      throw Exceptions::IndexOutOfRange("AffineTransformMatrixComposite::getKey", index, 0,
                                        _fields.size() - Tavi::SizeType{1});
    }
    return _fields[index].first;
  }
  Tavi::SizeType getNumberOfKeys() const override { return _fields.size(); }

  /// Makes a field of this object reachable under `name`; throws InvalidArg for a name that is taken.
  void append(const std::string& name, T& field) {
    for (const auto& taken : _fields) {
      if (taken.first == name) {
        throw Exceptions::InvalidArg("AffineTransformMatrixComposite::append", "Name '%s' was already used!",
                                     name.c_str());
      }
    }
    _fields.emplace_back(name, &field);
  }

private:
  T& find(const std::string& name, const Exceptions::Origin& origin) const {
    for (const auto& [taken, field] : _fields) {
      if (taken == name) {
        return *field;
      }
    }
    throw Exceptions::InvalidArg(origin, "Unknown key '%s'!", name.c_str());
  }

  std::vector<std::pair<std::string, T*>> _fields;
};

}  // namespace NORV::TaviOperators
