#include "support/Operators.hpp"
#include "support/Rerun.hpp"

#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Operator.hpp>
#include <Tavi/CheckedCast.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Impl = TaviOperators::Impl;
using Impl::Schedule;
using Impl::Steps;

class Looping final : public TaviOperators::Operator<Looping> {
public:
  std::string getType() const override { return "NORV::Tests::Looping"; }
  void apply(SmartPointer<IComposite>) override { beginApply(); }
};

/// Which thread of the team ran each slice; every slice must run once.
std::vector<int> runLoop(int threads, SizeType slices, Schedule schedule) {
  Looping op;
  std::vector<std::atomic<int>> runs(slices);
  std::vector<int> thread(slices, -1);
  Impl::forEachSlice(
      op, threads, slices, Steps::silent,
      [&](SizeType slice) {
        ++runs[slice];
        thread[slice] = omp_get_thread_num();
      },
      schedule);
  for (SizeType slice = 0; slice < slices; ++slice) {
    EXPECT_EQ(runs[slice], 1) << slice;
  }
  return thread;
}

TEST(SliceLoop, EverySliceRunsOnceForEveryThreadCountAndSchedule) {
  const RuntimeSettings settings;
  for (const int dynamic : {0, 1}) {
    omp_set_dynamic(dynamic);
    for (const Schedule schedule : {Schedule::fixed, Schedule::dynamic}) {
      for (const int threads : {1, 2, 3, 7, 100, 2147483647}) {
        for (const SizeType slices : {0u, 1u, 2u, 5u, 40u}) {
          runLoop(threads, slices, schedule);
          EXPECT_EQ(omp_get_max_threads(), threads);
        }
      }
    }
  }
}

TEST(SliceLoop, TheFixedScheduleGivesEachThreadOneRunOfSlices) {
  const RuntimeSettings settings;
  omp_set_dynamic(0);
  const std::vector<int> thread = runLoop(3, 12, Schedule::fixed);
  EXPECT_TRUE(std::is_sorted(thread.begin(), thread.end()));
  if (thread.back() == 2) {  // unless the runtime gave fewer
    EXPECT_EQ(thread, (std::vector<int>{0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2}));
  }
}

TEST(SliceLoop, OneThreadIsTheCaller) {
  const RuntimeSettings settings;
  Looping op;
  const std::thread::id caller = std::this_thread::get_id();
  Impl::forEachSlice(op, 1, 20, Steps::silent, [&](SizeType) { EXPECT_EQ(std::this_thread::get_id(), caller); });
}

TEST(SliceLoop, ALoopTooShortForATeamRunsOnTheCallerAndLeavesTheSettingAsAsked) {
  const RuntimeSettings settings;
  Looping op;
  const std::thread::id caller = std::this_thread::get_id();
  const auto small = Impl::LoopTime::of(4096, 0.1);
  std::vector<int> runs(20);
  Impl::forEachSlice(op, 5, 20, Steps::silent, small, [&](SizeType slice) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    ++runs[slice];
  });
  EXPECT_EQ(runs, std::vector<int>(20, 1));
  EXPECT_EQ(omp_get_max_threads(), 5);
  EXPECT_EQ(Impl::teamSize(5, 20, small), 1);
  EXPECT_EQ(Impl::teamSize(5, 20, Impl::LoopTime::of(SizeType{1} << 24, 0.1)), 5);
  EXPECT_EQ(Impl::PerThread<int>(
                5, 20, [] { return 0; }, small)
                .size(),
            1u);
}

TEST(SliceLoop, CountsStepsOnlyWhereAsked) {
  const RuntimeSettings settings;
  Looping op;
  op.setTotal(10);
  Impl::forEachSlice(op, 3, 5, Steps::silent, [](SizeType) {});
  EXPECT_EQ(op.getProgress().getProgress(), 0.0);
  Impl::forEachSlice(op, 3, 5, Steps::counted, [](SizeType) {});
  EXPECT_EQ(op.getProgress().getProgress(), 0.5);
}

TEST(SliceLoop, AnAbortSkipsWhatIsLeftAndCountsItNot) {
  const RuntimeSettings settings;
  Looping op;
  op.setTotal(10);
  int ran = 0;
  Impl::forEachSlice(op, 1, 10, Steps::counted, [&](SizeType slice) {
    ++ran;
    if (slice == 3) {
      op.abort();
    }
  });
  EXPECT_EQ(ran, 4);
  EXPECT_EQ(op.getProgress().getProgress(), 0.4);
}

TEST(SliceLoopFailure, ThatOfTheLowestSliceIsThrownAfterAllHaveEnded) {
  const RuntimeSettings settings;
  for (const int threads : {1, 2, 7, 100}) {
    for (const Schedule schedule : {Schedule::fixed, Schedule::dynamic}) {
      Looping op;
      std::atomic<int> running{0};
      expectStandard<std::domain_error>(
          [&] {
            Impl::forEachSlice(
                op, threads, 30, Steps::silent,
                [&](SizeType slice) {
                  ++running;
                  const bool fails = slice >= 11;
                  --running;
                  if (fails) {
                    throw std::domain_error("slice " + std::to_string(slice));
                  }
                },
                schedule);
          },
          "slice 11");
      EXPECT_EQ(running, 0);
    }
  }
}

TEST(SliceLoopFailure, AFailedSliceIsNoStep) {
  const RuntimeSettings settings;
  Looping op;
  op.setTotal(4);
  EXPECT_THROW(Impl::forEachSlice(op, 1, 4, Steps::counted,
                                  [](SizeType slice) {
                                    if (slice == 2) {
                                      throw 1;
                                    }
                                  }),
               int);
  EXPECT_EQ(op.getProgress().getProgress(), 0.5);
}

