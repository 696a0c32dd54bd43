#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"

#include <Tavi/Exceptions.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <typeinfo>
#include <vector>

using namespace NORV;
using namespace NORV::Exceptions;

namespace {

const std::string doubleRule(71, '=');
const std::string singleRule(71, '-');

class RecordingSink final : public IReportSink {
public:
  RecordingSink() { addReportSink(*this); }
  RecordingSink(const RecordingSink&) = delete;
  RecordingSink& operator=(const RecordingSink&) = delete;
  ~RecordingSink() override { removeReportSink(*this); }

  void print(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    lines.emplace_back(text);
  }

  std::vector<std::string> lines;
};

/// One failure of each kind and form, with the texts that it must have.
struct Case {
  std::function<Exception*()> make;
  const std::type_info* type;
  std::string name, gui, error;
};

template <class Failure, class... Args>
Case fails(const std::string& name, const std::string& gui, const std::string& error, Args... args) {
  return {[=]() -> Exception* { return new Failure("thrower", args...); }, &typeid(Failure), name, gui, error};
}

std::vector<Case> allCases() {
  const std::string arg = "Invalid argument!", state = "An invalid state occured!", data = "Invalid data!",
                    range = "Out of range!", index = "Index out of range!", null = "NULL pointer!", cast = "Bad cast!",
                    overflow = "Numercial overflow!", support = "Function is not supported!";
  const std::string path = "/volumes/engine.rek";
  return {
      fails<InvalidArg>("InvalidArg", arg, "Invalid argument!"),
      fails<InvalidArg>("InvalidArg", arg, "Given position is ouside volume!", "Given position is ouside volume!"),
      fails<InvalidArg>("InvalidArg", arg, "3 of x", "%d of %s", 3, "x"),
      fails<InvalidState>("InvalidState", state, ""),
      fails<InvalidState>("InvalidState", state, "7 owners", "%d owners", 7),
      fails<InvalidData>("InvalidData", data, "The data do not meet the conditions!"),
      fails<InvalidData>("InvalidData", data, "row 12", "row %d", 12),
      fails<OutOfRange>("OutOfRange", range, "A value is out of the valid range!"),
      fails<OutOfRange>("OutOfRange", range, "2.5 is too much", "%.1f is too much", 2.5),
      fails<IndexOutOfRange>("IndexOutOfRange", index, "The index is out of the valid range!"),
      fails<IndexOutOfRange>("IndexOutOfRange", index, "not such key x", std::string("not such key x")),
      fails<IndexOutOfRange>("IndexOutOfRange", index, "The index 9 is out of the valid range (2 to 7)!", uint64{9},
                             uint64{2}, uint64{7}),
      fails<NULLPointer>("NULLPointer", null, "NULL pointer!"),
      fails<NULLPointer>("NULLPointer", null, "The pointer variable '_value' is a NULL pointer", "_value"),
      fails<BadCast>("BadCast", cast, "A datatype couldn't be castet!"),
      fails<BadCast>("BadCast", cast, "The data type 'A' couldn't be convertet to 'B'!", std::string("A"),
                     std::string("B")),
      fails<BadCast>("BadCast", cast, "The data type 'A' couldn't be convertet to another data type!", std::string("A"),
                     std::string()),
      fails<BadCast>("BadCast", cast, "A data type couldn't be convertet to 'B'!", std::string(), std::string("B")),
      fails<NumericalOverflow>("NumericalOverflow", overflow, "Numercial overflow!"),
      fails<NumericalOverflow>("NumericalOverflow", overflow, "1 + 1", "%d + %d", 1, 1),
      fails<NotSupported>("NotSupported", support, "Function is not supported!"),
      fails<NotSupported>("NotSupported", support, "no BMP", "no %s", "BMP"),
      fails<File>("File", "", ""),
      fails<FileOpen>("FileOpen", "Couldn't open file!", "Couldn't open file!"),
      fails<FileOpen>("FileOpen", "Couldn't open file!", "Couldn't open file '/volumes/engine.rek'!", path),
      fails<FileCreate>("FileCreate", "Couldn't create file!", "Couldn't create file!"),
      fails<FileCreate>("FileCreate", "Couldn't create file!", "Couldn't create file '/volumes/engine.rek'!", path),
      fails<FileRead>("FileRead", "Couldn't read from file!", "Couldn't read from file!"),
      fails<FileRead>("FileRead", "Couldn't read from file!", "Couldn't read from file '/volumes/engine.rek'!", path),
      fails<FileWrite>("FileWrite", "Couldn't write to file!", "Couldn't write to file!"),
      fails<FileWrite>("FileWrite", "Couldn't write to file!", "Couldn't write to file '/volumes/engine.rek'!", path),
      fails<BadFile>("BadFile", "", ""),
      fails<BadFile>("BadFile", "", "2048 bytes", "%d bytes", 2048),
  };
}

void expectSame(const Exception& a, const Exception& b) {
  EXPECT_TRUE(typeid(a) == typeid(b));
  EXPECT_STREQ(a.what(), b.what());
  EXPECT_STREQ(a.getClassName(), b.getClassName());
  EXPECT_STREQ(a.getErrorMessage(), b.getErrorMessage());
  EXPECT_STREQ(a.getGuiMessage(), b.getGuiMessage());
  EXPECT_STREQ(a.getOrigin(), b.getOrigin());
  EXPECT_STREQ(a.getFile(), b.getFile());
  EXPECT_EQ(a.getLine(), b.getLine());
  EXPECT_EQ(a.getErrorCode(), b.getErrorCode());
  EXPECT_EQ(a.isDamaged(), b.isDamaged());
  EXPECT_EQ(a.getAdditionalInformation(), b.getAdditionalInformation());
}

template <class Caught>
bool isCaughtAs(const Exception& failure) {
  try {
    failure.rethrow();
  } catch (const Caught&) {
    return true;
  } catch (...) {
  }
  return false;
}

template <class Failure, class Standard>
void expectCaughtBothWays() {
  const Failure failure("thrower");
  EXPECT_TRUE(isCaughtAs<Failure>(failure));
  EXPECT_TRUE(isCaughtAs<Exception>(failure));
  EXPECT_TRUE(isCaughtAs<Standard>(failure));
  EXPECT_FALSE(isCaughtAs<std::exception>(failure)) << "two bases std::exception make that handler ambiguous";
  const Standard& standard = failure;
  EXPECT_STREQ(standard.what(), failure.getGuiMessage()) << "as seen by a handler of the standard class";
}

/// A host's own class, which asks for every group of the report.
class Verbose final : public Exception {
public:
  explicit Verbose(const std::vector<const char*>& information, unsigned groups = reportAll)
      : Exception("verbose", "short", "long", 4711) {
    for (const char* text : information) {
      addAdditionalInformation(text);
    }
    report(groups);
  }
  const char* getClassName() const noexcept override { return "Verbose"; }
  Exception* clone() const override { return new Verbose(*this); }
  [[noreturn]] void rethrow() const override { throw Verbose(*this); }
};

std::string inTermination(const char* text) { return std::string("^") + text; }

}  // namespace

