#include <Analysis.hpp>
#include <Phantom.hpp>
#include <Truth.hpp>

#include <Tool/RunTool.hpp>
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

/// The demonstration on the phantom, run once.
const Outcome& demo() {
  static const Outcome outcome = runQuietly({"demo", "--output", "phantom", "--json"});
  return outcome;
}

TEST(ToolDemo, ClampsThePhantomAndKeepsARegion) {
  const Outcome& outcome = demo();
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(stepsOf(json::parse(outcome.out)),
            (std::vector<std::string>{"phantom", "load", "clamp", "extremes", "region", "save", "check", "contrast",
                                      "filter", "classes", "threshold", "label", "clean", "measure", "pictures"}));
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

TEST(ToolDemo, MeasuresThePoresAndInclusionsOfThePhantom) {
  ASSERT_EQ(demo().status, 0) << demo().err;
  const json report = json::parse(demo().out), truth = json::parse(readFile("phantom/part.json"));
  const auto part = readRek<uint16>("phantom/part.rek");
  const auto labels = readRek<uint32>("phantom/objects.rek");
  ASSERT_EQ(labels.size(), part.size());
  ASSERT_EQ(report["objects"].size(), 52u);
  // Each true blob against the object at its centre, measured here once more, voxel by voxel.
  ASSERT_LE(*std::max_element(labels.begin(), labels.end()), 52u);
  std::vector<std::size_t> voxelsOf(53);
  std::vector<double> sumOf(53);
  for (std::size_t i = 0; i < labels.size(); ++i) {
    ++voxelsOf[labels[i]];
    sumOf[labels[i]] += part[i];
  }
  std::vector<uint32> used;
  const auto check = [&](const char* blobs, const char* kind) {
    for (const json& blob : truth[blobs]) {
      const auto at = [&](std::size_t axis) { return std::llround(blob["center"][axis].get<double>()); };
      const uint32 label = labels[static_cast<std::size_t>(at(0) + 256 * (at(1) + 256 * at(2)))];
      ASSERT_NE(label, 0u) << blob;
      used.push_back(label);
      const std::size_t voxels = voxelsOf[label];
      const double sum = sumOf[label];
      const auto object = std::find_if(report["objects"].begin(), report["objects"].end(),
                                       [&](const json& each) { return each["label"] == label; });
      ASSERT_NE(object, report["objects"].end());
      EXPECT_EQ((*object)["kind"], kind);
      EXPECT_EQ((*object)["size"], voxels);
      EXPECT_NEAR((*object)["mean"], sum / static_cast<double>(voxels), 1e-6);
      EXPECT_NEAR(static_cast<double>(voxels), blob["voxels"], 0.08 * blob["voxels"].get<double>() + 8.0);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR((*object)["geometricCenter"][axis], blob["center"][axis], 0.5);
      }
    }
  };
  check("pores", "pore");
  check("inclusions", "inclusion");
  std::sort(used.begin(), used.end());
  EXPECT_EQ(std::unique(used.begin(), used.end()), used.end()) << "two blobs in one object";
  EXPECT_EQ(used.size(), 52u);
  for (const json& kind : report["truth"]) {
    EXPECT_EQ(kind["holds"], true);
    EXPECT_EQ(kind["found"], kind["true"]);
    EXPECT_EQ(kind["others"], 0);
  }
  const std::string csv = readFile("phantom/objects.csv");
  EXPECT_EQ(csv.substr(0, 16), "kind,label,size,");
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 53);
}

TEST(ToolDemo, ClassesDivideTheGreyValues) {
  const json classes = json::parse(demo().out)["classes"];
  ASSERT_EQ(classes.size(), 3u);
  std::size_t voxels = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    voxels += classes[i]["voxels"].get<std::size_t>();
    EXPECT_EQ(classes[i]["class"], i + 1);
    EXPECT_LE(classes[i]["minimum"], classes[i]["mean"]);
    EXPECT_LE(classes[i]["mean"], classes[i]["maximum"]);
    EXPECT_TRUE(i == 0 || classes[i - 1]["maximum"] < classes[i]["minimum"]);
  }
  EXPECT_EQ(voxels, width * depth * height);
  EXPECT_NEAR(classes[0]["mean"], 4000, 300);
  EXPECT_NEAR(classes[1]["mean"], 29000, 1000);
}

