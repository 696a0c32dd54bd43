#include "support/ExpectFailure.hpp"
#include "support/Volumes.hpp"

#include <Tavi/ForEach.hpp>
#include <Tavi/Progress.hpp>

#include <atomic>
#include <vector>

namespace NORV::Tests {
namespace {

using Tavi::Progress;
using Tavi::SizeType;
using Tavi::Volume;
using Tavi::VolumePtr;
using Tavi::Iterating::ForEach;
using Tavi::Iterating::Functor;

/// Collects the voxels in the order of the walk.
template <class T>
class Collect : public Functor {
public:
  void operator()(T& voxel) { seen.push_back(voxel); }
  std::vector<T> seen;
};

/// Adds the second voxel to the first.
class Add : public Functor {
public:
  template <class A, class B>
  void operator()(A& first, B& second) const {
    first = static_cast<A>(first + second);
  }
};

/// Calls back at each voxel.
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

TEST(ForEach, WalksPrimThenSecThenTertOfTheView) {
  const bool aborted = false;
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<int16> volume({3, 2, 4}, layout);
    volume.fill(mixedValues<int16>(24));
    Collect<int16> collect;
    Progress progress;
    ForEach::apply(&collect, volume.volume(), &progress, &aborted);
    expectSameVoxels(collect.seen, volume.voxels());
    EXPECT_EQ(progress.getProgress(), 1.0);
  }
}

TEST(ForEach, WalksTwoVolumesOfAnyLayoutsInStep) {
  const bool aborted = false;
  std::size_t turn = 0;
  for (const Layout& layout : allLayouts()) {
    const TestVolume<int32> first({3, 2, 4}, layout);
    const TestVolume<uint8> second({3, 2, 4}, allLayouts()[turn++ * 7 % 96]);
    first.fill({10, 20, 30, 40, 50});
    second.fill(mixedValues<uint8>(24));
    std::vector<int32> expected = first.voxels();
    for (std::size_t i = 0; i < expected.size(); ++i) {
      expected[i] += second.voxels()[i];
    }
    Progress progress;
    const Add add;
    ForEach::apply(&add, first.volume(), second.volume(), &progress, &aborted);
    expectSameVoxels(first.voxels(), expected);
    first.expectUntouchedOutside();
    second.expectUntouchedOutside();
  }
}

TEST(ForEach, ProgressRisesBySliceToJustBelow99PercentAndEndsAtOne) {
  const bool aborted = false;
  const TestVolume<uint8> volume({2, 1, 4});
  Progress progress;
  std::vector<double> seen;
  Calling functor([&](uint8&) { seen.push_back(progress.getProgress()); });
  ForEach::apply(&functor, volume.volume(), &progress, &aborted);
  const double step = 0.99 / 4.0;
  EXPECT_EQ(seen,
            (std::vector<double>{0, 0, step, step, step + step, step + step, step + step + step, step + step + step}));
  EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEach, TheRunningSumStaysAProgressForAnyNumberOfSlices) {
  const bool aborted = false;
  for (const SizeType slices : {1u, 3u, 7u, 10u, 49u, 1000u, 99991u}) {
    const TestVolume<uint8> volume({1, 1, slices});
    Progress progress;
    double last = 0.0;
    Calling functor([&](uint8&) { last = progress.getProgress(); });
    ForEach::apply(&functor, volume.volume(), &progress, &aborted);
    EXPECT_LT(last, 0.99);
    EXPECT_EQ(progress.getProgress(), 1.0);
  }
}

TEST(ForEach, AnAbortEndsTheWalkAfterTheSliceAndLeavesTheProgressBelowOne) {
  std::atomic<bool> aborted{false};
  const TestVolume<uint8> volume({2, 3, 5});
  Progress progress;
  int calls = 0;
  Calling functor([&](uint8&) {
    if (++calls == 7) {  // the first voxel of the second slice
      aborted = true;
    }
  });
  ForEach::apply(&functor, volume.volume(), &progress, &aborted);
  EXPECT_EQ(calls, 12);
  EXPECT_EQ(progress.getProgress(), 0.99 / 5.0) << "the slice in which the abort came is not counted";
}

TEST(ForEach, APlainBoolAbortsToo) {
  const bool aborted = true;
  const TestVolume<uint8> volume({2, 3, 5});
  Progress progress;
  int calls = 0;
  Calling functor([&](uint8&) { ++calls; });
  ForEach::apply(&functor, volume.volume(), &progress, &aborted);
  EXPECT_EQ(calls, 6) << "the flag is tested after the slice";
  EXPECT_EQ(progress.getProgress(), 0.0);
}

TEST(ForEach, AnEmptyVolumeHasNothingToDo) {
  const bool aborted = false;
  Progress progress;
  Collect<uint8> collect;
  ForEach::apply(&collect, VolumePtr<uint8>(new Volume<uint8>()), &progress, &aborted);
  EXPECT_TRUE(collect.seen.empty());
  EXPECT_EQ(progress.getProgress(), 1.0);
}

TEST(ForEach, ARowOperationServesDenseRowsOnly) {
  struct Rows : Functor {
    void operator()(uint8&) { ++voxels; }
    void row(uint8*, SizeType count) { rows.push_back(count); }
    int voxels = 0;
    std::vector<SizeType> rows;
  };
  const bool aborted = false;
  const auto walk = [&](const Layout& layout) {
    Rows functor;
    Progress progress;
    ForEach::apply(&functor, TestVolume<uint8>({4, 3, 2}, layout).volume(), &progress, &aborted);
    return functor;
  };
  EXPECT_EQ(walk(denseLayout).rows, (std::vector<SizeType>{12, 12}));
  EXPECT_EQ(walk(regionLayout).rows, (std::vector<SizeType>{4, 4, 4, 4, 4, 4}));
  EXPECT_EQ(walk({{0, 3, 5}}).rows, (std::vector<SizeType>{4, 4, 4, 4, 4, 4}));
  EXPECT_EQ(walk({{1, 2, 4}}).voxels, 24);
  EXPECT_EQ(walk({{2, 0, 4}}).voxels, 24);
}

TEST(ForEachFailure, VolumesOfDifferentSizes) {
  const bool aborted = false;
  for (const Extents& size : {Extents{4, 2, 4}, Extents{3, 3, 4}, Extents{3, 2, 5}, Extents{4, 3, 2}}) {
    const TestVolume<uint8> first({3, 2, 4}), second(size);
    Progress progress;
    const Add add;
    expectFailure<Exceptions::InvalidArg>(
        [&] { ForEach::apply(&add, first.volume(), second.volume(), &progress, &aborted); },
        "At least two volumes have divering Dimensions", "NORV::Tavi::Iterating::ForEach::checkDimensions");
    expectFailure<Exceptions::InvalidArg>(
        [&] { ForEach::checkDimensions(first.volume(), first.volume(), second.volume()); },
        "At least two volumes have divering Dimensions", "NORV::Tavi::Iterating::ForEach::checkDimensions");
    expectSameVoxels(first.voxels(), std::vector<uint8>(24, 77));
  }
  ForEach::checkDimensions(TestVolume<uint8>({1, 1, 1}).volume());
}

TEST(ForEachFailure, AFailureOfTheFunctorPassesThrough) {
  const bool aborted = false;
  Progress progress;
  Calling functor([](uint8&) { throw std::domain_error("functor"); });
  expectStandard<std::domain_error>(
      [&] {
        ForEach::apply(&functor, TestVolume<uint8>({1, 1, 1}).volume(), &progress, &aborted);
      },
      "functor");
}

}  // namespace
}  // namespace NORV::Tests
