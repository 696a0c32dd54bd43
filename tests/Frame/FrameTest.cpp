#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/ExtremeValueCalculation.hpp>
#include <DLL/Operator.hpp>
#include <DLL/Saturation.hpp>
#include <ExtremeValueCalculation.hpp>
#include <Operator.hpp>
#include <Saturation.hpp>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace NORV::Tests {
namespace {

using Tavi::Progress;

/// What a test wants to happen while an operator runs, and what became of the operator.
struct Script {
  std::function<void()> during = [] {};
  std::atomic<int> living{0};
  std::atomic<int> aborts{0};
  std::atomic<double> progress{0.0};
};

/// An operator without a parameter object of its own, which plays a script.
class Played final : public IOperator {
public:
  explicit Played(Script& script) : _script(script) { ++_script.living; }
  ~Played() override { --_script.living; }
  void apply(SmartPointer<IComposite>) override { _script.during(); }
  Progress getProgress() const override { return Progress(_script.progress); }
  void abort() override { ++_script.aborts; }

private:
  Script& _script;
};

class PlayedFrame final : public TaviOperators::DLL::Operator {
public:
  explicit PlayedFrame(Script& script) : _script(script) {}

  std::function<void()> whenAsked = [] {};

protected:
  SmartPointer<IOperator> getOperatorFromParameterObject(SmartPointer<IComposite>) const override {
    whenAsked();
    return SmartPointer<IOperator>(new Played(_script));
  }

private:
  Script& _script;
};

SmartPointer<IComposite> anyParameter() { return makeParameter<TaviOperators::Saturation::Parameter>(); }

TEST(Frame, ReportsTheProgressOfTheRunningOperatorAndOneAtTheEnd) {
  Script script;
  PlayedFrame frame(script);
  EXPECT_EQ(frame.getProgress().getProgress(), 0.0);
  script.during = [&] {
    EXPECT_EQ(script.living, 1);
    EXPECT_EQ(frame.getProgress().getProgress(), 0.0);
    script.progress = 0.25;
    EXPECT_EQ(frame.getProgress().getProgress(), 0.25);
  };
  frame.apply(anyParameter());
  EXPECT_EQ(script.living, 0) << "the typed operator is dropped after the run";
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
}

TEST(Frame, TheProgressBeginsAgainAtZero) {
  Script script;
  PlayedFrame frame(script);
  frame.apply(anyParameter());
  frame.whenAsked = [&] { EXPECT_EQ(frame.getProgress().getProgress(), 0.0); };
  frame.apply(anyParameter());
}

TEST(Frame, AbortReachesTheRunningOperatorOnly) {
  Script script;
  PlayedFrame frame(script);
  frame.abort();
  script.during = [&] { frame.abort(); };
  frame.apply(anyParameter());
  EXPECT_EQ(script.aborts, 1);
  frame.abort();
  EXPECT_EQ(script.aborts, 1);
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
}

TEST(Frame, CopiesShareTheRunningOperatorAndCopyTheProgress) {
  Script script;
  PlayedFrame frame(script);
  script.progress = 0.5;
  script.during = [&] {
    PlayedFrame copy(frame);
    copy.abort();
    EXPECT_EQ(script.aborts, 1);
    EXPECT_EQ(copy.getProgress().getProgress(), 0.5);
  };
  frame.apply(anyParameter());
  EXPECT_EQ(script.living, 0);
  PlayedFrame copy(frame);
  EXPECT_EQ(copy.getProgress().getProgress(), 1.0);
  Script other;
  PlayedFrame fresh(other);
  const TaviOperators::DLL::Operator& source = fresh;
  static_cast<TaviOperators::DLL::Operator&>(copy) = source;
  EXPECT_EQ(copy.getProgress().getProgress(), 0.0);
}

TEST(FrameFailure, ANullParameterIsRefusedBeforeTheOperatorIsAskedFor) {
  Script script;
  PlayedFrame frame(script);
  frame.apply(anyParameter());
  frame.whenAsked = [] { ADD_FAILURE(); };
  expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  EXPECT_EQ(frame.getProgress().getProgress(), 0.0);
}

TEST(FrameFailure, AFailureOfTheRunReachesTheHostUnchangedAndTheOperatorIsDropped) {
  Script script;
  PlayedFrame frame(script);
  script.progress = 0.75;
  script.during = [&] {
    EXPECT_EQ(frame.getProgress().getProgress(), 0.75);
    throw std::domain_error("as it is");
  };
  expectStandard<std::domain_error>([&] { frame.apply(anyParameter()); }, "as it is");
  EXPECT_EQ(script.living, 0);
  EXPECT_EQ(frame.getProgress().getProgress(), 0.75);
  frame.abort();
  EXPECT_EQ(script.aborts, 0);
  script.during = [] { throw 7; };
  EXPECT_THROW(frame.apply(anyParameter()), int);
  EXPECT_EQ(script.living, 0);
  script.during = [] {};
  frame.apply(anyParameter());
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
}

TEST(FrameFailure, AFailureWhileTheOperatorIsMadeLeavesNothingBehind) {
  Script script;
  PlayedFrame frame(script);
  frame.whenAsked = [] { throw std::domain_error("no such operator"); };
  expectStandard<std::domain_error>([&] { frame.apply(anyParameter()); }, "no such operator");
  EXPECT_EQ(script.living, 0);
  EXPECT_EQ(frame.getProgress().getProgress(), 0.0);
}

/// `abort` and `getProgress` meet a run at any point, also its end: they see the operator or nothing.
TEST(FrameRace, AbortAndGetProgressMayMeetARunAtAnyPoint) {
  const RuntimeSettings settings;
  TaviOperators::DLL::ExtremeValueCalculation::Operator frame;
  const TestVolume<uint8> volume({16, 4, 12});
  std::atomic<bool> ended{false};
  std::vector<std::thread> others;
  for (int i = 0; i < 2; ++i) {
    others.emplace_back([&, i] {
      while (!ended) {
        const double progress = frame.getProgress().getProgress();
        EXPECT_GE(progress, 0.0);
        EXPECT_LE(progress, 1.0);
        if (i == 0) {
          frame.abort();
        }
      }
    });
  }
  for (int run = 0; run < 500; ++run) {
    const auto parameter = makeParameter<TaviOperators::ExtremeValueCalculation::Parameter>();
    parameter->inputVolume = volume;
    parameter->inputNumberOfThreads = run % 3;
    frame.apply(parameter);
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0) << "a poll that began earlier wrote its share over the end";
  }
  ended = true;
  for (std::thread& other : others) {
    other.join();
  }
}

TEST(FrameRace, TheOperatorIsNotDeletedUnderAPoll) {
  Script script;
  PlayedFrame frame(script);
  script.progress = 0.5;
  std::atomic<bool> ended{false};
  std::thread other([&] {
    while (!ended) {
      frame.abort();
      const double progress = frame.getProgress().getProgress();
      EXPECT_TRUE(progress == 0.0 || progress == 0.5 || progress == 1.0) << progress;
    }
  });
  for (int run = 0; run < 3000; ++run) {
    frame.apply(anyParameter());
  }
  ended = true;
  other.join();
  EXPECT_EQ(script.living, 0);
}

}  // namespace
}  // namespace NORV::Tests
