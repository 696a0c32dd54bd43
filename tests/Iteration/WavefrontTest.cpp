#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/Wavefront.hpp>
#include <Impl/Loops/Workers.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace TaviOperators;
using Tavi::SizeType;

constexpr std::chrono::hours patience(1);

/// How many rows of each slice are done, as the rows of a wavefront see it.
class DoneRows {
public:
  DoneRows(SizeType slices, SizeType rows) : _rows(rows), _done(slices) {}

  /// Returns whether the rows that the piece needs are done.
  bool isReady(SizeType slice, SizeType first, SizeType end) const {
    const bool isNext = _done[slice].load(std::memory_order_relaxed) == first;
    return isNext && (slice == 0 || _done[slice - 1].load(std::memory_order_relaxed) >= std::min(end + 1, _rows));
  }
  void finish(SizeType slice, SizeType end) { _done[slice].store(end, std::memory_order_relaxed); }
  SizeType of(SizeType slice) const { return _done[slice]; }

private:
  const SizeType _rows;
  std::vector<std::atomic<SizeType>> _done;
};

TEST(Wavefront, RowsFollowThoseThatTheyNeedWithAnyNumberOfWorkers) {
  for (const SizeType workers : {1u, 2u, 3u, 5u, 33u, 200u}) {
    for (const SizeType slices : {0u, 1u, 2u, 7u, 300u}) {
      for (const SizeType rows : {1u, 2u, 17u}) {
        for (const SizeType piece : {0u, 1u, 3u, 100u}) {
          SCOPED_TRACE(std::to_string(workers) + " workers, " + std::to_string(slices) + " slices of " +
                       std::to_string(rows) + " rows, " + std::to_string(piece) + " at once");
          Impl::Unstoppable self;
          DoneRows done(slices, rows);
          std::atomic<SizeType> begun{0}, early{0};
          Impl::forEachRowInWavefront(
              self, static_cast<int>(workers), workers, slices, rows, piece, patience,
              [&](SizeType) {
                ++begun;
                return true;
              },
              [&](SizeType slice, SizeType first, SizeType end) {
                early += done.isReady(slice, first, end) ? 0u : 1u;
                done.finish(slice, end);
              });
          EXPECT_EQ(begun, slices);
          EXPECT_EQ(early, 0u);
          for (SizeType slice = 0; slice < slices; ++slice) {
            EXPECT_EQ(done.of(slice), rows);
          }
        }
      }
    }
  }
}

TEST(Wavefront, OneWorkerTakesSlicesWhole) {
  Impl::Unstoppable self;
  std::vector<SizeType> slices;
  Impl::forEachRowInWavefront(
      self, 8, 1, 3, 50, 4, patience, [](SizeType) { return true; },
      [&](SizeType slice, SizeType first, SizeType end) {
        EXPECT_EQ(first, 0u);
        EXPECT_EQ(end, 50u);
        slices.push_back(slice);
      });
  EXPECT_EQ(slices, (std::vector<SizeType>{0, 1, 2}));
}

TEST(Wavefront, ASliceWithoutItsRowsKeepsNoOtherWaiting) {
  for (const SizeType workers : {1u, 3u}) {
    Impl::Unstoppable self;
    std::atomic<SizeType> rows{0};
    Impl::forEachRowInWavefront(
        self, 3, workers, 40, 9, 1, patience, [](SizeType slice) { return slice % 3 != 1; },
        [&](SizeType, SizeType, SizeType) { ++rows; });
    EXPECT_EQ(rows, workers == 1 ? 27u : 27u * 9u);
  }
}

