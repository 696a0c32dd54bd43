#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Operator.hpp>
#include <Tavi/Operator.hpp>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

using Tavi::Progress;
using Tavi::Volume;
using Tavi::VolumePtr;

/// A nested operator that tests steer.
class Step final : public IOperator {
public:
  std::function<void()> during = [] {};
  std::atomic<double> progress{0.0};
  std::atomic<int> aborts{0};
  int runs = 0;

  void apply(SmartPointer<IComposite> parameter) override {
    ++runs;
    given = parameter;
    during();
  }
  Progress getProgress() const override { return Progress(progress); }
  void abort() override { ++aborts; }

  SmartPointer<IComposite> given;
};

/// An operator that owns two others and does what a test wants.
class Outer final : public TaviOperators::Operator<Outer> {
public:
  Outer() {
    owns(first);
    owns(second);
  }
  std::string getType() const override { return "NORV::Tests::Outer"; }
  void apply(SmartPointer<IComposite> parameter) override {
    beginApply();
    body(parameter);
  }

  void execute(IOperator& step, const SmartPointer<IComposite>& parameter = {}) { executeOperator(step, parameter); }

  Step first, second;
  std::function<void(const SmartPointer<IComposite>&)> body = [](const SmartPointer<IComposite>&) {};
};

/// An operator with nothing but its own steps.
class Lone final : public TaviOperators::Operator<Lone> {
public:
  std::string getType() const override { return "NORV::Tests::Lone"; }
  void apply(SmartPointer<IComposite>) override {
    beginApply();
    body();
  }
  template <class T>
  VolumePtr<T> check(const SmartPointer<IVolume>& given, const Tavi::Dimension<SizeType>& dimension) const {
    return checkOutputVolume<VolumePtr<T>>(given, dimension);
  }
  std::function<void()> body = [] {};
};

double progressOf(const IOperator& op) { return op.getProgress().getProgress(); }

TEST(TypedOperator, IsALeafThatTheFactoryMakes) {
  const SmartPointer<IComposite> made = Tavi::Factory::getClassFactory().createInstance("NORV::Tests::Lone");
  EXPECT_EQ(made->getType(), "NORV::Tests::Lone");
  EXPECT_EQ(made->getNumberOfKeys(), 0u);
  EXPECT_TRUE(SmartPointer<IOperator>(made) != nullptr);
}

TEST(TypedOperatorProgress, OwnStepsCountAgainstTheirTotal) {
  Lone op;
  EXPECT_EQ(progressOf(op), 0.0);
  op.body = [&] {
    EXPECT_EQ(progressOf(op), 0.0) << "without a total there is no progress";
    op.advance();
    EXPECT_EQ(progressOf(op), 0.0);
    op.setTotal(4);
    EXPECT_EQ(progressOf(op), 0.25);
    op.advance();
    op.advance();
    EXPECT_EQ(progressOf(op), 0.75);
    op.advance();
    EXPECT_EQ(progressOf(op), 1.0);
    op.advance();
    EXPECT_EQ(progressOf(op), 1.0) << "more steps than announced";
  };
  op.apply(nullptr);
  op.body = [&] { EXPECT_EQ(progressOf(op), 0.0) << "a new run begins at zero"; };
  op.apply(nullptr);
}

TEST(TypedOperatorProgress, ATotalBeyond63BitsCountsAsNone) {
  Lone op;
  op.setTotal(SizeType{1} << 63);
  op.advance();
  EXPECT_EQ(progressOf(op), 0.0);
}

TEST(TypedOperatorProgress, NestedOperatorsAndOwnWorkWeighTheSame) {
  Outer op;
  EXPECT_EQ(progressOf(op), 0.0);
  op.body = [&](const SmartPointer<IComposite>&) {
    op.setTotal(2);
    op.advance();
    EXPECT_EQ(progressOf(op), (0.0 + 0.5 + 0.0) / 3.0);
    op.execute(op.second);
    EXPECT_EQ(progressOf(op), (0.0 + 0.5 + 1.0) / 3.0);
    op.execute(op.first);
    EXPECT_EQ(progressOf(op), (0.0 + 0.5 + 2.0) / 3.0);
    op.advance();
    EXPECT_EQ(progressOf(op), 1.0);
  };
  op.second.during = [&] {
    op.second.progress = 0.4;
    EXPECT_EQ(progressOf(op), (0.4 + 0.5 + 0.0) / 3.0);
  };
  op.first.during = [&] {
    op.first.progress = 1.0;
    EXPECT_EQ(progressOf(op), (1.0 + 0.5 + 1.0) / 3.0);
  };
  op.apply(nullptr);
  op.body = [&](const SmartPointer<IComposite>&) { EXPECT_EQ(progressOf(op), 0.0); };
  op.apply(nullptr);
}

