#include <Analysis.hpp>
#include <Phantom.hpp>
#include <Truth.hpp>

#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

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

/// The distance of a voxel from the centre of a blob in units of its semi-axes, squared.
double squareIn(const json& blob, std::size_t voxel) {
  const std::array<std::size_t, 3> at{voxel % width, voxel / width % depth, voxel / width / depth};
  double square = 0.0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double part =
        (static_cast<double>(at[axis]) - blob["center"][axis].get<double>()) / blob["semiAxes"][axis].get<double>();
    square += part * part;
  }
  return square;
}

/// The voxels in the box around a blob.
std::vector<std::size_t> boxAround(const json& blob) {
  const auto from = [&](std::size_t axis) {
    return static_cast<std::size_t>(blob["center"][axis].get<double>() - blob["semiAxes"][axis].get<double>());
  };
  const auto to = [&](std::size_t axis) {
    return static_cast<std::size_t>(blob["center"][axis].get<double>() + blob["semiAxes"][axis].get<double>() + 1.0);
  };
  std::vector<std::size_t> voxels;
  for (std::size_t z = from(2); z <= to(2); ++z) {
    for (std::size_t y = from(1); y <= to(1); ++y) {
      for (std::size_t x = from(0); x <= to(0); ++x) {
        voxels.push_back(x + width * (y + depth * z));
      }
    }
  }
  return voxels;
}

TEST(Phantom, TruthCountsTheVoxelsWhoseCentersLieInside) {
  const auto phantom = TaviTool::makePhantom(TaviTool::Session());
  const json truth = TaviTool::truthOf(phantom);
  const Tavi::VolumePtr<uint16> volume(phantom.volume);
  ASSERT_EQ(volume->getSize(), width * depth * height);
  EXPECT_EQ(truth["numberOfPores"], 52);
  EXPECT_EQ(truth["numberOfTouchingPairs"], 6);
  EXPECT_EQ(truth["numberOfInclusions"], 12);

  std::vector<uint8> owners(width * depth * height, 0);
  const auto check = [&](const char* kind, double level, double material) {
    std::size_t all = 0;
    for (const json& blob : truth[kind]) {
      std::size_t count = 0, shared = 0;
      double sum = 0.0;
      std::array<double, 3> centroid{};
      for (const std::size_t i : boxAround(blob)) {
        const double square = squareIn(blob, i);
        if (square > 1.0) {
          continue;
        }
        const double other =
            blob.contains("partner") ? squareIn(truth[kind][blob["partner"].get<std::size_t>()], i) : 2.0;
        shared += other <= 1.0 ? 1u : 0u;
        if (other <= square) {
          continue;
        }
        EXPECT_EQ(owners[i]++, 0) << "a voxel of two blobs";
        ++count;
        sum += volume->getData()[i];
        centroid[0] += static_cast<double>(i % width);
        centroid[1] += static_cast<double>(i / width % depth);
        centroid[2] += static_cast<double>(i / width / depth);
      }
      EXPECT_EQ(blob["voxels"], count);
      EXPECT_GT(count, 5u);
      EXPECT_EQ(shared > 0, blob.contains("partner")) << blob;
      all += count;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(blob["centroid"][axis], centroid[axis] / static_cast<double>(count), 1e-9);
      }
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
            (std::vector<std::string>{"phantom",   "load",     "clamp",  "contrast", "region",  "filter",   "classes",
                                      "threshold", "separate", "label",  "select",   "measure", "turn",     "axes",
                                      "align",     "project",  "unroll", "save",     "check",   "pictures", "report"}));
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
  EXPECT_EQ(json::parse(readFile("phantom/part.json"))["numberOfPores"], 52);
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
  ASSERT_EQ(report["objects"].size(), 64u);
  // Each true blob against the object at its centre, measured here once more, voxel by voxel.
  ASSERT_LE(*std::max_element(labels.begin(), labels.end()), 64u);
  std::vector<std::size_t> voxelsOf(65);
  std::vector<double> sumOf(65);
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
        EXPECT_NEAR((*object)["geometricCenter"][axis], blob["centroid"][axis], 0.5);
      }
    }
  };
  check("pores", "pore");
  check("inclusions", "inclusion");
  std::sort(used.begin(), used.end());
  EXPECT_EQ(std::unique(used.begin(), used.end()), used.end()) << "two blobs in one object";
  EXPECT_EQ(used.size(), 64u);
  for (const json& kind : report["truth"]) {
    EXPECT_EQ(kind["holds"], true);
    EXPECT_EQ(kind["found"], kind["true"]);
    EXPECT_EQ(kind["others"], 0);
    EXPECT_EQ(kind["separatedPairs"], kind["kind"] == "pores" ? 6 : 0);
  }
  const std::string csv = readFile("phantom/objects.csv");
  EXPECT_EQ(csv.substr(0, 16), "kind,label,size,");
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 65);
}

