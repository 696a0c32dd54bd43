#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Rerun.hpp"
#include "support/Volumes.hpp"

#include <Tavi/ForEachParallel.hpp>
#include <Tavi/PlainException.hpp>
#include <Tavi/Progress.hpp>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace NORV::Tests {
namespace {

using Tavi::Progress;
using Tavi::Volume;
using Tavi::VolumePtr;
using Tavi::Iterating::ForEachParallel;
using Tavi::Iterating::Functor;

/// What the workers of one run tell.
struct Log {
  std::mutex lock;
  std::map<SizeType, std::vector<uint8>> chunks;  // by the first slice: the voxels in order
  std::vector<Tavi::Dimension<SizeType>> dimensions;
};

/// Logs where its copy works and what it sees.
class Logging : public Functor {
public:
  explicit Logging(Log& log) : _log(&log) {}
  void setPlace(const Tavi::Position<SizeType>& origin, const Tavi::Dimension<SizeType>& dimension) {
    const std::lock_guard guard(_log->lock);
    EXPECT_EQ(origin.prim, 0u);
    EXPECT_EQ(origin.sec, 0u);
    _voxels = &_log->chunks[origin.tert];
    EXPECT_TRUE(_voxels->empty()) << "two copies at one place";
    _log->dimensions.push_back(dimension);
  }
  void operator()(uint8& voxel) { _voxels->push_back(voxel); }

private:
  Log* _log;
  std::vector<uint8>* _voxels = nullptr;
};

class Increment : public Functor {
public:
  template <class T>
  void operator()(T& voxel) const {
    ++voxel;
  }
};

class Assign : public Functor {
public:
  template <class T>
  void operator()(T& from, T& to) const {
    to = from;
  }
};

template <class Body>
class Calling : public Functor {
public:
  explicit Calling(Body body) : _body(body) {}
  template <class T>
  void operator()(T& voxel) {
    _body(voxel);
  }

private:
  Body _body;
};

const std::atomic<bool> notAborted{false};

/// The numbers of slices of the chunks of a volume, in their order.
std::vector<SizeType> chunksOf(SizeType slices, int threads) {
  const RuntimeSettings settings;
  omp_set_num_threads(threads);
  const TestVolume<uint8> volume({2, 3, slices});
  volume.fill(mixedValues<uint8>(6 * slices));
  Log log;
  Progress progress;
  const Logging functor(log);
  ForEachParallel::apply(&functor, volume.volume(), &progress, &notAborted);
  EXPECT_EQ(progress.getProgress(), 1.0);
  EXPECT_EQ(omp_get_max_threads(), threads) << "the setting is given back";
  std::vector<SizeType> sizes;
  std::vector<uint8> all;
  SizeType next = 0;
  for (const auto& [start, voxels] : log.chunks) {
    EXPECT_EQ(start, next);
    sizes.push_back(voxels.size() / 6);
    next += voxels.size() / 6;
    all.insert(all.end(), voxels.begin(), voxels.end());
  }
  for (const auto& dimension : log.dimensions) {
    EXPECT_TRUE(dimension == Tavi::Dimension<SizeType>(2, 3, slices)) << "the whole view";
  }
  expectSameVoxels(all, volume.voxels());
  return sizes;
}

TEST(ForEachParallel, TheLastChunkTakesWhatDoesNotDivide) {
  EXPECT_EQ(chunksOf(10, 4), (std::vector<SizeType>{2, 2, 2, 4}));
  EXPECT_EQ(chunksOf(10, 3), (std::vector<SizeType>{3, 3, 4}));
  EXPECT_EQ(chunksOf(10, 7), (std::vector<SizeType>{1, 1, 1, 1, 1, 1, 4}));
  EXPECT_EQ(chunksOf(10, 10), std::vector<SizeType>(10, 1));
  EXPECT_EQ(chunksOf(10, 100), std::vector<SizeType>(10, 1));
  EXPECT_EQ(chunksOf(10, 1), std::vector<SizeType>{10});
  EXPECT_EQ(chunksOf(2, 2), (std::vector<SizeType>{1, 1}));
}

TEST(ForEachParallel, ASingleSliceIsOneChunkForAnyThreadCount) {
  EXPECT_EQ(chunksOf(1, 1), std::vector<SizeType>{1});
  EXPECT_EQ(chunksOf(1, 7), std::vector<SizeType>{1});
}

TEST(ForEachParallel, MoreThreadsThanARuntimeCanStartAreNoFailure) {
  EXPECT_EQ(chunksOf(1000, 2147483647), std::vector<SizeType>(1000, 1));
}

TEST(ForEachParallel, RunsAsWellWhenTheRuntimeGivesFewerThreads) {
  const RuntimeSettings settings;
  omp_set_dynamic(1);
  EXPECT_EQ(chunksOf(10, 4), (std::vector<SizeType>{2, 2, 2, 4}));
}

/// Only meant to run under the limit; `ForEachParallel.AThreadLimitBelowTheChunks` starts it so.
TEST(ChunksUnderAThreadLimit, AreAllRun) {
  if (std::getenv("OMP_THREAD_LIMIT") == nullptr) {
    GTEST_SKIP() << "needs OMP_THREAD_LIMIT";
  }
  EXPECT_EQ(chunksOf(10, 4), (std::vector<SizeType>{2, 2, 2, 4}));
}
TEST(ForEachParallel, AThreadLimitBelowTheChunks) {
  EXPECT_EQ(rerun("ChunksUnderAThreadLimit.*", {"OMP_THREAD_LIMIT=2"}), 0);
}

TEST(ForEachParallel, AnEmptyVolumeHasNothingToDo) {
  const RuntimeSettings settings;
  omp_set_num_threads(3);
  Progress progress;
  const Increment functor;
  ForEachParallel::apply(&functor, VolumePtr<uint8>(new Volume<uint8>()), &progress, &notAborted);
  EXPECT_EQ(progress.getProgress(), 1.0);
  EXPECT_EQ(omp_get_max_threads(), 3);
}

TEST(ForEachParallel, WalksAllLayoutsOfOneAndOfTwoVolumes) {
  const RuntimeSettings settings;
  std::size_t turn = 0;
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    omp_set_num_threads(static_cast<int>(turn % 8) + 1);
    const TestVolume<uint16> first({3, 2, 7}, layout), second({3, 2, 7}, allLayouts()[turn++ * 5 % 96]);
    first.fill(mixedValues<uint16>(42));
    std::vector<uint16> expected = first.voxels();
    const auto regions = first.volume()->getRoiStack();
    Progress progress;
    const Assign assign;
    ForEachParallel::apply(&assign, first.volume(), second.volume(), &progress, &notAborted);
    expectSameVoxels(second.voxels(), expected);
    second.expectUntouchedOutside();

    const Increment increment;
    ForEachParallel::apply(&increment, first.volume(), &progress, &notAborted);
    for (uint16& value : expected) {
      ++value;
    }
    expectSameVoxels(first.voxels(), expected);
    first.expectUntouchedOutside();
    EXPECT_TRUE(first.volume()->getRoiStack() == regions) << "the base volume keeps its regions";
  }
}

