#pragma once

#include <DLL/Export.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/SmartPointer.hpp>

namespace NORV::TaviOperators::DLL {

using Tavi::IOperator;
using Tavi::Progress;
using Tavi::SmartPointer;
using Tavi::Persistence::IComposite;

/// The exported frame that all operators share: it finds the typed operator that fits the voxel types of a parameter
/// object, runs it and drops it. A frame can be used for any number of runs, one at a time; `abort` and `getProgress`
/// may be called from any thread, and mean nothing outside a run.
class TAVI_OPERATORS_EXPORT Operator : public IOperator {
public:
  Operator();
  Operator(const Operator&);
  Operator& operator=(const Operator&);

  /// Throws what the frame and the typed operator throw, unchanged. An aborted run returns normally.
  void apply(SmartPointer<IComposite> parameter) override;
  Progress getProgress() const override;
  void abort() override;
  ~Operator() override;

protected:
  virtual SmartPointer<IOperator> getOperatorFromParameterObject(SmartPointer<IComposite> parameter) const = 0;

private:
  mutable SmartPointer<IOperator> _running;
  mutable Progress _progress;
};

}  // namespace NORV::TaviOperators::DLL