double inner(const json& a, const json& b) {
  double sum = 0.0;
  for (std::size_t i = 0; i < 3; ++i) {
    sum += a[i].get<double>() * b[i].get<double>();
  }
  return sum;
}

TEST(ToolDemo, FindsTheAxesOfTheTurnedPartAndAlignsIt) {
  ASSERT_EQ(demo().status, 0) << demo().err;
  const json report = json::parse(demo().out);
  EXPECT_EQ(report["axesTruth"]["holds"], true);
  EXPECT_LE(report["axesTruth"]["angle"], 0.1);
  EXPECT_EQ(report["axesTruth"]["trueBox"], (std::vector<int>{224, 192, 104}));
  const json &axes = report["axes"]["axes"], &variances = report["axes"]["variances"];
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(inner(axes[i], axes[i]), 1.0, 1e-9);
    EXPECT_NEAR(inner(axes[i], axes[(i + 1) % 3]), 0.0, 1e-9);
    EXPECT_TRUE(i == 0 || variances[i] < variances[i - 1]);
  }
  // The rotation of 20, 12 and 8 degrees, written out for the shortest axis.
  const double degree = std::acos(-1.0) / 180.0;
  const double h = 20 * degree, a = 12 * degree, b = 8 * degree;
  const json shortest{std::sin(a) * std::cos(h) * std::sin(b) + std::cos(b) * std::sin(h), -std::cos(a) * std::sin(b),
                      std::cos(b) * std::cos(h) - std::sin(a) * std::sin(h) * std::sin(b)};
  EXPECT_GT(std::abs(inner(axes[2], shortest)), std::cos(0.1 * degree));
  // The aligned part, saved in two formats, has its bore in the middle and material around it.
  const Outcome info = runQuietly({"info", "phantom/aligned.vti", "--json"});
  const json box = report["axes"]["box"];
  EXPECT_EQ(json::parse(info.out)["dimension"], box);
  EXPECT_EQ(runQuietly({"convert", "phantom/aligned.rek.gz", "phantom/copy.rek"}).status, 0);
  const auto aligned = readRek<uint16>("phantom/copy.rek");
  const auto nx = box[0].get<std::size_t>(), ny = box[1].get<std::size_t>(), nz = box[2].get<std::size_t>();
  ASSERT_EQ(aligned.size(), nx * ny * nz);
  const auto at = [&](std::size_t x, std::size_t y) { return aligned[x + nx * (y + ny * (nz / 2))]; };
  EXPECT_LT(at(nx / 2, ny / 2), 8000);
  for (const auto& [x, y] : {std::pair{50, 0}, std::pair{0, 50}, std::pair{-50, 0}, std::pair{0, -50}}) {
    EXPECT_GT(at(nx / 2 + static_cast<std::size_t>(x), ny / 2 + static_cast<std::size_t>(y)), 20000) << x << " " << y;
  }
  for (const char* picture : {"projection", "unrolled"}) {
    EXPECT_EQ(readFile("phantom/" + std::string(picture) + ".png").substr(1, 3), "PNG");
  }
}