TEST(ForEachParallel, TakesViewsOfViews) {
  using External = Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>;
  const TestVolume<uint16> owner({3, 2, 7}, regionLayout);
  owner.fill({4});
  const VolumePtr<uint16, External> view(new Volume<uint16, External>(owner.volume()));
  Progress progress;
  const Increment increment;
  ForEachParallel::apply(&increment, view, &progress, &notAborted);
  expectSameVoxels(owner.voxels(), std::vector<uint16>(42, 5));
  owner.expectUntouchedOutside();
}

TEST(ForEachParallel, EachChunkHasACopyOfTheFunctor) {
  const RuntimeSettings settings;
  omp_set_num_threads(4);
  struct Counting : Functor {
    explicit Counting(std::atomic<int>& shared) : most(&shared) {}
    void operator()(uint8&) {
      ++count;
      int seen = *most;
      while (count > seen && !most->compare_exchange_weak(seen, count)) {
      }
    }
    std::atomic<int>* most;
    int count = 0;
  };
  std::atomic<int> most{0};
  const Counting functor(most);
  Progress progress;
  ForEachParallel::apply(&functor, TestVolume<uint8>({2, 3, 10}).volume(), &progress, &notAborted);
  EXPECT_EQ(most, 4 * 6) << "the longest chunk has four slices";
  EXPECT_EQ(functor.count, 0);
}