TEST(ToolDemo, DrawsBeforeAndAfter) {
  ASSERT_EQ(demo().status, 0) << demo().err;
  for (const char* picture : {"contrast", "classes"}) {
    const std::string pixels = readFile("phantom/" + std::string(picture) + ".pgm");
    EXPECT_EQ(pixels.substr(0, 15), "P5\n776 516\n255\n");
    EXPECT_EQ(pixels.size(), 15u + 776 * 516);
  }
  // Stretched, the material is far brighter on the same scale.
  const std::string contrast = readFile("phantom/contrast.pgm");
  const auto pixel = [&](std::size_t x, std::size_t y) { return static_cast<uint8>(contrast[15 + x + 776 * y]); };
  EXPECT_LT(pixel(60, 160), 130);
  EXPECT_GT(pixel(60, 160 + 260), 210);

  const std::string objects = readFile("phantom/objects.ppm");
  ASSERT_EQ(objects.size(), 15u + 3 * 776 * 256);
  EXPECT_EQ(objects.substr(0, 15), "P6\n776 256\n255\n");
  const auto labels = readRek<uint32>("phantom/objects.rek");
  for (std::size_t i = 0; i < width * depth; ++i) {
    uint32 seen = 0;
    for (std::size_t z = 0; z < height && seen == 0; ++z) {
      seen = labels[i + width * depth * z];
    }
    const auto* colour = objects.data() + 15 + 3 * (i % width + 776 * (i / width));
    EXPECT_EQ(colour[0] == colour[1] && colour[1] == colour[2], seen == 0) << "at " << i;
  }
}

/// A block of material in air that reaches the border below, with a pore and an inclusion inside.
Tavi::VolumePtr<float32> block() {
  const Tavi::VolumePtr<float32> volume(new Tavi::Volume<float32>(Tavi::Dimension<Tavi::SizeType>(24, 20, 18)));
  for (std::size_t i = 0; i < 24 * 20 * 18; ++i) {
    const std::size_t x = i % 24, y = i / 24 % 20, z = i / 24 / 20;
    const bool part = x >= 3 && x < 21 && y >= 3 && y < 17 && z >= 3;
    const bool pore = x >= 6 && x < 10 && y >= 6 && y < 9 && z >= 7 && z < 12;
    const bool inclusion = x >= 14 && x < 18 && y >= 10 && y < 14 && z >= 9 && z < 13;
    const bool speck = x == 15 && y == 5 && z >= 6 && z < 9;
    volume->getData()[i] = pore ? -1.0f : inclusion || speck ? 2.5f : part ? 1.0f : -1.0f;
  }
  return volume;
}

TEST(Analysis, FindsThePoreAndTheInclusionOfAnyVoxelType) {
  TaviTool::Session session;
  session.quiet = true;
  const auto volume = block();
  TaviTool::Analysis analysis(session, volume);
  EXPECT_EQ(analysis.filter(), "median over a ball of 3x3x3 voxels");
  EXPECT_EQ(analysis.classify(), "k-means found 3 classes of grey values");
  EXPECT_EQ(analysis.threshold(), "took the darkest class for pores, the brightest for inclusions");
  // The median ends the speck, which is one voxel thick.
  EXPECT_EQ(analysis.label(), "2 dark and 1 bright objects");
  EXPECT_EQ(analysis.clean(), "removed 0 objects below 8 voxels and 1 at the border of the scan");
  analysis.measure();
  ASSERT_EQ(analysis.numberOfPores(), 1u);
  ASSERT_EQ(analysis.numberOfInclusions(), 1u);
  const auto& table = analysis.table();
  // Of the seven voxels of the ball four belong to a block even at its corners, which stay therefore.
  EXPECT_EQ(table.number(0, "size"), 4 * 3 * 5);
  EXPECT_EQ(table.number(0, "mean"), -1.0);
  EXPECT_EQ(table.number(0, "geometricCenter.x"), 7.5);
  EXPECT_EQ(table.number(1, "size"), 4 * 4 * 4);
  EXPECT_EQ(table.number(1, "mean"), 2.5);
  EXPECT_EQ(table.number(1, "geometricCenter.z"), 10.5);
}

