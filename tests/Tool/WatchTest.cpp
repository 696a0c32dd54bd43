#include <Common.hpp>
#include <Watch.hpp>

#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <filesystem>

namespace NORV::HostTest {
namespace {

using namespace std::chrono_literals;

class ToolWatch : public testing::Test {
protected:
  void SetUp() override {
    std::filesystem::remove_all("watched");
    std::filesystem::remove_all("done");
    ::unlink("job.one.rek.record.json");
    std::filesystem::create_directory("watched");
    std::filesystem::create_directory("done");
    writeFile("job.json", R"({"parameters": {"input": null}, "steps": [
        {"operator": "Inversion", "inputVolume": "${input}", "outputVolume": "done/${input.stem}.rek"}]})");
    writeRek<uint8>("scan.rek", 2, 1, 1, {1, 2});
    scan = readFile("scan.rek");
  }

  static std::vector<std::string> watch(std::vector<std::string> more) {
    std::vector<std::string> words{"pipeline", "job.json", "--watch", "watched", "--interval", "0.05"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  static void waitFor(const std::string& file) {
    for (int i = 0; i < 3000 && !exists(file); ++i) {
      std::this_thread::sleep_for(20ms);
    }
    EXPECT_TRUE(exists(file)) << file;
  }

  std::string scan;
};
using ToolWatchFailure = ToolWatch;

TEST_F(ToolWatch, RunsTheJobOnEachFileThatArrives) {
  writeFile("watched/old.rek", scan);
  Running tool(watch({"--count", "2"}));
  ASSERT_TRUE(tool.waitForError("tavi: watching watched\n"));
  writeFile("watched/one.rek", scan);
  waitFor("done/one.rek");
  writeFile("watched/notes.txt", "no volume");
  writeFile("watched/.hidden.rek", scan);
  writeFile("watched/two.partial.rek", scan);
  ::rename("watched/two.partial.rek", "watched/two.rek");
  const Outcome outcome = tool.finish();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "tavi: watching watched\ntavi: watched/one.rek\ntavi: watched/two.rek\n");
  EXPECT_EQ(readRek<uint8>("done/two.rek"), (std::vector<uint8>{254, 253}));
  EXPECT_FALSE(exists("done/old.rek"));
  EXPECT_TRUE(exists("job.one.rek.record.json"));
}

TEST_F(ToolWatch, BeginsWithTheFilesThatAreThereWhereAsked) {
  writeFile("watched/old.rek", scan);
  const Outcome outcome = run(watch({"--count", "1", "--existing", "--json", "--quiet"}));
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(nlohmann::json::parse(outcome.out)["inputs"][1]["file"], "watched/old.rek");
  EXPECT_TRUE(exists("done/old.rek"));
}

TEST_F(ToolWatch, LeavesAFileAloneThatIsStillWritten) {
  Running tool(watch({"--count", "1"}));
  ASSERT_TRUE(tool.waitForError("tavi: watching watched\n"));
  // The writer pauses for longer than the interval, with the file open.
  std::FILE* half = std::fopen("watched/slow.rek", "wb");
  ASSERT_NE(half, nullptr);
  std::fwrite(scan.data(), 1, 1000, half);
  std::fflush(half);
  std::this_thread::sleep_for(400ms);
  std::fwrite(scan.data() + 1000, 1, scan.size() - 1000, half);
  std::fclose(half);
  const Outcome outcome = tool.finish();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(readRek<uint8>("done/slow.rek"), (std::vector<uint8>{254, 253}));
}

TEST_F(ToolWatch, EndsAtAnInterrupt) {
  Running tool(watch({}));
  ASSERT_TRUE(tool.waitForError("tavi: watching watched\n"));
  writeFile("watched/one.rek", scan);
  waitFor("job.one.rek.record.json");
  std::this_thread::sleep_for(500ms);
  tool.signal(SIGINT);
  const Outcome outcome = tool.finish();
  EXPECT_EQ(outcome.status, 130);
  EXPECT_NE(outcome.err.find("tavi: interrupted while watching watched: 1 files done, 0 failed\n"), std::string::npos)
      << outcome.err;
}

TEST_F(ToolWatchFailure, OfOneFileDoesNotEndTheWatch) {
  Running tool(watch({"--count", "2"}));
  ASSERT_TRUE(tool.waitForError("tavi: watching watched\n"));
  writeFile("watched/bad.rek", "no volume");
  ASSERT_TRUE(tool.waitForError("bad.rek: job.json: step 1 (Inversion): "));
  writeFile("watched/good.rek", scan);
  const Outcome outcome = tool.finish();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(outcome.err.ends_with("tavi: 1 of 2 files failed\n")) << outcome.err;
  EXPECT_TRUE(exists("done/good.rek"));
}

TEST_F(ToolWatchFailure, OfTwoFilesWithOneResultTheSecond) {
  Running tool(watch({"--count", "2"}));
  ASSERT_TRUE(tool.waitForError("tavi: watching watched\n"));
  writeFile("watched/one.rek", scan);
  waitFor("job.one.rek.record.json");
  ASSERT_EQ(runQuietly({"convert", "scan.rek", "watched/one.vti"}).status, 0);
  const Outcome outcome = tool.finish();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(
      outcome.err.find("tavi: watched/one.vti: job.json: step 1 (Inversion): done/one.rek is the result of one.rek; "
                       "with ${input.file} in its name there would be two\n"),
      std::string::npos)
      << outcome.err;
}

TEST_F(ToolWatchFailure, RefusesJobsThatWouldLoseResults) {
  const auto complaint = [](const std::vector<std::string>& arguments, int status) {
    const Outcome outcome = runQuietly(arguments);
    EXPECT_EQ(outcome.status, status) << outcome.err;
    return outcome.err;
  };
  writeFile("same.json", R"({"parameters": {"input": null}, "steps": [
      {"operator": "Inversion", "inputVolume": "${input}", "outputVolume": "done/out.rek"}]})");
  EXPECT_EQ(complaint({"pipeline", "same.json", "--watch", "watched"}, 2),
            "tavi: same.json: step 1 (Inversion): done/out.rek would be replaced with each file that arrives; write "
            "${input.stem} into its name\n");
  writeFile("loop.json", R"({"parameters": {"input": null}, "steps": [
      {"operator": "Inversion", "inputVolume": "${input}", "outputVolume": "watched/${input.stem}-out.rek"}]})");
  EXPECT_EQ(
      complaint({"pipeline", "loop.json", "--watch", "watched"}, 2),
      "tavi: loop.json: step 1 (Inversion): watched/one-out.rek would be written into the folder that is watched\n");
  writeFile("none.json", R"({"steps": [{"operator": "Inversion", "inputVolume": "a.rek", "outputVolume": "$b"}]})");
  EXPECT_EQ(complaint({"pipeline", "none.json", "--watch", "watched"}, 2),
            "tavi: none.json has no parameter \"input\"\n");
  EXPECT_EQ(complaint({"pipeline", "job.json", "--watch", "absent"}, 1),
            "tavi: absent: the folder cannot be read\n      No such file or directory\n");
}

}  // namespace
}  // namespace NORV::HostTest