TEST(TypedOperatorNesting, GivesTheParameterOn) {
  Outer op;
  const SmartPointer<IComposite> parameter(new Tavi::Persistence::Data<int32>(5));
  op.body = [&](const SmartPointer<IComposite>& given) { op.execute(op.first, given); };
  op.apply(parameter);
  EXPECT_TRUE(op.first.given == parameter);
}

TEST(TypedOperatorNesting, EachRunsOncePerApplyInAnyOrder) {
  Outer op;
  op.body = [&](const SmartPointer<IComposite>&) {
    op.execute(op.second);
    op.execute(op.first);
  };
  op.apply(nullptr);
  op.apply(nullptr);
  EXPECT_EQ(op.first.runs, 2);
  EXPECT_EQ(op.second.runs, 2);
}

TEST(TypedOperatorNestingFailure, ASecondRunInOneApply) {
  Outer op;
  op.body = [&](const SmartPointer<IComposite>&) {
    op.execute(op.first);
    op.execute(op.first);
  };
  expectStandard<std::runtime_error>(
      [&] { op.apply(nullptr); },
      "NORV::TaviOperators::Operator::executeOperator(): operator cannot be called anymore!");
  EXPECT_EQ(op.first.runs, 1);
}

TEST(TypedOperatorNestingFailure, AnOperatorThatWasNotRegistered) {
  Outer op;
  Step stranger;
  op.body = [&](const SmartPointer<IComposite>&) { op.execute(stranger); };
  expectStandard<std::runtime_error>(
      [&] { op.apply(nullptr); },
      "NORV::TaviOperators::Operator::executeOperator(): operator cannot be called anymore!");
  EXPECT_EQ(stranger.runs, 0);
  Outer before;  // nothing is pending outside a run
  expectStandard<std::runtime_error>(
      [&] { before.execute(before.first); },
      "NORV::TaviOperators::Operator::executeOperator(): operator cannot be called anymore!");
}

TEST(TypedOperatorNestingFailure, AFailureOfTheNestedOperatorLeavesApply) {
  Outer op;
  op.body = [&](const SmartPointer<IComposite>&) { op.execute(op.first); };
  op.first.during = [] { throw std::domain_error("nested"); };
  expectStandard<std::domain_error>([&] { op.apply(nullptr); }, "nested");
  op.first.during = [] {};
  op.apply(nullptr);
  EXPECT_EQ(op.first.runs, 2);
}

TEST(TypedOperatorAbort, ReachesTheNestedOperatorThatRunsAndKeepsTheNextFromRunning) {
  Outer op;
  op.body = [&](const SmartPointer<IComposite>&) {
    op.execute(op.first);
    EXPECT_TRUE(op.isAborted());
    op.execute(op.second);
    op.execute(op.first);  // after an abort this is no failure either
  };
  op.first.during = [&] { op.abort(); };
  op.apply(nullptr);
  EXPECT_EQ(op.first.aborts, 1);
  EXPECT_EQ(op.second.runs, 0);
  EXPECT_EQ(op.second.aborts, 0);
  op.abort();
  EXPECT_EQ(op.first.aborts, 1) << "nothing runs any more";

  op.first.during = [] {};
  op.body = [&](const SmartPointer<IComposite>&) {
    EXPECT_FALSE(op.isAborted()) << "a new run is not aborted";
    op.execute(op.first);
    op.execute(op.second);
  };
  op.apply(nullptr);
  EXPECT_EQ(op.second.runs, 1);
}

TEST(TypedOperatorAbort, MayComeFromAnotherThreadAtAnyTime) {
  Outer op;
  op.body = [&](const SmartPointer<IComposite>&) {
    op.setTotal(1);
    op.execute(op.first);
    op.advance();
    op.execute(op.second);
  };
  std::atomic<bool> ended{false};
  std::thread other([&] {
    while (!ended) {
      op.abort();
      const double progress = progressOf(op);
      EXPECT_GE(progress, 0.0);
      EXPECT_LE(progress, 1.0);
    }
  });
  for (int run = 0; run < 1000; ++run) {
    op.apply(nullptr);
  }
  ended = true;
  other.join();
}