TEST(ExceptionFailures, EachClassAndFormHasItsWholeTexts) {
  for (const Case& expected : allCases()) {
    SCOPED_TRACE(expected.name + ": " + expected.error);
    const std::unique_ptr<Exception> failure(expected.make());
    const Exception& made = *failure;
    EXPECT_TRUE(typeid(made) == *expected.type);
    EXPECT_EQ(failure->getClassName(), expected.name);
    EXPECT_EQ(failure->getGuiMessage(), expected.gui);
    EXPECT_EQ(failure->what(), expected.gui);
    EXPECT_EQ(failure->getErrorMessage(), expected.error);
    EXPECT_STREQ(failure->getOrigin(), "thrower");
    EXPECT_EQ(failure->getErrorCode(), 0);
    EXPECT_FALSE(failure->isDamaged());
    EXPECT_TRUE(std::string(failure->getFile()).ends_with("ExceptionsTest.cpp")) << failure->getFile();
    EXPECT_GT(failure->getLine(), 0);
  }
}

TEST(ExceptionFailures, OriginNamesTheVeryLineOfTheThrowExpression) {
  const InvalidArg failure("here");
  EXPECT_EQ(failure.getLine(), __LINE__ - 1);
  EXPECT_STREQ(failure.getFile(), __FILE__);
}

