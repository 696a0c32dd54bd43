#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Operator.hpp>

#include <atomic>
#include <string>
#include <utility>

namespace NORV::TaviOperators::Impl {

/// A nested operator that the class factory makes for each run. Its owner may be constructed before the class of the
/// nested operator is registered, as registration itself constructs operators.
class OperatorByName final : public IOperator {
public:
  explicit OperatorByName(std::string identifier) : _identifier(std::move(identifier)) {}

  void apply(SmartPointer<IComposite> parameter) override {
    _hasEnded.store(false, std::memory_order_relaxed);
    const SmartPointer<IOperator> running = createByIdentifier(_identifier);
    _running = running;
    running->apply(parameter);
    _hasEnded.store(true, std::memory_order_release);  // before the progress of the run is out of reach
    _running = SmartPointer<IOperator>();
  }
  Progress getProgress() const override {
    const SmartPointer<IOperator> running = _running;
    if (running != nullptr) {
      return running->getProgress();
    }
    return Progress(_hasEnded.load(std::memory_order_acquire) ? 1.0 : 0.0);
  }
  void abort() override {
    const SmartPointer<IOperator> running = _running;
    if (running != nullptr) {
      running->abort();
    }
  }

private:
  std::string _identifier;
  SmartPointer<IOperator> _running;  // guarded by its own lock
  std::atomic<bool> _hasEnded{false};
};

}  // namespace NORV::TaviOperators::Impl