TEST(CheckOutputVolume, AnAbsentOneIsMade) {
  const VolumePtr<int16> made = Lone().check<int16>(nullptr, Tavi::Dimension<SizeType>(2, 3, 4));
  EXPECT_EQ(made->getType(), volumeIdentifier<int16>());
  EXPECT_TRUE(made->getAllocatedDimension() == Tavi::Dimension<SizeType>(2, 3, 4));
}

TEST(CheckOutputVolume, AViewOfTheRightSizeStaysAsItIs) {
  for (const Layout& layout : allLayouts()) {
    const TestVolume<int16> given({2, 3, 4}, layout);
    given.fill({5, 6, 7});
    const std::vector<int16> before = given.voxels();
    EXPECT_TRUE(Lone().check<int16>(given, Tavi::Dimension<SizeType>(2, 3, 4)) == given.volume());
    expectSameVoxels(given.voxels(), before);
    given.expectUntouchedOutside();
  }
}

TEST(CheckOutputVolume, AViewOfAnotherSizeIsResizedWhateverItsRegionAndOrientation) {
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    for (const Extents& wanted :
         {Extents{2, 3, 5}, Extents{3, 2, 4}, Extents{4, 3, 2}, Extents{9, 1, 1}, Extents{6, 6, 7}, Extents{0, 0, 0}}) {
      const TestVolume<int16> given({2, 3, 4}, layout);
      const Tavi::Dimension<SizeType> dimension(wanted[0], wanted[1], wanted[2]);
      EXPECT_TRUE(Lone().check<int16>(given, dimension) == given.volume());
      EXPECT_TRUE(given.volume()->getDimension() == dimension);
    }
  }
}

TEST(CheckOutputVolumeFailure, AnotherVoxelTypeOrAllocator) {
  const std::string text = "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type";
  const Tavi::Dimension<SizeType> dimension(1, 1, 1);
  expectRefusal([&] { Lone().check<int16>(TestVolume<uint16>({1, 1, 1}), dimension); }, text);
  const SmartPointer<IVolume> other(VolumePtr<int16, Tavi::Allocator::MultiBlockAllocator>(
      new Volume<int16, Tavi::Allocator::MultiBlockAllocator>(dimension)));
  expectRefusal([&] { Lone().check<int16>(other, dimension); }, text);
}

TEST(CheckOutputVolumeFailure, ExtentsThatNoMemoryHoldsAreBadAllocAndLoseNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const TestVolume<int16> given({2, 3, 4});
  given.fill({5, 6, 7});
  const SizeType side = SizeType{1} << 20;
  const Tavi::Dimension<SizeType> tooLarge(side, side, side);
  EXPECT_THROW(Lone().check<int16>(nullptr, tooLarge), std::bad_alloc);
  EXPECT_THROW(Lone().check<int16>(given, tooLarge), std::bad_alloc);
  EXPECT_TRUE(Lone().check<int16>(given, Tavi::Dimension<SizeType>(2, 2, 2)) == given.volume());
  EXPECT_EQ(given.volume()->getSize(), 8u);
}

/// An operator of the core.
class CoreOperator final : public Tavi::Operator<CoreOperator> {
public:
  std::string getType() const override { return "NORV::Tests::CoreOperator"; }
  void apply(SmartPointer<IComposite>) override {
    beginApply();
    EXPECT_FALSE(isAborted());
    EXPECT_EQ(getProgress().getProgress(), 0.0);
    _progress.setProgress(0.5);
    abort();
    EXPECT_TRUE(isAborted());
  }
  VolumePtr<uint8> check(const SmartPointer<IVolume>& given) const {
    return checkOutputVolume<VolumePtr<uint8>>(given, Tavi::Dimension<SizeType>(1, 2, 3));
  }
};

TEST(CoreOperator, BeginsEachRunAnewAndChecksOutputsUnderItsOwnName) {
  CoreOperator op;
  op.apply(nullptr);
  EXPECT_EQ(progressOf(op), 0.5);
  op.apply(nullptr);
  EXPECT_TRUE(op.check(nullptr)->getDimension() == Tavi::Dimension<SizeType>(1, 2, 3));
  expectRefusal(
      [&] {
        op.check(TestVolume<int8>({1, 1, 1}));
      },
      "NORV::Tavi::Operator::checkOutputVolume volume is of the wrong type");
}

}  // namespace
}  // namespace NORV::Tests