TEST(ExceptionFailures, CloneIsAnIndependentCopyOfTheMostDerivedClass) {
  for (const Case& expected : allCases()) {
    SCOPED_TRACE(expected.name);
    const std::unique_ptr<Exception> failure(expected.make());
    failure->addAdditionalInformation("one");
    const std::unique_ptr<Exception> copy(failure->clone());
    expectSame(*copy, *failure);
    copy->addAdditionalInformation("two");
    EXPECT_EQ(copy->getNumberOfAdditionalInformation(), failure->getNumberOfAdditionalInformation() + 1);
  }
}

TEST(ExceptionFailures, RethrowThrowsACopyOfTheMostDerivedClass) {
  for (const Case& expected : allCases()) {
    SCOPED_TRACE(expected.name);
    const std::unique_ptr<Exception> failure(expected.make());
    try {
      failure->rethrow();
    } catch (const Exception& caught) {
      EXPECT_NE(&caught, failure.get());
      expectSame(caught, *failure);
    }
  }
}

TEST(ExceptionFailures, ClassesThatBelongToAStandardClassAreCaughtAsEither) {
  expectCaughtBothWays<InvalidArg, std::invalid_argument>();
  expectCaughtBothWays<InvalidState, std::runtime_error>();
  expectCaughtBothWays<InvalidData, std::runtime_error>();
  expectCaughtBothWays<OutOfRange, std::out_of_range>();
  expectCaughtBothWays<IndexOutOfRange, std::out_of_range>();
  expectCaughtBothWays<NULLPointer, std::invalid_argument>();
  expectCaughtBothWays<BadCast, std::bad_cast>();
  expectCaughtBothWays<NumericalOverflow, std::overflow_error>();
}

TEST(ExceptionFailures, ClassesWithoutAStandardClassAreCaughtAsStdException) {
  EXPECT_TRUE(isCaughtAs<std::exception>(NotSupported("thrower")));
  EXPECT_TRUE(isCaughtAs<std::exception>(File("thrower")));
  EXPECT_TRUE(isCaughtAs<std::exception>(FileOpen("thrower")));
  EXPECT_FALSE(isCaughtAs<std::runtime_error>(NotSupported("thrower")));
}

TEST(ExceptionFailures, FileFailuresAreCaughtAsFile) {
  EXPECT_TRUE(isCaughtAs<File>(FileOpen("thrower")));
  EXPECT_TRUE(isCaughtAs<File>(FileCreate("thrower")));
  EXPECT_TRUE(isCaughtAs<File>(FileRead("thrower")));
  EXPECT_TRUE(isCaughtAs<File>(FileWrite("thrower")));
  EXPECT_TRUE(isCaughtAs<File>(BadFile("thrower")));
  EXPECT_FALSE(isCaughtAs<File>(NotSupported("thrower")));
}

TEST(ExceptionFailures, IndexOutOfRangeIsNoOutOfRange) {
  EXPECT_FALSE(isCaughtAs<OutOfRange>(IndexOutOfRange("thrower")));
  EXPECT_FALSE((std::is_base_of_v<OutOfRange, IndexOutOfRange>));
}

TEST(ExceptionFailures, RangeFormOfIndexOutOfRangeAppendsTheThreeNumbers) {
  const IndexOutOfRange failure("thrower", 5000000000, 1, 4000000000);
  EXPECT_EQ(
      failure.getAdditionalInformation(),
      (std::vector<std::string>{"Current index = 5000000000", "Min valid index = 1", "Max valid index = 4000000000"}));
  EXPECT_EQ(failure.getNumberOfAdditionalInformation(), 3u);
}

TEST(ExceptionFailures, RangeOfAnEmptySequenceEndsAtMinusOne) {
  const IndexOutOfRange failure("thrower", 0, 0, ~uint64{0});
  EXPECT_STREQ(failure.getErrorMessage(), "The index 0 is out of the valid range (0 to -1)!");
  EXPECT_EQ(failure.getAdditionalInformation(),
            (std::vector<std::string>{"Current index = 0", "Min valid index = 0", "Max valid index = -1"}));
}

TEST(ExceptionFailures, LongTextsAreRenderedWhole) {
  const std::string longText(100000, 'x');
  const InvalidArg failure("thrower", "[%s]", longText.c_str());
  EXPECT_EQ(failure.getErrorMessage(), "[" + longText + "]");
}

