#pragma once

#include <Parameter.hpp>
#include <Tavi/CompositeLeaf.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/NestableLock.hpp>
#include <Tavi/Operator.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>
#include <Tavi/Volume.hpp>

#include <algorithm>
#include <atomic>
#include <list>
#include <mutex>
#include <stdexcept>
#include <string>

namespace NORV::TaviOperators {

/// The voxel type behind a volume pointer.
template <class VolumePointer>
using VoxelOf = typename VolumePointer::Voxel;

/// What all typed operators share, whatever their voxel types: abort flag, own steps, and nested operators, which count
/// as much as the own steps do.
class OperatorBase : public IOperator {
public:
  // Out of line: a frame constructs every instance once.
  [[gnu::noinline]] OperatorBase() {}
  [[gnu::noinline]] ~OperatorBase() override {}
  OperatorBase(const OperatorBase&) = delete;  // nested operators are known by address
  OperatorBase& operator=(const OperatorBase&) = delete;

  /// Ends the run at the next slice, here and in the nested operator that runs.
  void abort() override {
    _aborted.store(true, std::memory_order_relaxed);
    const std::lock_guard lock(_lock);
    if (_currentOperator != nullptr) {
      _currentOperator->abort();
    }
  }

  Progress getProgress() const override {
    const double own = ownProgress();
    if (_subOperators.empty()) {
      return Progress(own);
    }
    double current = 0.0;
    SizeType finished = 0;
    {
      const std::lock_guard lock(_lock);
      finished = _finishedOperators;
      current = _currentOperator != nullptr ? _currentOperator->getProgress().getProgress() : 0.0;
    }
    const double all =
        (current + own + static_cast<double>(finished)) / (static_cast<double>(_subOperators.size()) + 1.0);
    return Progress(std::clamp(all, 0.0, 1.0));
  }

  bool isAborted() const { return _aborted.load(std::memory_order_relaxed); }
  /// The number of steps that `advance` will report.
  void setTotal(SizeType steps) { _progressTotal.store(static_cast<int64>(steps), std::memory_order_relaxed); }
  /// One more step is done; from any thread.
  void advance() { _progressDone.fetch_add(1, std::memory_order_relaxed); }
  /// So many steps are done in all.
  void setDone(SizeType steps) { _progressDone.store(static_cast<int64>(steps), std::memory_order_relaxed); }

protected:
  /// Every `apply` begins so.
  void beginApply() {
    const std::lock_guard lock(_lock);
    _aborted.store(false, std::memory_order_relaxed);
    _progressDone.store(0, std::memory_order_relaxed);
    _progressTotal.store(0, std::memory_order_relaxed);
    _currentOperator = nullptr;
    _finishedOperators = 0;
    _pendingOperators = _subOperators;
  }

  /// To be called in the constructor for each nested operator, which is a member of the derived class.
  void owns(IOperator& subOperator) { _subOperators.push_back(&subOperator); }

  /// Runs a nested operator, once per `apply`; not at all after an abort.
  void executeOperator(IOperator& subOperator, const SmartPointer<IComposite>& parameter) {
    if (isAborted()) {
      return;
    }
    {
      const std::lock_guard lock(_lock);
      const auto found = std::find(_pendingOperators.begin(), _pendingOperators.end(), &subOperator);
      if (found == _pendingOperators.end()) {
        throw std::runtime_error(
            "NORV::TaviOperators::Operator::executeOperator(): operator cannot be called anymore!");
      }
      _currentOperator = &subOperator;
      _pendingOperators.erase(found);
    }
    subOperator.apply(parameter);
    const std::lock_guard lock(_lock);
    _currentOperator = nullptr;
    ++_finishedOperators;
  }

private:
  double ownProgress() const {
    const int64 done = _progressDone.load(std::memory_order_relaxed);
    const int64 total = _progressTotal.load(std::memory_order_relaxed);
    if (total <= 0) {
      return 0.0;
    }
    if (done >= total) {
      return 1.0;
    }
    return done > 0 ? static_cast<double>(done) / static_cast<double>(total) : 0.0;
  }

  Tavi::AbortFlag _aborted{false};
  std::atomic<int64> _progressDone{0};
  std::atomic<int64> _progressTotal{0};
  std::list<IOperator*> _subOperators;
  std::list<IOperator*> _pendingOperators;
  SizeType _finishedOperators = 0;
  IOperator* _currentOperator = nullptr;
  mutable Tavi::NestableLock _lock;  // guards the three before it
};

/// Base of the typed operators.
template <class Derived>
class Operator : public OperatorBase, public Tavi::Persistence::CompositeLeaf<Derived> {
protected:
  template <class OutputPtr>
  OutputPtr checkOutputVolume(const SmartPointer<IVolume>& given, const Dimension<SizeType>& dimension) const {
    return Tavi::Impl::checkOutputVolume<OutputPtr>(given, dimension, "NORV::TaviOperators::Operator");
  }
};

}  // namespace NORV::TaviOperators
