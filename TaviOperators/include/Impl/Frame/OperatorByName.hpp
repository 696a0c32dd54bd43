#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Operator.hpp>

#include <string>
#include <utility>

namespace NORV::TaviOperators::Impl {

/// A nested operator that the class factory makes for each run. Its owner may be constructed before the class of the
/// nested operator is registered, as registration itself constructs operators.
class OperatorByName final : public IOperator {
public:
  explicit OperatorByName(std::string identifier) : _identifier(std::move(identifier)) {}

  void apply(SmartPointer<IComposite> parameter) override {
    const SmartPointer<IOperator> running = createByIdentifier(_identifier);
    _running = running;
    running->apply(parameter);
    _running = SmartPointer<IOperator>();
  }
  Progress getProgress() const override {
    const SmartPointer<IOperator> running = _running;
    return running != nullptr ? running->getProgress() : Progress();
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
};

}  // namespace NORV::TaviOperators::Impl