TEST(Wavefront, AfterAnAbortNoSliceIsBegunAndThoseBegunAreFinished) {
  for (const SizeType workers : {1u, 2u, 5u}) {
    for (const SizeType last : {0u, 4u, 39u}) {
      Impl::Unstoppable self;
      DoneRows done(40, 9);
      std::atomic<SizeType> begun{0};
      Impl::forEachRowInWavefront(
          self, 5, workers, 40, 9, 2, patience,
          [&](SizeType slice) {
            ++begun;
            if (slice == last) {
              self.abort();
            }
            return true;
          },
          [&](SizeType slice, SizeType, SizeType end) { done.finish(slice, end); });
      EXPECT_GT(begun, last);
      EXPECT_LT(begun, last + 1 + workers);
      for (SizeType slice = 0; slice < 40; ++slice) {
        EXPECT_EQ(done.of(slice), slice < begun ? 9u : 0u);
      }
    }
  }
}

/// All rows are done, in their order, whichever worker goes on alone and whenever.
TEST(Wavefront, WorkersThatWaitForLongLeaveTheOthersToOne) {
  for (const SizeType workers : {2u, 5u, 33u}) {
    Impl::Unstoppable self;
    DoneRows done(60, 9);
    std::atomic<SizeType> early{0};
    Impl::forEachRowInWavefront(
        self, 5, workers, 60, 9, 2, std::chrono::nanoseconds(0),
        [](SizeType slice) {
          if (slice % 7 == 3) {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
          }
          return true;
        },
        [&](SizeType slice, SizeType first, SizeType end) {
          early += done.isReady(slice, first, end) ? 0u : 1u;
          done.finish(slice, end);
        });
    EXPECT_EQ(early, 0u);
    for (SizeType slice = 0; slice < 60; ++slice) {
      EXPECT_EQ(done.of(slice), 9u);
    }
  }
}

TEST(WavefrontFailure, OfAnySliceSurfacesAndKeepsNoOtherWaiting) {
  for (const SizeType workers : {1u, 2u, 5u}) {
    for (const SizeType last : {0u, 4u, 39u}) {
      Impl::Unstoppable self;
      EXPECT_THROW(Impl::forEachRowInWavefront(
                       self, 5, workers, 40, 9, 2, patience, [](SizeType) { return true; },
                       [&](SizeType slice, SizeType, SizeType) {
                         if (slice == last) {
                           throw std::bad_alloc();
                         }
                       }),
                   std::bad_alloc);
    }
  }
}

TEST(Workers, OneForEachLeastVoxelsAndNoMoreThanPartsOrThreads) {
  EXPECT_EQ(Impl::workersFor(8, 100, 0, 10), 1u);
  EXPECT_EQ(Impl::workersFor(8, 100, 39, 10), 3u);
  EXPECT_EQ(Impl::workersFor(8, 100, 1000, 10), 8u);
  EXPECT_EQ(Impl::workersFor(8, 5, 1000, 10), 5u);
  EXPECT_EQ(Impl::workersFor(8, 0, 0, 10), 1u);
}

TEST(Workers, EachSliceIsRunOnceAndInOrderWithinItsPart) {
  for (const SizeType parts : {1u, 2u, 3u, 5u, 33u}) {
    for (const SizeType slices : {0u, 1u, 7u, 33u, 100u}) {
      Impl::Unstoppable self;
      std::vector<std::atomic<int>> runs(slices);
      std::vector<SizeType> next(parts);
      EXPECT_TRUE(Impl::forEachSliceInParts(self, 4, parts, slices, [&](SizeType part, SizeType slice) {
        ++runs[slice];
        EXPECT_GE(slice, next[part]);
        next[part] = slice + 1;
      }));
      for (const auto& run : runs) {
        EXPECT_EQ(run, 1);
      }
    }
  }
}

TEST(Workers, AnAbortLeavesSlicesOut) {
  Impl::Unstoppable self;
  std::atomic<SizeType> runs{0};
  EXPECT_FALSE(Impl::forEachSliceInParts(self, 3, 3, 30, [&](SizeType, SizeType) {
    ++runs;
    self.abort();
  }));
  EXPECT_LT(runs, 30u);
  EXPECT_FALSE(Impl::forEachSliceInParts(self, 3, 3, 30, [&](SizeType, SizeType) { ++runs; }));
}

}  // namespace
}  // namespace NORV::Tests