TEST(Analysis, AConstantVolumeHasNoObjects) {
  TaviTool::Session session;
  session.quiet = true;
  for (const uint16 value : {uint16{0}, uint16{7}, uint16{65535}}) {
    const Tavi::VolumePtr<uint16> volume(new Tavi::Volume<uint16>(Tavi::Dimension<Tavi::SizeType>(5, 4, 3)));
    std::fill_n(volume->getData(), 60, value);
    TaviTool::Analysis analysis(session, volume);
    analysis.filter();
    analysis.classify();
    analysis.threshold();
    analysis.label();
    analysis.clean();
    analysis.measure();
    EXPECT_EQ(analysis.numberOfPores() + analysis.numberOfInclusions(), 0u) << value;
  }
}

TEST(Comparison, NoticesWhatIsMissingAddedMovedOrOfAnotherSize) {
  TaviTool::Session session;
  session.quiet = true;
  const auto volume = block();
  TaviTool::Analysis analysis(session, volume);
  analysis.filter();
  analysis.classify();
  analysis.threshold();
  analysis.label();
  analysis.clean();
  analysis.measure();
  const auto& table = analysis.table();
  const TaviTool::Blob pore{{7.5, 7.0, 9.0}, {2.0, 1.5, 2.5}, 62};
  const auto compare = [&](const std::vector<TaviTool::Blob>& blobs, Tavi::SizeType last = 1) {
    return TaviTool::Comparison("pores", blobs, table, 1, last);
  };
  EXPECT_TRUE(compare({pore}).holds());
  EXPECT_EQ(compare({pore}).text(),
            "1 of 1 pores, 60 voxels where 62 are true (-3.2 %), centres within 0.00 and surfaces within 0.03 voxels");
  EXPECT_EQ(compare({pore}).trueVoxels(0), 62u);
  EXPECT_EQ(compare({pore}).trueVoxels(1), 0u);
  auto moved = pore;
  moved.center[0] += 0.6;
  EXPECT_FALSE(compare({moved}).holds());
  auto larger = pore;
  larger.voxels = 90;
  EXPECT_FALSE(compare({larger}).holds());
  auto absent = pore;
  absent.center[2] = 2.0;
  EXPECT_FALSE(compare({pore, absent}).holds());
  EXPECT_FALSE(compare({absent}).holds());
  EXPECT_FALSE(compare({pore}, 2).holds());
  EXPECT_EQ(compare({pore}, 2).json()["others"], 1);
}

TEST(ToolDemo, TakesAVolumeOfTheUser) {
  std::vector<uint8> voxels(5 * 4 * 3);
  std::iota(voxels.begin(), voxels.end(), uint8(0));
  writeRek<uint8>("mine.rek", 5, 4, 3, voxels);
  const Outcome outcome = runQuietly({"demo", "--input", "mine.rek", "--output", "mine"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out.substr(0, 5), "step ");
  EXPECT_TRUE(outcome.out.ends_with("\nThe results are in mine\n"));
  EXPECT_NE(outcome.out.find("uint8 5x4x3, 60 bytes from mine.rek"), std::string::npos) << outcome.out;
  EXPECT_EQ(readRek<uint8>("mine/region.rek"), (std::vector<uint8>{6, 7, 11, 12}));
  EXPECT_EQ(readRek<uint8>("mine.rek"), voxels);
  EXPECT_FALSE(exists("mine/part.rek"));
  EXPECT_EQ(runQuietly({"demo", "mine.rek", "--output", "mine"}).status, 0);
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
