#pragma once

#include <Tavi/Export.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>

#include <string>

namespace NORV::Tavi::Persistence {

/// A node of the tree of persistable objects: parameter objects, volumes, values and containers describe themselves
/// by keys.
class TAVI_EXPORT IComposite {
public:
  virtual void setValue(const std::string& key, SmartPointer<IComposite> value) = 0;
  virtual SmartPointer<IComposite> getValue(const std::string& key) const = 0;
  virtual std::string getKey(SizeType index) const = 0;
  virtual SizeType getNumberOfKeys() const = 0;
  /// The identifier under which the class is registered in the class factory.
  virtual std::string getType() const = 0;
  virtual ~IComposite() = default;

protected:
  IComposite() = default;
  IComposite(const IComposite&) = default;
  IComposite& operator=(const IComposite&) = default;
};

}  // namespace NORV::Tavi::Persistence