TEST(SliceLoop, SeveralHostThreadsMayLoopAtOnce) {
  const RuntimeSettings settings;
  std::vector<std::thread> hosts;
  for (int host = 1; host <= 4; ++host) {
    hosts.emplace_back([host] {
      for (int repetition = 0; repetition < 10; ++repetition) {
        runLoop(host, 17, repetition % 2 == 0 ? Schedule::fixed : Schedule::dynamic);
      }
    });
  }
  for (std::thread& host : hosts) {
    host.join();
  }
}

TEST(SliceLoop, RunsInsideAParallelRegion) {
  const RuntimeSettings settings;
  std::atomic<int> total{0};
#pragma omp parallel num_threads(2)
  {
    Looping op;
    Impl::forEachSlice(op, 2, 9, Steps::silent, [&](SizeType) { ++total; });
  }
  EXPECT_EQ(total % 9, 0);
  EXPECT_GE(total, 9);
}

TEST(PerThread, HasAnObjectForEveryThreadThatALoopCanUse) {
  const RuntimeSettings settings;
  for (const int threads : {1, 2, 7, 100}) {
    for (const SizeType slices : {0u, 1u, 2u, 13u}) {
      Looping op;
      int made = 0;
      Impl::PerThread<std::vector<SizeType>> seen(threads, slices, [&made] {
        ++made;
        return std::vector<SizeType>();
      });
      EXPECT_EQ(seen.size(), static_cast<SizeType>(made));
      EXPECT_GE(made, 1);
      Impl::forEachSlice(op, threads, slices, Steps::silent, [&](SizeType slice) { seen.mine().push_back(slice); });
      std::vector<SizeType> all;
      for (SizeType thread = 0; thread < seen.size(); ++thread) {
        all.insert(all.end(), seen[thread].begin(), seen[thread].end());
      }
      std::sort(all.begin(), all.end());
      std::vector<SizeType> expected(slices);
      std::iota(expected.begin(), expected.end(), SizeType{0});
      EXPECT_EQ(all, expected);
    }
  }
}

TEST(PerThreadFailure, AThreadBeyondTheTable) {
  const RuntimeSettings settings;
  Impl::PerThread<int> one(1, 5, [] { return 3; });
  EXPECT_EQ(one.mine(), 3);
  EXPECT_THROW(one[1], Exceptions::IndexOutOfRange);
}

TEST(ThreadCount, BelowOneIsWhatTheRuntimeOffers) {
  const RuntimeSettings settings;
  omp_set_num_threads(5);
  EXPECT_EQ(Impl::threadCount(SizeType{0}), 5);
  EXPECT_EQ(Impl::threadCount(int32{0}), 5);
  EXPECT_EQ(Impl::threadCount(int32{-1}), 5);
  EXPECT_EQ(Impl::threadCount(std::numeric_limits<int32>::min()), 5);
  EXPECT_EQ(Impl::threadCount(SizeType{1}), 1);
  EXPECT_EQ(Impl::threadCount(SizeType{2147483647}), 2147483647);
}

TEST(ThreadCountFailure, CountsBeyond32Bits) {
  expectStandard<std::overflow_error>(
      [] { Impl::threadCount(SizeType{2147483648u}); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
  expectStandard<std::overflow_error>(
      [] { Impl::threadCount(std::numeric_limits<SizeType>::max()); },
      "Couldn't cast 18446744073709551615 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

TEST(ThreadCount, ATeamIsBoundedByTheSlicesAndByReason) {
  EXPECT_EQ(Impl::teamSize(4, 10), 4);
  EXPECT_EQ(Impl::teamSize(10, 4), 4);
  EXPECT_EQ(Impl::teamSize(3, 0), 1);
  EXPECT_EQ(Impl::teamSize(0, 5), 1);
  EXPECT_LE(Impl::teamSize(2147483647, std::numeric_limits<SizeType>::max()), std::max(256, 4 * omp_get_num_procs()));
}

/// Only meant to run under the limit; `SliceLoop.AThreadLimitBelowTheRequest` starts it so.
TEST(UnderAThreadLimit, LoopsAreWhole) {
  if (std::getenv("OMP_THREAD_LIMIT") == nullptr) {
    GTEST_SKIP() << "needs OMP_THREAD_LIMIT";
  }
  EXPECT_LE(omp_get_thread_limit(), 2);
  const std::vector<int> thread = runLoop(7, 40, Schedule::fixed);
  EXPECT_LT(*std::max_element(thread.begin(), thread.end()), omp_get_thread_limit());
  runLoop(7, 40, Schedule::dynamic);
  Looping op;
  Impl::PerThread<int> counts(7, 40, [] { return 0; });
  Impl::forEachSlice(op, 7, 40, Steps::silent, [&](SizeType) { ++counts.mine(); });
  int sum = 0;
  for (SizeType i = 0; i < counts.size(); ++i) {
    sum += counts[i];
  }
  EXPECT_EQ(sum, 40);
}

TEST(SliceLoop, AThreadLimitBelowTheRequest) {
  EXPECT_EQ(rerun("UnderAThreadLimit.*", {"OMP_THREAD_LIMIT=2"}), 0);
  EXPECT_EQ(rerun("UnderAThreadLimit.*", {"OMP_THREAD_LIMIT=1"}), 0);
}

}  // namespace
}  // namespace NORV::Tests