TEST(ToolDemo, StepsTellOperatorsAndParameters) {
  const json report = json::parse(demo().out);
  const auto step = [&](const char* name) {
    return *std::find_if(report["steps"].begin(), report["steps"].end(),
                         [&](const json& each) { return each["step"] == name; });
  };
  const json clamp = step("clamp");
  ASSERT_EQ(clamp["runs"].size(), 1u);
  EXPECT_EQ(clamp["runs"][0]["operator"], "Saturation");
  EXPECT_EQ(clamp["runs"][0]["parameters"]["inputVolume"], "uint16 256x256x128");
  EXPECT_GT(std::stoi(clamp["runs"][0]["parameters"]["inputUpperLimit"].get<std::string>()), 20000);
  EXPECT_EQ(clamp["voxels"], static_cast<double>(width * depth * height));
  EXPECT_GT(clamp["seconds"], 0.0);
  std::vector<std::string> operators;
  const json separate = step("separate");
  for (const json& run : separate["runs"]) {
    operators.push_back(run["operator"]);
  }
  for (const char* op : {"CityblockDistanceTransform", "HMaximumTransform", "WatershedTransform"}) {
    EXPECT_EQ(std::count(operators.begin(), operators.end(), op), 1) << op;
  }
  EXPECT_EQ(step("load")["runs"][0]["parameters"]["inputFilename"], "phantom/part.rek");
  EXPECT_EQ(step("save")["runs"][0]["parameters"]["inputFilename"], "phantom/clamped.rek");
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
  EXPECT_EQ(analysis.separate(),
            "left out 1 at the border, divided 1 inside into 1 by distance, H-maxima and watershed");
  EXPECT_EQ(analysis.label(), "1 bright objects");
  EXPECT_EQ(analysis.select(), "removed 0 objects below 8 voxels and 0 at the border of the scan");
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
    analysis.separate();
    analysis.label();
    analysis.select();
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
  analysis.separate();
  analysis.label();
  analysis.select();
  analysis.measure();
  const auto& table = analysis.table();
  const TaviTool::Blob pore{{7.5, 7.0, 9.0}, {2.0, 1.5, 2.5}, 62, {7.5, 7.0, 9.0}, {}};
  const auto compare = [&](const std::vector<TaviTool::Blob>& blobs, Tavi::SizeType last = 1) {
    return TaviTool::Comparison("pores", blobs, table, 1, last);
  };
  EXPECT_TRUE(compare({pore}).holds());
  EXPECT_EQ(compare({pore}).text(),
            "1 of 1 pores, 60 voxels where 62 are true (-3.2 %), centres within 0.00 and surfaces within 0.03 voxels");
  EXPECT_EQ(compare({pore}).trueVoxels(0), 62u);
  EXPECT_EQ(compare({pore}).trueVoxels(1), 0u);
  auto moved = pore;
  moved.centroid[0] += 0.6;
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

TEST(ToolDemo, TakesVolumesWithoutAPartAndOfAnyVoxelType) {
  writeRek<uint8>("flat.rek", 4, 3, 2, std::vector<uint8>(24, 7));
  writeRek<uint16>("one.rek", 1, 1, 1, {1000});
  std::vector<float32> ramp(20 * 18 * 16);
  std::iota(ramp.begin(), ramp.end(), -3.5f);
  ramp[7] = std::numeric_limits<float32>::quiet_NaN();
  writeRek<float32>("ramp.rek", 20, 18, 16, ramp);
  for (const char* name : {"flat.rek", "one.rek", "ramp.rek"}) {
    const Outcome outcome = runQuietly({"demo", name, "--output", "any", "--json"});
    ASSERT_EQ(outcome.status, 0) << name << outcome.err;
    EXPECT_EQ(json::parse(outcome.out)["objects"].size(), 0u) << name;
    EXPECT_NE(readFile("any/report.html").find("No objects were found."), std::string::npos) << name;
  }
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
