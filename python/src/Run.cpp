#include <Commands.hpp>
#include <Lock.hpp>
#include <Raise.hpp>
#include <Run.hpp>
#include <Workers.hpp>

#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace NORV::TaviPython {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds tick{50};          // after which signals are handled
constexpr milliseconds abortTick{5};      // a frame hears `abort` only while its typed operator exists
constexpr milliseconds reportEvery{125};  // with the last report at most ten a second

/// As many threads as the runtime offers when the package is loaded.
const int offeredThreads = TaviTool::numberOfThreads();

std::optional<FailedRun> apply(IOperator& frame, const SmartPointer<IComposite>& parameter, int threads) {
  // The count of the last run on this thread would stay the one for runs that ask for none.
  TaviTool::setNumberOfThreads(threads > 0 ? threads : offeredThreads);
  errno = 0;
  try {
    frame.apply(parameter);
    return std::nullopt;
  } catch (...) {
    const int error = errno;
    return FailedRun{std::current_exception(), error};
  }
}

/// Only the first thread of a process handles signals.
bool handlesSignals() { return ::getpid() == ::gettid(); }

/// What the calling thread does while the operator runs on another one.
class Listener {
public:
  Listener(IOperator& frame, const py::object& progress) : _frame(frame), _progress(progress) {}

  /// With the interpreter's lock. Whether the run is to go on.
  bool listen() {
    if (PyErr_CheckSignals() != 0) {
      _raised.emplace();
      return false;
    }
    const auto now = Clock::now();
    if (_progress.is_none() || now - _last < reportEvery) {
      return true;
    }
    _last = now;
    return report(_frame.getProgress().getProgress());
  }

  /// After the run.
  void finish(bool succeeded) {
    if (!_raised && succeeded && !_progress.is_none()) {
      report(1.0);
    }
    if (_raised) {
      throw py::error_already_set(*_raised);
    }
  }

private:
  bool report(double share) {
    try {
      _progress(share);
    } catch (py::error_already_set& error) {
      _raised.emplace(error);
    }
    return !_raised;
  }

  IOperator& _frame;
  const py::object& _progress;
  Clock::time_point _last = Clock::now();
  std::optional<py::error_already_set> _raised;
};

}  // namespace

std::optional<FailedRun> run(IOperator& frame, const SmartPointer<IComposite>& parameter, bool isShort,
                             const py::object& progress, int threads) {
  std::optional<FailedRun> failed;
  const bool isDirect = progress.is_none() && (isShort || !handlesSignals());
  if (isDirect && !isForked()) {
    const Unlocked unlocked;
    failed = apply(frame, parameter, threads);
    return failed;
  }
  Listener listener(frame, progress);
  {
    Unlocked unlocked;
    Running running([&] { failed = apply(frame, parameter, threads); });
    while (!running.waitFor(tick)) {
      const bool goesOn = unlocked.locked([&] { return listener.listen(); });
      while (!goesOn && !running.waitFor(abortTick)) {
        frame.abort();
      }
      if (!goesOn) {
        break;
      }
    }
  }
  listener.finish(!failed.has_value());
  return failed;
}

}  // namespace NORV::TaviPython