TEST(ForEachParallel, InsideAParallelRegionItIsOneChunkOnTheCallingThread) {
  const RuntimeSettings settings;
  omp_set_num_threads(4);
  std::atomic<int> regions{0};
#pragma omp parallel num_threads(2)
  {
    if (omp_get_num_threads() == 2) {
      ++regions;
      const TestVolume<uint8> volume({2, 3, 10});
      volume.fill(mixedValues<uint8>(60));
      const std::thread::id caller = std::this_thread::get_id();
      const int offered = omp_get_max_threads();
      Progress progress;
      std::vector<uint8> seen;
      const Calling functor([&](uint8& voxel) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        seen.push_back(voxel);
      });
      ForEachParallel::apply(&functor, volume.volume(), &progress, &notAborted);
      expectSameVoxels(seen, volume.voxels());
      EXPECT_EQ(progress.getProgress(), 1.0);
      EXPECT_EQ(omp_get_max_threads(), offered);
    }
  }
  EXPECT_GT(regions, 0);
  EXPECT_EQ(omp_get_max_threads(), 4);
}

TEST(ForEachParallel, TheProgressIsThatOfTheFirstThread) {
  const RuntimeSettings settings;
  omp_set_num_threads(1);
  Progress progress;
  std::vector<double> seen;
  const Calling functor([&](uint8&) { seen.push_back(progress.getProgress()); });
  ForEachParallel::apply(&functor, TestVolume<uint8>({1, 1, 3}).volume(), &progress, &notAborted);
  const double step = 0.99 / 3.0;
  EXPECT_EQ(seen, (std::vector<double>{0.0, step, step + step}));
  EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEachParallel, AnAbortEndsEveryChunkAfterItsSliceAndStillReportsOne) {
  const RuntimeSettings settings;
  for (const int threads : {1, 2, 4}) {
    omp_set_num_threads(threads);
    const std::atomic<bool> aborted{true};
    std::atomic<int> calls{0};
    Progress progress;
    const Calling functor([&](uint8&) { ++calls; });
    ForEachParallel::apply(&functor, TestVolume<uint8>({2, 3, 12}).volume(), &progress, &aborted);
    EXPECT_EQ(calls, 6 * threads);
    EXPECT_EQ(progress.getProgress(), 1.0);
    EXPECT_EQ(omp_get_max_threads(), threads);
  }
}