TEST(ExceptionFailures, NullAdditionalInformationIsIgnored) {
  InvalidArg failure("thrower");
  failure.addAdditionalInformation(nullptr);
  EXPECT_EQ(failure.getNumberOfAdditionalInformation(), 0u);
  EXPECT_FALSE(failure.isDamaged());
  failure.addAdditionalInformation("slice 3");
  EXPECT_EQ(failure.getAdditionalInformation(), std::vector<std::string>{"slice 3"});
}

TEST(ExceptionFailures, ExhaustedMemoryDamagesTheFailureButDoesNotReplaceIt) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::string message = "The pointer variable '%s' is no pointer at all";
  int damaged = 0;
  for (std::size_t allowed = 0;; ++allowed) {
    alignas(InvalidArg) char place[sizeof(InvalidArg)];
    InvalidArg* made = nullptr;
    {
      const Tests::FailingAllocation limit(allowed);
      made = new (place) InvalidArg("NORV::Tavi::A::function::with::a::long::name", message.c_str(), "_value");
    }
    const bool complete =
        std::string(made->getErrorMessage()) == "The pointer variable '_value' is no pointer at all" &&
        std::string(made->getOrigin()) == "NORV::Tavi::A::function::with::a::long::name" &&
        std::string(made->what()) == "Invalid argument!" && std::string(made->getFile()) == __FILE__;
    EXPECT_EQ(made->isDamaged(), !complete) << allowed;
    damaged += made->isDamaged();
    const bool wasDamaged = made->isDamaged();
    made->~InvalidArg();
    if (!wasDamaged) {
      break;
    }
  }
  EXPECT_GE(damaged, 3) << "error message, GUI message, origin and file need memory of their own";
}

TEST(ExceptionFailures, ExhaustedMemoryWhileCopyingOrAppendingSetsTheDamagedFlag) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  InvalidArg failure("thrower", "a text that is longer than any small string");
  {
    const Tests::FailingAllocation limit(0);
    failure.addAdditionalInformation("a text that is longer than any small string");
  }
  EXPECT_TRUE(failure.isDamaged());
  EXPECT_EQ(failure.getNumberOfAdditionalInformation(), 0u);

  const InvalidArg whole("thrower", "a text that is longer than any small string");
  alignas(InvalidArg) char place[sizeof(InvalidArg)];
  InvalidArg* copy = nullptr;
  {
    const Tests::FailingAllocation limit(0);
    copy = new (place) InvalidArg(whole);
  }
  EXPECT_TRUE(copy->isDamaged());
  EXPECT_FALSE(whole.isDamaged());
  copy->~InvalidArg();
}

TEST(ExceptionReportFailures, ConstructionWritesTheGuiAndOriginGroupsToEverySink) {
  RecordingSink first, second;
  const int line = __LINE__ + 1;
  const InvalidArg failure("NORV::Tavi::Volume::getOffset", "Given position is ouside volume!");
  const std::vector<std::string> expected{doubleRule + "\n",
                                          "InvalidArg was thrown!\n",
                                          singleRule + "\n",
                                          "Error message:   Given position is ouside volume!\n",
                                          "GUI message:     Invalid argument!\n",
                                          "Origin:          NORV::Tavi::Volume::getOffset\n",
                                          std::string("File:            ") + __FILE__ + "\n",
                                          "Line:            " + std::to_string(line) + "\n",
                                          doubleRule + "\n"};
  EXPECT_EQ(first.lines, expected);
  EXPECT_EQ(second.lines, expected);
}

TEST(ExceptionReportFailures, EachClassReportsOnceUnderItsOwnName) {
  for (const Case& expected : allCases()) {
    SCOPED_TRACE(expected.name);
    RecordingSink sink;
    const std::unique_ptr<Exception> failure(expected.make());
    const std::unique_ptr<Exception> copy(failure->clone());
    ASSERT_GE(sink.lines.size(), 2u);
    EXPECT_EQ(sink.lines[1], expected.name + " was thrown!\n");
    EXPECT_EQ(std::count(sink.lines.begin(), sink.lines.end(), doubleRule + "\n"), 2);
    EXPECT_EQ(std::count(sink.lines.begin(), sink.lines.end(), "Error message:   " + expected.error + "\n"),
              expected.error.empty() ? 0 : 1);
    EXPECT_EQ(std::count(sink.lines.begin(), sink.lines.end(), "GUI message:     " + expected.gui + "\n"),
              expected.gui.empty() ? 0 : 1);
  }
}

