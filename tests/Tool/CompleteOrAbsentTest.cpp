#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>

/// Whatever ends a run, a file under its final name is the old one or complete.
namespace NORV::HostTest {
namespace {

constexpr int exitOfClosedPipe = 128 + SIGPIPE;

/// Bytes that no codec makes smaller.
std::string noise(std::size_t size) {
  std::string bytes(size, '\0');
  unsigned state = 7;
  for (char& byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<char>(state >> 24U);
  }
  return bytes;
}

std::vector<std::string> filesWith(const std::string& part) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    if (entry.path().filename().string().find(part) != std::string::npos) {
      names.push_back(entry.path().filename().string());
    }
  }
  return names;
}

void closePipeOfOutput() {
  int ends[2] = {};
  if (::pipe(ends) == 0) {
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[0]);
    ::close(ends[1]);
  }
}

TEST(ToolCompleteOrAbsentFailure, AFullDiskLeavesTheOldFileInEveryFormat) {
  writeFile("byte.raw", noise(200 * 100));
  writeFile("short.raw", noise(200 * 100 * 2));
  for (const char* extension : {"rek", "rek.gz", "rek.lz4", "vti", "tif", "tiff", "png", "bmp", "xsc", "raw"}) {
    const std::string target = std::string("full.") + extension;
    const bool isShort = target.ends_with(".xsc");
    writeFile(target, "precious");
    const Outcome outcome =
        run({"convert", isShort ? "short.raw:200x100x1:uint16" : "byte.raw:200x100x1:uint8", target, "--quiet"}, [] {
          const rlimit limit{5000, 5000};
          ::setrlimit(RLIMIT_FSIZE, &limit);
          std::signal(SIGXFSZ, SIG_IGN);
        });
    EXPECT_EQ(outcome.status, 1) << target << outcome.err;
    EXPECT_EQ(outcome.out, "") << target;
    EXPECT_TRUE(outcome.err.starts_with("tavi: ")) << target << outcome.err;
    EXPECT_LE(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 2) << target << outcome.err;
    EXPECT_EQ(readFile(target), "precious") << target;
  }
  EXPECT_EQ(filesWith(".partial"), std::vector<std::string>());
}

TEST(ToolCompleteOrAbsentFailure, AnInterruptAtAnyMoment) {
  writeFile("scan.raw", noise(128 * 128 * 64));
  writeFile("job.json", R"({"steps": [
      {"operator": "HistogramUpdateMedian", "inputVolume": "scan.raw:128x128x64:uint8", "inputMask": "ball:5x5x5",
       "inputAnchor": "center", "outputVolume": ["$filtered", "one.rek", "one.rek.gz"]},
      {"operator": "Inversion", "inputVolume": "$filtered", "outputVolume": ["two.vti", "two.tif", "two.raw"]}]})");
  const std::vector<std::string> targets{"one.rek", "one.rek.gz", "two.vti", "two.tif", "two.raw"};
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(runQuietly({"pipeline", "job.json"}).status, 0);
  const auto whole = std::chrono::steady_clock::now() - start;
  std::vector<std::string> complete;
  for (const std::string& target : targets) {
    complete.push_back(readFile(target));
  }
  constexpr int moments = 16;
  for (int i = 0; i < moments; ++i) {
    for (const std::string& target : targets) {
      writeFile(target, "old");
    }
    Running tool({"pipeline", "job.json", "--quiet"});
    std::this_thread::sleep_for(whole * i / moments);
    tool.signal(SIGINT);
    const Outcome outcome = tool.finish();
    // Before the handler is installed the signal kills the process; after the last step the job is done.
    EXPECT_TRUE(outcome.status == 130 || outcome.status == 0 || outcome.status == 1000 + SIGINT) << outcome.status;
    for (std::size_t k = 0; k < targets.size(); ++k) {
      const std::string content = readFile(targets[k]);
      EXPECT_TRUE(content == "old" || content == complete[k]) << targets[k] << " after " << i << " of " << moments;
    }
    EXPECT_EQ(filesWith(".partial"), std::vector<std::string>());
  }
}

TEST(ToolCompleteOrAbsentFailure, AClosedPipeIsNoMessage) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"list"}, {"describe"}, {"pipeline", "--schema"}, {"completion", "bash"}}) {
    const Outcome outcome = run(arguments, closePipeOfOutput);
    EXPECT_EQ(outcome.status, exitOfClosedPipe) << arguments.front();
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(ToolCompleteOrAbsentFailure, AClosedPipeDoesNotCostTheResults) {
  writeRek<uint8>("in.rek", 2, 1, 1, {1, 2});
  writeFile("job.json",
            R"({"steps": [{"operator": "Inversion", "inputVolume": "in.rek", "outputVolume": "out.rek"}]})");
  EXPECT_EQ(run({"pipeline", "job.json"}, closePipeOfOutput).status, exitOfClosedPipe);
  EXPECT_EQ(readRek<uint8>("out.rek"), (std::vector<uint8>{254, 253}));
}

TEST(ToolCompleteOrAbsentFailure, AnXscFileThatIsTooShortIsRefused) {
  writeFile("short.raw", noise(20 * 10 * 2));
  ASSERT_EQ(runQuietly({"convert", "short.raw:20x10x1:uint16", "cut.xsc"}).status, 0);
  std::filesystem::resize_file("cut.xsc", 100);
  const Outcome outcome = runQuietly({"info", "cut.xsc"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "tavi: cut.xsc: is not complete: 100 bytes instead of 404\n");
}

}  // namespace
}  // namespace NORV::HostTest
