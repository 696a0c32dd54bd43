#pragma once

#include <Tavi/Export.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/SmartPointer.hpp>

#include <stdexcept>

namespace NORV::Tavi {

/// Something that works on a parameter object. `getProgress` and `abort` may be called from any thread during `apply`;
/// an aborted `apply` returns normally.
class TAVI_EXPORT IOperator {
public:
  /// The parameter object does not allow a run. It carries a text only.
  class TAVI_EXPORT InvalidParameterObjectException : public std::invalid_argument {
  public:
    using std::invalid_argument::invalid_argument;
  };

  virtual void apply(SmartPointer<Persistence::IComposite> parameter) = 0;
  virtual Progress getProgress() const = 0;
  virtual void abort() = 0;
  virtual ~IOperator() = default;

protected:
  IOperator() = default;
  IOperator(const IOperator&) = default;
  IOperator& operator=(const IOperator&) = default;
};

}  // namespace NORV::Tavi