TEST(ExceptionReportFailures, EmptyFieldsAreNotPrinted) {
  RecordingSink sink;
  const File failure("");
  EXPECT_EQ(sink.lines,
            (std::vector<std::string>{doubleRule + "\n", "File was thrown!\n", singleRule + "\n",
                                      std::string("File:            ") + __FILE__ + "\n",
                                      "Line:            " + std::to_string(__LINE__ - 4) + "\n", doubleRule + "\n"}));
}

TEST(ExceptionReportFailures, AllGroupsStandInTheirOrder) {
  RecordingSink sink;
  const int line = __LINE__ - 1;
  const Verbose failure({"first", "second", "third"});
  EXPECT_EQ(failure.getErrorCode(), 4711);
  ASSERT_EQ(sink.lines.size(), 13u);
  const std::vector<std::string> expected{doubleRule + "\n",
                                          "Verbose was thrown!\n",
                                          singleRule + "\n",
                                          "Error message:   long\n",
                                          "GUI message:     short\n",
                                          "Origin:          verbose\n",
                                          std::string("File:            ") + __FILE__ + "\n",
                                          "Line:            " + std::to_string(failure.getLine()) + "\n",
                                          "Error code:      4711\n",
                                          "Additional Info: first\n",
                                          "                 second\n",
                                          "                 third\n",
                                          doubleRule + "\n"};
  EXPECT_EQ(sink.lines, expected);
  EXPECT_LT(failure.getLine(), line) << "the line of the class, where the origin is named";
}

TEST(ExceptionReportFailures, FlagsSelectTheGroups) {
  const auto report = [](unsigned groups) {
    RecordingSink sink;
    const Verbose failure({"first"}, groups);
    EXPECT_GE(sink.lines.size(), 5u);
    return std::vector<std::string>(sink.lines.begin() + 3, sink.lines.end() - 1);
  };
  const std::string error = "Error message:   long\n";
  EXPECT_EQ(report(0), std::vector<std::string>{error});
  EXPECT_EQ(report(reportGui), (std::vector<std::string>{error, "GUI message:     short\n"}));
  EXPECT_EQ(report(reportOrigin).size(), 4u);
  EXPECT_EQ(report(reportErrorCode), (std::vector<std::string>{error, "Error code:      4711\n"}));
  EXPECT_EQ(report(reportAdditionalInformation), (std::vector<std::string>{error, "Additional Info: first\n"}));
}

TEST(ExceptionReportFailures, DamageIsReportedWithoutAnyMemory) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  class FixedSink final : public IReportSink {
  public:
    void print(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
      va_list arguments;
      va_start(arguments, format);
      const int length = std::vsnprintf(text + used, sizeof text - used, format, arguments);
      va_end(arguments);
      used = std::min(used + static_cast<std::size_t>(std::max(length, 0)), sizeof text - 1);
    }
    char text[2048] = {};
    std::size_t used = 0;
  } sink;
  addReportSink(sink);
  {
    const Tests::FailingAllocation limit(0);
    const InvalidArg failure("thrower", "a text that is longer than any small string");
  }
  removeReportSink(sink);
  EXPECT_EQ(std::string(sink.text).substr(0, 72 + 23), doubleRule + "\nInvalidArg was thrown!\n");
  EXPECT_NE(std::strstr(sink.text, "WARNING:        EXCEPTION INSTANCE IS DAMAGED BY INSUFFICIENT MEMORY!\n"), nullptr);
  EXPECT_TRUE(std::string(sink.text).ends_with("MEMORY!\n" + doubleRule + "\n"));
}

TEST(ExceptionReportFailures, RemovedSinkHearsNothing) {
  RecordingSink heard;
  {
    RecordingSink gone;
    removeReportSink(gone);
    const InvalidArg failure("thrower");
    EXPECT_TRUE(gone.lines.empty());
  }
  EXPECT_FALSE(heard.lines.empty());
}

TEST(ExceptionReportFailures, ThrowingSinkDoesNotReplaceTheFailure) {
  class ThrowingSink final : public IReportSink {
  public:
    void print(const char*, ...) override __attribute__((format(printf, 2, 3))) { throw std::runtime_error("full"); }
  } sink;
  addReportSink(sink);
  Tests::expectFailure<InvalidArg>([] { throw InvalidArg("thrower"); }, "Invalid argument!", "thrower");
  removeReportSink(sink);
}

