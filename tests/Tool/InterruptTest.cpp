#include <Interrupt.hpp>
#include <Session.hpp>
#include <Tavi/CompositeOfProperties.hpp>

#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <pty.h>

#include <atomic>

namespace NORV::HostTest {
namespace {

using namespace std::chrono_literals;
using TaviTool::Session;

/// A sparse REK file: long to read, short to write.
void writeLargeRek(const std::string& name, int16 x, int16 y, int16 z) {
  writeRek<uint8>(name, x, y, z, {});
  ASSERT_EQ(::truncate(name.c_str(), 2048 + static_cast<off_t>(x) * y * z), 0);
}

class NoKeys final : public Tavi::Persistence::CompositeOfProperties<NoKeys> {
public:
  std::string getType() const override { return "NORV::HostTest::NoKeys"; }
};

/// Runs until it is told to stop, and is deaf at first, as a frame is before its typed operator exists.
class Endless final : public Tavi::IOperator {
public:
  void apply(Tavi::SmartPointer<Tavi::Persistence::IComposite>) override {
    started = true;
    while (aborts < 3) {
      std::this_thread::sleep_for(1ms);
    }
  }
  Tavi::Progress getProgress() const override { return Tavi::Progress(0.25); }
  void abort() override { ++aborts; }

  std::atomic<bool> started{false};
  std::atomic<int> aborts{0};
};

TEST(ToolInterrupt, AsksTheOperatorUntilItStops) {
  TaviTool::Interrupt::install();
  Endless endless;
  std::thread user([&] {
    while (!endless.started) {
      std::this_thread::yield();
    }
    ::kill(::getpid(), SIGTERM);  // as SIGINT, and never ignored by a runner
  });
  Session session;
  session.quiet = true;
  session.hasWritten("first.rek");
  std::string text;
  int number = 0;
  try {
    session.run("Endless", endless, Tavi::SmartPointer<Tavi::Persistence::IComposite>(new NoKeys), "turn in circles");
  } catch (const TaviTool::Interrupted& e) {
    text = e.what();
    number = e.signal();
  }
  user.join();
  TaviTool::Interrupt::reset();
  EXPECT_EQ(text, "interrupted (turn in circles): first.rek is complete");
  EXPECT_EQ(number, SIGTERM);
  EXPECT_GE(endless.aborts, 3);
}

TEST(ToolInterrupt, EndsTheProcessWithStatus130AndTellsWhatIsLeft) {
  writeLargeRek("large.rek", 1024, 1024, 512);
  writeFile("out.rek", "old");
  Running tool({"run", "Saturation", "inputVolume=large.rek", "inputLowerLimit=0", "inputUpperLimit=9",
                "outputVolume=out.rek", "--progress"});
  ASSERT_TRUE(tool.waitForError("tavi: load large.rek\n"));
  tool.signal(SIGINT);
  const Outcome outcome = tool.finish();
  ::unlink("large.rek");
  EXPECT_EQ(outcome.status, 130);
  EXPECT_EQ(outcome.err, "tavi: load large.rek\ntavi: interrupted (load large.rek): nothing was written\n");
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(readFile("out.rek"), "old");
}

TEST(ToolInterrupt, LeavesNoPartialFileBehind) {
  writeLargeRek("large.rek", 1024, 1024, 256);
  writeFile("out.rek", "old");
  Running tool({"run", "Saturation", "inputVolume=large.rek", "inputLowerLimit=0", "inputUpperLimit=9",
                "outputVolume=out.rek", "--progress"});
  ASSERT_TRUE(tool.waitForError("tavi: save out.rek\n"));
  tool.signal(SIGINT);
  const Outcome outcome = tool.finish();
  ::unlink("large.rek");
  EXPECT_EQ(outcome.status, 130);
  EXPECT_TRUE(outcome.err.ends_with("tavi: interrupted (save out.rek): nothing was written\n")) << outcome.err;
  EXPECT_EQ(readFile("out.rek"), "old");
  EXPECT_FALSE(exists("out.partial.rek"));
}

TEST(ToolInterrupt, TheSecondSignalEndsAtOnce) {
  const pid_t child = ::fork();
  if (child == 0) {
    std::signal(SIGINT, SIG_DFL);
    TaviTool::Interrupt::install();
    writeFile("half.rek", "half");
    const TaviTool::Interrupt::RemovesAtEnd guard("half.rek");
    ::raise(SIGINT);
    if (TaviTool::Interrupt::signal() != SIGINT || !exists("half.rek")) {
      ::_exit(1);
    }
    ::raise(SIGINT);
    ::_exit(2);
  }
  EXPECT_EQ(statusOf(child), 130);
  EXPECT_FALSE(exists("half.rek"));
}

TEST(ToolInterrupt, StaysIgnoredWhereItWasIgnored) {
  const pid_t child = ::fork();
  if (child == 0) {
    std::signal(SIGINT, SIG_IGN);
    TaviTool::Interrupt::install();
    ::raise(SIGINT);
    ::_exit(TaviTool::Interrupt::signal());
  }
  EXPECT_EQ(statusOf(child), 0);
}

TEST(ToolProgress, LineHasABarWithElapsedAndRemainingTime) {
  EXPECT_EQ(TaviTool::progressText("load", 0.25, 3.0),
            "load  [#######.......................]  25 %  3.0 s, 9.0 s left");
  EXPECT_EQ(TaviTool::progressText("load", 1.0, 3.0), "load  [##############################] 100 %  3.0 s");
  EXPECT_EQ(TaviTool::progressText("Saturation", 0.0, 75.0), "Saturation  1 min 15 s");
  EXPECT_EQ(TaviTool::timeText(0.0123), "0.012 s");
  EXPECT_EQ(TaviTool::timeText(7380.0), "2 h 03 min");
}

/// Takes until its share of progress has been asked for a few times.
class Watched final : public Tavi::IOperator {
public:
  void apply(Tavi::SmartPointer<Tavi::Persistence::IComposite>) override {
    while (asked < 2) {
      std::this_thread::sleep_for(1ms);
    }
  }
  Tavi::Progress getProgress() const override {
    ++asked;
    return Tavi::Progress(0.5);
  }
  void abort() override {}
  mutable std::atomic<int> asked{0};
};

TEST(ToolProgress, BarIsDrawnOnATerminal) {
  ::setenv("TERM", "xterm", 1);
  int terminal = -1, line = -1;
  ASSERT_EQ(::openpty(&terminal, &line, nullptr, nullptr, nullptr), 0);
  const int errors = ::dup(STDERR_FILENO);
  ::dup2(line, STDERR_FILENO);
  ::close(line);
  Watched watched;
  Session session;
  session.run("Watched", watched, Tavi::SmartPointer<Tavi::Persistence::IComposite>(new NoKeys), "watch");
  ::dup2(errors, STDERR_FILENO);
  ::close(errors);
  std::string seen;
  char buffer[1024];
  for (ssize_t size = 0; (size = ::read(terminal, buffer, sizeof buffer)) > 0;) {
    seen.append(buffer, static_cast<std::size_t>(size));
  }
  ::close(terminal);
  EXPECT_NE(seen.find("\r\033[Kwatch  [###############...............]  50 %  0."), std::string::npos) << seen;
  EXPECT_NE(seen.find("\r\033[Ktavi: watch: done in 0."), std::string::npos) << seen;
}

}  // namespace
}  // namespace NORV::HostTest
