// Runs an operator on a thread of its own, shows its progress, and cancels a second run half-way.
#include <DLL/HistogramUpdateMedian.hpp>
#include <HistogramUpdateMedian.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <string>
#include <thread>

using namespace NORV::TaviOperators;

namespace {

using Median = DLL::HistogramUpdateMedian::Operator;
using MedianParameter = SmartPointer<HistogramUpdateMedian::Parameter>;

/// One run on a worker thread. `wait` ends it and throws what the operator threw.
class Run {
public:
  explicit Run(const MedianParameter& parameter)
      : _worker([this, parameter] {
          try {
            _operator.apply(parameter);
          } catch (...) {
            _failure = std::current_exception();
          }
          _done = true;
        }) {}
  ~Run() {
    if (_worker.joinable()) {
      cancel();
      _worker.join();
    }
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  bool isDone() const { return _done; }
  double progress() const { return _operator.getProgress().getProgress(); }

  /// The operator stops at its next slice and `apply` returns normally: the host remembers that it has cancelled.
  /// An abort before `apply` has begun is without effect, so it is repeated until the run has ended.
  void cancel() {
    _cancelled = true;
    while (!_done) {
      _operator.abort();
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  /// Whether the run went to its end.
  bool wait() {
    _worker.join();
    if (_failure) {
      std::rethrow_exception(_failure);
    }
    return !_cancelled;
  }

private:
  Median _operator;
  std::atomic<bool> _done{false};
  bool _cancelled = false;
  std::exception_ptr _failure;
  std::thread _worker;  // last: it begins when all others are there
};

MedianParameter makeParameter() {
  const VolumePtr<NORV::uint16> scan(new Volume<NORV::uint16>(Dimension<SizeType>(160, 160, 160)));
  for (SizeType i = 0; i < scan->getSize(); ++i) {
    scan->getData()[i] = static_cast<NORV::uint16>(i * 2654435761u >> 16);
  }
  const VolumePtr<NORV::uint8> mask(new Volume<NORV::uint8>(Dimension<SizeType>(5, 5, 5)));
  std::fill_n(mask->getData(), mask->getSize(), NORV::uint8(1));
  const MedianParameter parameter(new HistogramUpdateMedian::Parameter);
  parameter->inputVolume = scan;
  parameter->inputMask = mask;
  parameter->inputAnchor = Position<SizeType>(2, 2, 2);
  return parameter;
}

/// Asks for the progress every few milliseconds, until the run ends or has come as far as `limit`.
double watch(const Run& run, double limit) {
  double seen = 0.0;
  while (!run.isDone() && seen < limit) {
    seen = std::max(seen, run.progress());
    std::printf("\r%3.0f %%", 100.0 * seen);
    std::fflush(stdout);
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return seen;
}

}  // namespace

int main() try {
  Run whole(makeParameter());
  watch(whole, 2.0);
  const bool completed = whole.wait();
  std::printf("\rcompleted\n");

  const MedianParameter parameter = makeParameter();
  Run half(parameter);
  const double seen = watch(half, 0.3);
  half.cancel();
  const bool finished = half.wait();
  // Results of a cancelled run may be absent.
  std::printf("\rcancelled at %.0f %%, result %s\n", 100.0 * seen,
              SmartPointer<IVolume>(parameter->outputVolume) == nullptr ? "absent" : "present");
  return completed && !finished ? 0 : 1;
} catch (const NORV::Exceptions::Exception& e) {
  return std::fprintf(stderr, "%s\n", e.getErrorMessage()), 1;
} catch (const std::exception& e) {
  return std::fprintf(stderr, "%s\n", e.what()), 1;
}