TEST(ExceptionReportFailures, LivingFailuresAreCounted) {
  const int64 before = getNumberOfLivingExceptions();
  {
    const InvalidArg failure("thrower");
    EXPECT_EQ(getNumberOfLivingExceptions(), before + 1);
    const std::unique_ptr<Exception> copy(failure.clone());
    EXPECT_EQ(getNumberOfLivingExceptions(), before + 2);
    const FileOpen file("thrower");
    EXPECT_EQ(getNumberOfLivingExceptions(), before + 3) << "one, though its base is a failure, too";
  }
  EXPECT_EQ(getNumberOfLivingExceptions(), before);
}

TEST(ExceptionReportFailures, LivingFailuresAreCountedAcrossThreads) {
  const int64 before = getNumberOfLivingExceptions();
  RecordingSink sink;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([] {
      for (int i = 0; i < 100; ++i) {
        try {
          throw InvalidState("thrower", "%d", i);
        } catch (const Exception& failure) {
          const std::unique_ptr<Exception> copy(failure.clone());
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(getNumberOfLivingExceptions(), before);
  ASSERT_EQ(sink.lines.size(), 800u * 9u);
  for (std::size_t i = 0; i < sink.lines.size(); i += 9) {
    ASSERT_EQ(sink.lines[i + 1], "InvalidState was thrown!\n") << "reports of different threads are mixed at " << i;
    ASSERT_EQ(sink.lines[i + 8], doubleRule + "\n");
  }
}

TEST(ExceptionReportFailures, SummaryTellsTheFailureMadeLast) {
  const InvalidArg older("older");
  const InvalidState failure("NORV::Tavi::Here", "%d owners", 2);
  EXPECT_EQ(getSummary(), std::string("The program caused an uncaught exception:\n\n"
                                      "Exception class name:\tInvalidState"
                                      "\nError message:\t\t2 owners"
                                      "Error code:\t\t0"
                                      "Throwing function:\t\tNORV::Tavi::Here"
                                      "File:\t\t\t") +
                              __FILE__ + "\nLine number:\t\t" + std::to_string(__LINE__ - 7));
}

namespace {

class StandardErrorSink final : public IReportSink {
public:
  void print(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
  }
};

template <class Act>
[[noreturn]] void endIn(const Act& act) noexcept {
  static StandardErrorSink sink;
  std::set_terminate(terminationHandler);
  setTerminationHook([](const char* text) { std::fprintf(stderr, "<hook %zu>", std::strlen(text)); });
  act([] { addReportSink(sink); });
  std::abort();
}

}  // namespace

class ExceptionTerminationFailures : public testing::Test {
protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(ExceptionTerminationFailures, UncaughtFamilyFailureGoesToSinksAndHookAndEndsWithStatusOne) {
  EXPECT_EXIT(
      endIn([](auto listen) {
        const InvalidArg living("NORV::Tavi::Here", "the text");
        listen();  // after the report, so that standard error holds the summary alone
        living.rethrow();
      }),
      testing::ExitedWithCode(1),
      inTermination("The program caused an uncaught exception:\n\nException class name:\tInvalidArg\n"
                    "Error message:\t\tthe textError code:\t\t0Throwing function:\t\tNORV::Tavi::HereFile:\t\t\t.*"
                    "ExceptionsTest.cpp\nLine number:\t\t[0-9]+<hook [0-9]+>$"));
}

TEST_F(ExceptionTerminationFailures, UncaughtFailureOfAnUnknownTypeHasItsOwnText) {
  EXPECT_EXIT(endIn([](auto listen) {
                { const InvalidArg gone("thrower"); }
                listen();
                throw 5;
              }),
              testing::ExitedWithCode(1),
              inTermination("The program caused an uncaught exception of an unknown type!\n"
                            "The program was terminated.<hook 88>$"));
}

TEST_F(ExceptionTerminationFailures, ThrowingHookEndsWithStatusOneAllTheSame) {
  EXPECT_EXIT(endIn([](auto listen) {
                setTerminationHook([](const char*) { throw std::runtime_error("full"); });
                listen();
                throw 5;
              }),
              testing::ExitedWithCode(1),
              inTermination("The program caused an uncaught exception of an unknown type!"));
}