/// Runs a functor that calls `body` with the slice that it is in, on 10 slices of one voxel in 4 chunks.
template <class Body>
void runOnSlices(const Body& body) {
  const RuntimeSettings settings;
  omp_set_num_threads(4);
  const TestVolume<uint8> volume({1, 1, 10});
  volume.fill({0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  Progress progress;
  const Calling functor([&](uint8& voxel) { body(voxel); });
  try {
    ForEachParallel::apply(&functor, volume.volume(), &progress, &notAborted);
  } catch (...) {
    EXPECT_EQ(omp_get_max_threads(), 4);
    throw;
  }
}

TEST(ForEachParallelFailure, AFamilyFailureArrivesAsItselfAfterTheOtherChunksHaveEnded) {
  std::atomic<int> ended{0};
  expectFailure<Exceptions::InvalidData>(
      [&] {
        runOnSlices([&](int slice) {
          if (slice == 2) {
            throw Exceptions::InvalidData("NORV::Tests::functor", "slice %d", slice);
          }
          ++ended;
        });
      },
      "slice 2", "NORV::Tests::functor");
  EXPECT_EQ(ended, 8) << "of the failed chunk, slice 3 is left";
}

TEST(ForEachParallelFailure, AStandardFailureArrivesAsAPlainOneWithItsText) {
  expectStandard<Tavi::PlainException>(
      [] {
        runOnSlices([](int slice) {
          if (slice == 9) {
            throw std::domain_error("as text");
          }
        });
      },
      "as text");
}

TEST(ForEachParallelFailure, AnythingElseIsUnknown) {
  expectStandard<std::runtime_error>(
      [] {
        runOnSlices([](int slice) {
          if (slice == 0) {
            throw 7;
          }
        });
      },
      "NORV::Tavi::ForEachParallel::ExceptionHandler::rethrow an unknown exception was "
      "cought");
}

TEST(ForEachParallelFailure, TheFamilyComesBeforeTheStandardAndTheStandardBeforeTheUnknown) {
  const auto fail = [](int slice, bool family) {
    if (slice == 0) {
      throw 7;
    }
    if (slice == 2) {
      throw std::domain_error("standard");
    }
    if (slice == 4 && family) {
      throw Exceptions::OutOfRange("NORV::Tests::functor");
    }
  };
  expectStandard<Tavi::PlainException>([&] { runOnSlices([&](int slice) { fail(slice, false); }); }, "standard");
  expectFailure<Exceptions::OutOfRange>([&] { runOnSlices([&](int slice) { fail(slice, true); }); },
                                        "A value is out of the valid range!", "NORV::Tests::functor");
}

TEST(ForEachParallelFailure, OneChunkTransportsFailuresTheSameWay) {
  const RuntimeSettings settings;
  omp_set_num_threads(1);
  Progress progress;
  const Calling functor([](uint8&) { throw std::domain_error("as text"); });
  expectStandard<Tavi::PlainException>(
      [&] {
        ForEachParallel::apply(&functor, TestVolume<uint8>({1, 1, 3}).volume(), &progress, &notAborted);
      },
      "as text");
}

TEST(ForEachParallelFailure, MissingArguments) {
  const VolumePtr<uint8> volume = TestVolume<uint8>({1, 1, 2}).volume();
  const VolumePtr<uint8> none;
  const Increment* const noFunctor = nullptr;
  const Assign* const noPairFunctor = nullptr;
  const Increment increment;
  const Assign assign;
  Progress progress;
  const std::string origin = "NORV::Tavi::Iterating::ForEachParallel::apply";
  const auto expectNull = [&](const auto& act, const std::string& variable) {
    expectFailure<Exceptions::NULLPointer>(act, "The pointer variable '" + variable + "' is a NULL pointer", origin);
  };
  expectNull([&] { ForEachParallel::apply(noFunctor, volume, &progress, &notAborted); }, "functor");
  expectNull([&] { ForEachParallel::apply(&increment, none, &progress, &notAborted); }, "volume1");
  expectNull([&] { ForEachParallel::apply(noPairFunctor, volume, volume, &progress, &notAborted); }, "functor");
  expectNull([&] { ForEachParallel::apply(&assign, none, volume, &progress, &notAborted); }, "volume1");
  expectNull([&] { ForEachParallel::apply(&assign, volume, none, &progress, &notAborted); }, "volume2");
}

TEST(ForEachParallelFailure, DifferentSizesThrowBeforeAnyWorkerStarts) {
  const TestVolume<uint8> first({3, 2, 4}), second({3, 2, 5});
  first.fill({1});
  Progress progress;
  const Assign assign;
  expectFailure<Exceptions::InvalidArg>(
      [&] { ForEachParallel::apply(&assign, first.volume(), second.volume(), &progress, &notAborted); },
      "Dimension of volume1 and volume2 differ", "NORV::Tavi::Iterating::ForEachParallel::apply");
  expectSameVoxels(second.voxels(), std::vector<uint8>(30, 77));
}

TEST(ForEachParallelFailure, AnyAllocationThatFailsSurfacesAndGivesTheSettingBack) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const RuntimeSettings settings;
  omp_set_num_threads(3);
  const TestVolume<uint8> volume({2, 2, 6});
  volume.fill({1});
  const Increment increment;
  Progress progress;
  const int failures =
      failEachAllocation([&] { ForEachParallel::apply(&increment, volume.volume(), &progress, &notAborted); },
                         [&] {
                           EXPECT_EQ(omp_get_max_threads(), 3);
                           expectSameVoxels(volume.voxels(), std::vector<uint8>(24, 1));
                         });
  EXPECT_GT(failures, 3);
  expectSameVoxels(volume.voxels(), std::vector<uint8>(24, 2));
}

TEST(ForEachParallel, SeveralHostThreadsMayWalkAtOnce) {
  const RuntimeSettings settings;
  omp_set_num_threads(2);
  std::vector<std::thread> hosts;
  for (int host = 0; host < 4; ++host) {
    hosts.emplace_back([] {
      for (int repetition = 0; repetition < 20; ++repetition) {
        const TestVolume<uint16> volume({5, 4, 9});
        volume.fill({3});
        Progress progress;
        const Increment increment;
        ForEachParallel::apply(&increment, volume.volume(), &progress, &notAborted);
        expectSameVoxels(volume.voxels(), std::vector<uint16>(180, 4));
      }
    });
  }
  for (std::thread& host : hosts) {
    host.join();
  }
}

}  // namespace
}  // namespace NORV::Tests
