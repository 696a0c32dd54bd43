#include <DLL/Operator.hpp>

#include <mutex>

namespace NORV::TaviOperators::DLL {

namespace {

// A poll that began during a run must not write its stale share over the 1.0 of a run that has just ended. Runs end and
// polls are answered seldom, so that one lock serves all frames.
std::mutex& progressLock() {
  static std::mutex lock;
  return lock;
}

}  // namespace

Operator::Operator() = default;
Operator::Operator(const Operator&) = default;
Operator& Operator::operator=(const Operator&) = default;
Operator::~Operator() = default;

void Operator::apply(SmartPointer<IComposite> parameter) {
  _progress.setProgress(0.0);
  if (parameter == nullptr) {
    throw InvalidParameterObjectException("NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  }
  const SmartPointer<IOperator> running = getOperatorFromParameterObject(parameter);
  _running = running;
  try {
    running->apply(parameter);
  } catch (...) {
    const std::lock_guard lock(progressLock());
    _running = SmartPointer<IOperator>();
    throw;
  }
  const std::lock_guard lock(progressLock());
  _progress.setProgress(1.0);
  _running = SmartPointer<IOperator>();
}

void Operator::abort() {
  const SmartPointer<IOperator> running = _running;
  if (running != nullptr) {
    running->abort();
  }
}

Progress Operator::getProgress() const {
  const std::lock_guard lock(progressLock());
  const SmartPointer<IOperator> running = _running;
  if (running != nullptr) {
    _progress = running->getProgress();
  }
  return _progress;
}

}  // namespace NORV::TaviOperators::DLL
