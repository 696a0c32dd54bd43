#pragma once

#include <Impl/Frame/ThreadCount.hpp>
#include <Operator.hpp>
#include <Tavi/Types.hpp>

#include <omp.h>

#include <atomic>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>

namespace NORV::TaviOperators::Impl {

enum class Schedule { fixed, dynamic };

/// Whether the loop counts its slices as steps of the operator.
enum class Steps { silent, counted };

/// Carries the failure of the lowest slice out of a parallel loop; slices above it need not run any more.
class SliceFailure {
public:
  bool isAbove(SizeType slice) const { return slice > _slice.load(std::memory_order_relaxed); }

  /// To be called inside a catch block.
  void store(SizeType slice) {
    const std::lock_guard lock(_mutex);
    if (slice < _slice.load(std::memory_order_relaxed)) {
      _slice.store(slice, std::memory_order_relaxed);
      _failure = std::current_exception();
    }
  }
  void rethrow() const {
    if (_failure) {
      std::rethrow_exception(_failure);
    }
  }

private:
  std::mutex _mutex;
  std::atomic<SizeType> _slice{std::numeric_limits<SizeType>::max()};
  std::exception_ptr _failure;
};

/// Runs `slice(context, index)` for all indices. One compiled function for all operators, as the runtime is entered in
/// one place then. The count of threads is a setting of the process and is not restored; results do not depend on how
/// many the runtime gives.
inline void runSlices(int threads, SizeType slices, Schedule schedule, LoopTime time, void (*slice)(void*, SizeType),
                      void* context) {
  omp_set_num_threads(threads);
  const int team = teamSize(threads, slices, time);
  const auto end = static_cast<int64>(slices);
  if (team == 1) {
    for (int64 i = 0; i < end; ++i) {
      slice(context, static_cast<SizeType>(i));
    }
  } else if (schedule == Schedule::fixed) {
#pragma omp parallel for schedule(static) num_threads(team)
    for (int64 i = 0; i < end; ++i) {
      slice(context, static_cast<SizeType>(i));
    }
  } else {
#pragma omp parallel for schedule(dynamic) num_threads(team)
    for (int64 i = 0; i < end; ++i) {
      slice(context, static_cast<SizeType>(i));
    }
  }
}

/// As `forEachSlice`, for a body that is a plain function with its context.
inline void forEachSliceOf(OperatorBase& self, int threads, SizeType slices, Steps steps, Schedule schedule,
                           LoopTime time, void (*body)(const void*, SizeType), const void* context) {
  struct Run {
    OperatorBase& self;
    const Steps steps;
    void (*const body)(const void*, SizeType);
    const void* const context;
    SliceFailure failure{};

    void slice(SizeType index) {
      if (self.isAborted() || failure.isAbove(index)) {
        return;
      }
      try {
        body(context, index);
      } catch (...) {
        failure.store(index);
        return;
      }
      if (steps == Steps::counted) {
        self.advance();
      }
    }
  } run{self, steps, body, context};
  runSlices(
      threads, slices, schedule, time, [](void* erased, SizeType index) { static_cast<Run*>(erased)->slice(index); },
      &run);
  run.failure.rethrow();
}

/// The loop over slices of an operator: skips what is left after an abort, counts steps, and throws the failure of the
/// lowest slice after all workers have ended. `body(index)` runs on any of the threads; a loop that takes too little
/// time to pay for a team runs on the caller's.
template <class Body>
void forEachSlice(OperatorBase& self, int threads, SizeType slices, Steps steps, const Body& body,
                  Schedule schedule = Schedule::fixed, LoopTime time = {}) {
  forEachSliceOf(
      self, threads, slices, steps, schedule, time,
      [](const void* context, SizeType index) { (*static_cast<const Body*>(context))(index); }, std::addressof(body));
}

/// With slices shared out evenly.
template <class Body>
void forEachSlice(OperatorBase& self, int threads, SizeType slices, Steps steps, LoopTime time, const Body& body) {
  forEachSlice(self, threads, slices, steps, body, Schedule::fixed, time);
}

/// As `forEachSlice`, in parts that are not slices of the view: they count as its `slices` steps all the same, in
/// proportion.
template <class Body>
void forEachPartOf(OperatorBase& self, int threads, SizeType parts, SizeType slices, Steps steps, const Body& body,
                   Schedule schedule, LoopTime time = {}) {
  if (steps == Steps::silent || parts == slices) {
    forEachSlice(self, threads, parts, steps, body, schedule, time);
    return;
  }
  std::atomic<SizeType> partsDone{0};
  const auto stepsAfter = [&](SizeType done) { return done / parts * slices + done % parts * slices / parts; };
  const auto counting = [&](SizeType part) {
    body(part);
    const SizeType done = partsDone.fetch_add(1, std::memory_order_relaxed);
    for (SizeType step = stepsAfter(done); step < stepsAfter(done + 1); ++step) {
      self.advance();
    }
  };
  forEachSlice(self, threads, parts, Steps::silent, counting, schedule, time);
}

}  // namespace NORV::TaviOperators::Impl
