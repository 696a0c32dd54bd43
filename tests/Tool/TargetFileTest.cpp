#include <Tool/RunTool.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>

/// What a result does to the file that was there before.
namespace NORV::HostTest {
namespace {

namespace fs = std::filesystem;

class ToolTarget : public testing::Test {
protected:
  void SetUp() override {
    fs::remove_all("target");
    fs::create_directories("target/far");
    ASSERT_EQ(runQuietly({"phantom", "target/in.rek"}).status, 0);
  }
  static std::vector<std::string> inversion(const std::string& output) {
    return {"run", "Inversion", "inputVolume=target/in.rek", "outputVolume=" + output};
  }
  static std::vector<std::string> filesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
};

TEST_F(ToolTarget, OfALinkIsTheFileThatItLeadsTo) {
  writeFile("target/far/real.rek", "old");
  fs::create_symlink("far/real.rek", "target/link.rek");
  ASSERT_EQ(runQuietly(inversion("target/link.rek:uint16")).status, 0);
  EXPECT_TRUE(fs::is_symlink("target/link.rek"));
  EXPECT_GT(fs::file_size("target/far/real.rek"), 2048u);
  EXPECT_EQ(filesIn("target/far"), (std::vector<std::string>{"real.rek"}));
}

TEST_F(ToolTarget, OfADanglingLinkIsMade) {
  fs::create_symlink("far/new.rek", "target/link.rek");
  ASSERT_EQ(runQuietly(inversion("target/link.rek:uint16")).status, 0);
  EXPECT_TRUE(fs::is_symlink("target/link.rek"));
  EXPECT_GT(fs::file_size("target/far/new.rek"), 2048u);
}

TEST_F(ToolTarget, BehindALinkStaysWhereTheDiskIsFull) {
  writeFile("target/far/real.rek", "old");
  fs::create_symlink("far/real.rek", "target/link.rek");
  const auto limited = [] {
    const rlimit limit{100000, 100000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
  };
  auto arguments = inversion("target/link.rek:uint16");
  arguments.emplace_back("--quiet");
  EXPECT_EQ(run(arguments, limited).status, 1);
  EXPECT_EQ(readFile("target/far/real.rek"), "old");
  const Outcome writer =
      run({"run", "RekWriter", "inputVolume=target/in.rek", "inputFilename=target/link.rek", "--quiet"}, limited);
  EXPECT_EQ(writer.status, 1);
  EXPECT_EQ(readFile("target/far/real.rek"), "old");
  EXPECT_EQ(filesIn("target/far"), (std::vector<std::string>{"real.rek"}));
}

TEST_F(ToolTarget, OfTwoResultsIsRefused) {
  const Outcome outcome =
      runQuietly({"run", "SobelKernelCreation", "outputVolume2DPrim=target/a.rek:int16",
                  "outputVolume2DSec=target/../target/a.rek:int16", "outputVolume3DPrim=target/b.rek:int16",
                  "outputVolume3DSec=target/c.rek:int16", "outputVolume3DTert=target/d.rek:int16"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.err.find("are both to be written to"), std::string::npos) << outcome.err;
  EXPECT_EQ(filesIn("target"), (std::vector<std::string>{"far", "in.json", "in.rek"}));
}

TEST_F(ToolTarget, ThatIsAFolderIsRefusedBeforeTheRun) {
  fs::create_directories("target/folder.rek");
  const Outcome outcome = run(inversion("target/folder.rek:uint16"));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "tavi: target/folder.rek: cannot be written\n      it is a folder\n");
}

TEST_F(ToolTarget, InAFolderThatDoesNotExistIsRefusedBeforeTheRun) {
  const Outcome outcome = run(inversion("target/none/out.rek:uint16"));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.err.find("tavi: target/none/out.rek: cannot be written\n"), std::string::npos) << outcome.err;
}

TEST_F(ToolTarget, KeepsTheReservedBytesOfTheHeaderThatItReplaces) {
  std::string content = readFile("target/in.rek");
  const std::size_t reserved = 2000;
  content[reserved] = 'k';
  writeFile("target/in.rek", content);
  ASSERT_EQ(runQuietly(inversion("target/in.rek:uint16")).status, 0);
  EXPECT_EQ(readFile("target/in.rek")[reserved], 'k');
}

TEST_F(ToolTarget, IsCleanedUpOnEverySignalThatEndsPrograms) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    const auto deaf = [number] { std::signal(number, SIG_DFL); };
    Running tool({"run", "HistogramUpdateMedian", "inputVolume=target/in.rek", "mask=ball:41x41x41",
                  "outputVolume=target/out.rek", "--progress"},
                 deaf);
    ASSERT_TRUE(tool.waitForError("tavi: HistogramUpdateMedian\n"));
    tool.signal(number);
    const Outcome outcome = tool.finish();
    EXPECT_EQ(outcome.status, 128 + number) << outcome.err;
    for (const auto& entry : fs::recursive_directory_iterator("target")) {
      EXPECT_EQ(entry.path().string().find(".partial"), std::string::npos) << entry.path();
    }
  }
}

TEST_F(ToolTarget, IsCompleteAlsoWhereNobodyReadsThePipesAnyMore) {
  writeFile("target/out.rek", "old");
  const auto alone = [] {
    int ends[2] = {};
    if (::pipe(ends) == 0) {
      ::dup2(ends[1], STDERR_FILENO);
      ::dup2(ends[1], STDOUT_FILENO);
      ::close(ends[0]);
      ::close(ends[1]);
    }
  };
  auto arguments = inversion("target/out.rek:uint16");
  arguments.emplace_back("--progress");
  EXPECT_EQ(run(arguments, alone).status, 128 + SIGPIPE);
  EXPECT_GT(fs::file_size("target/out.rek"), 2048u);
  EXPECT_FALSE(fs::exists("target/out.partial.rek"));
}

TEST(ToolOutput, OnAFullDiskIsAFailure) {
  if (!fs::exists("/dev/full")) {
    GTEST_SKIP() << "this system has no /dev/full";
  }
  const auto full = [] {
    const int file = ::open("/dev/full", O_WRONLY);
    ::dup2(file, STDOUT_FILENO);
  };
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"list"}, {"list", "--json"}, {"--help"}, {"describe", "--json"}}) {
    const Outcome outcome = run(arguments, full);
    EXPECT_EQ(outcome.status, 1) << arguments.front();
    EXPECT_TRUE(outcome.err.starts_with("tavi: the result could not be written to standard output\n")) << outcome.err;
  }
}

TEST(ToolUsage, NamesTheNearestCommand) {
  const Outcome outcome = run({"lsit"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_TRUE(outcome.err.starts_with("tavi: there is no command \"lsit\"; the nearest is \"list\"\n")) << outcome.err;
}

}  // namespace
}  // namespace NORV::HostTest
