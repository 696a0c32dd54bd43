#include <Phantom.hpp>

#include <Host/RunTool.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace NORV::HostTest {
namespace {

using nlohmann::json;

constexpr std::size_t width = 256, depth = 256, height = 128;

std::vector<std::string> stepsOf(const json& report) {
  std::vector<std::string> names;
  for (const json& step : report["steps"]) {
    names.push_back(step["step"]);
  }
  return names;
}

TEST(Phantom, TruthCountsTheVoxelsWhoseCentersLieInside) {
  const auto phantom = TaviTool::makePhantom(TaviTool::Session());
  const json truth = TaviTool::truthOf(phantom);
  const Tavi::VolumePtr<uint16> volume(phantom.volume);
  ASSERT_EQ(volume->getSize(), width * depth * height);
  EXPECT_EQ(truth["numberOfPores"], 40);
  EXPECT_EQ(truth["numberOfInclusions"], 12);

  std::vector<uint8> owner(width * depth * height, 0);
  const auto check = [&](const char* kind, double level, double material) {
    std::size_t all = 0;
    for (const json& blob : truth[kind]) {
      const auto center = blob["center"].get<std::vector<double>>();
      const auto axes = blob["semiAxes"].get<std::vector<double>>();
      std::size_t count = 0;
      double sum = 0.0;
      for (std::size_t i = 0; i < owner.size(); ++i) {
        const double x = (static_cast<double>(i % width) - center[0]) / axes[0];
        const double y = (static_cast<double>(i / width % depth) - center[1]) / axes[1];
        const double z = (static_cast<double>(i / width / depth) - center[2]) / axes[2];
        if (x * x + y * y + z * z <= 1.0) {
          ++count;
          sum += volume->getData()[i];
          EXPECT_EQ(owner[i]++, 0) << "two blobs meet";
        }
      }
      EXPECT_EQ(blob["voxels"], count);
      EXPECT_GT(count, 5u);
      all += count;
      const double mean = sum / static_cast<double>(count);
      EXPECT_LT(std::abs(mean - level), 0.35 * std::abs(material - level)) << blob;
    }
    return all;
  };
  EXPECT_EQ(truth["poreVoxels"], check("pores", 4500, 30000));
  EXPECT_EQ(truth["inclusionVoxels"], check("inclusions", 52000, 30000));
}

TEST(ToolDemo, ClampsThePhantomAndKeepsARegion) {
  const Outcome outcome = runQuietly({"demo", "--output", "phantom", "--json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(stepsOf(json::parse(outcome.out)),
            (std::vector<std::string>{"phantom", "load", "clamp", "extremes", "region", "save", "check", "pictures"}));
  const auto part = readRek<uint16>("phantom/part.rek");
  const auto clamped = readRek<uint16>("phantom/clamped.rek");
  ASSERT_EQ(part.size(), width * depth * height);
  ASSERT_EQ(clamped.size(), part.size());
  const auto [low, high] = std::minmax_element(clamped.begin(), clamped.end());
  std::size_t cut = 0;
  for (std::size_t i = 0; i < part.size(); ++i) {
    ASSERT_EQ(clamped[i], std::clamp(part[i], *low, *high));
    cut += clamped[i] != part[i] ? 1u : 0u;
  }
  EXPECT_NEAR(static_cast<double>(cut) / static_cast<double>(part.size()), 0.01, 0.003);

  const auto region = readRek<uint16>("phantom/region.rek");
  ASSERT_EQ(region.size(), part.size() / 8);
  for (std::size_t i = 0; i < region.size(); ++i) {
    const std::size_t x = i % 128 + 64, y = i / 128 % 128 + 64, z = i / 128 / 128 + 32;
    ASSERT_EQ(region[i], clamped[x + width * (y + depth * z)]);
  }
  EXPECT_EQ(json::parse(readFile("phantom/part.json"))["numberOfPores"], 40);
  for (const char* picture : {"before", "after"}) {
    EXPECT_EQ(readFile("phantom/" + std::string(picture) + ".pgm").substr(0, 15), "P5\n776 256\n255\n");
  }
}

TEST(ToolDemo, TakesAVolumeOfTheUser) {
  std::vector<uint8> voxels(5 * 4 * 3);
  std::iota(voxels.begin(), voxels.end(), uint8(0));
  writeRek<uint8>("mine.rek", 5, 4, 3, voxels);
  const Outcome outcome = runQuietly({"demo", "mine.rek", "--output", "mine"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out.substr(0, 5), "step ");
  EXPECT_TRUE(outcome.out.ends_with("\nThe results are in mine\n"));
  EXPECT_NE(outcome.out.find("uint8 5x4x3, 60 bytes from mine.rek"), std::string::npos) << outcome.out;
  EXPECT_EQ(readRek<uint8>("mine/region.rek"), (std::vector<uint8>{6, 7, 11, 12}));
  EXPECT_EQ(readRek<uint8>("mine.rek"), voxels);
  EXPECT_FALSE(exists("mine/part.rek"));
}

TEST(ToolDemo, FailuresEndTheJob) {
  const Outcome absent = runQuietly({"demo", "absent.rek", "--output", "results"});
  EXPECT_EQ(absent.status, 1);
  EXPECT_NE(absent.err.find("\n      absent.rek: No such file or directory\n"), std::string::npos) << absent.err;
  writeFile("taken", "");
  const Outcome taken = runQuietly({"demo", "--output", "taken"});
  EXPECT_EQ(taken.status, 1);
  EXPECT_EQ(taken.err.substr(0, 37), "tavi: taken: the folder cannot be mad");
}

}  // namespace
}  // namespace NORV::HostTest
