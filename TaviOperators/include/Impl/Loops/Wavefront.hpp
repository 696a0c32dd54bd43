#pragma once

#include <Impl/Loops/SliceLoop.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <limits>
#include <thread>

/// Rows in parallel where each needs rows before it: all of its own slice, and of the slice before those up to the next
/// one. Slices run at the same time, each some rows behind the one before it (L. Lamport: The Parallel Execution of DO
/// Loops. Communications of the ACM 17, 1974).
namespace NORV::TaviOperators::Impl {

/// The slices of a wavefront, which are claimed in their order, and how many rows of each are done.
class WavefrontRows {
public:
  /// No more slices than that run at the same time.
  static constexpr SizeType mostWorkers = 128;

  WavefrontRows(SizeType slices, SizeType rows, std::chrono::nanoseconds patience)
      : _slices(slices),
        _rows(rows),
        _patience(patience) {}

  /// Whether a slice is left for a worker; sets which one.
  bool claim(SizeType worker, SizeType& slice) {
    const SizeType only = _only.load(std::memory_order_relaxed);
    if (only != everyWorker && only != worker) {
      return false;
    }
    slice = _claimed.fetch_add(1, std::memory_order_relaxed);
    return slice < _slices;
  }
  /// All rows of the slice before up to `row`, if it has so many. A worker that waits for long goes on alone: where
  /// threads have to take turns on a processor, each slice would wait for such a turn.
  void waitFor(SizeType worker, SizeType slice, SizeType row) {
    if (slice == 0) {
      return;
    }
    const std::atomic<uint64>& done = slot(slice - 1);
    const uint64 wanted = mark(slice - 1, std::min(row, _rows));
    constexpr int spins = 256;
    for (int spin = 0; spin < spins; ++spin) {
      if (done.load(std::memory_order_acquire) >= wanted) {
        return;
      }
    }
    const auto begin = std::chrono::steady_clock::now();
    while (done.load(std::memory_order_acquire) < wanted) {
      std::this_thread::yield();
      if (std::chrono::steady_clock::now() - begin > _patience) {
        SizeType every = everyWorker;
        _only.compare_exchange_strong(every, worker, std::memory_order_relaxed);
      }
    }
  }
  /// The first `row` rows of a slice are done.
  void publish(SizeType slice, SizeType row) { slot(slice).store(mark(slice, row), std::memory_order_release); }

private:
  static constexpr SizeType everyWorker = std::numeric_limits<SizeType>::max();

  // On cache lines of their own.
  struct alignas(64) Slot {
    std::atomic<uint64> done{0};
  };

  /// Grows from slice to slice, as slices that run at the same time have slots of their own.
  uint64 mark(SizeType slice, SizeType row) const { return slice * (_rows + 1) + row; }
  std::atomic<uint64>& slot(SizeType slice) { return _slots[slice % mostWorkers].done; }

  const SizeType _slices, _rows;
  const std::chrono::nanoseconds _patience;
  std::atomic<SizeType> _claimed{0};
  std::atomic<SizeType> _only{everyWorker};
  std::array<Slot, mostWorkers> _slots;
};

/// Runs `beginSlice(slice)`, which returns whether the rows of the slice are to follow, and then `doRows(slice, first,
/// end)` for pieces of about `piece` rows. With one worker all is in the order of the slices, also once a worker has
/// waited longer than `patience`. A failure leaves the rows after it as they are. No memory is allocated.
template <class BeginSlice, class DoRows>
void forEachRowInWavefront(OperatorBase& self, int threads, SizeType workers, SizeType slices, SizeType rows,
                           SizeType piece, std::chrono::nanoseconds patience, const BeginSlice& beginSlice,
                           const DoRows& doRows) {
  WavefrontRows wavefront(slices, rows, patience);
  const SizeType parts = std::min({workers, slices, WavefrontRows::mostWorkers});
  const SizeType length = parts == 1 ? rows : std::max<SizeType>(1, piece);
  const auto doSlice = [&](SizeType worker, SizeType slice) {
    for (SizeType first = 0; first < rows; first += length) {
      const SizeType end = std::min(rows, first + length);
      wavefront.waitFor(worker, slice, end + 1);
      doRows(slice, first, end);
      wavefront.publish(slice, end);
    }
  };
  forEachSlice(self, threads, parts, Steps::silent, [&](SizeType worker) {
    for (SizeType slice = 0; !self.isAborted() && wavefront.claim(worker, slice);) {
      try {
        if (beginSlice(slice)) {
          doSlice(worker, slice);
        } else {
          wavefront.publish(slice, rows);
        }
      } catch (...) {
        wavefront.publish(slice, rows);  // others wait for it
        throw;
      }
    }
  });
}

}  // namespace NORV::TaviOperators::Impl
