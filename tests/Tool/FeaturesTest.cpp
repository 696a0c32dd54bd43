#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>

namespace NORV::HostTest {
namespace {

using nlohmann::json;

/// Three objects in 6x4x2 voxels: a bar of three voxels (label 2), a single voxel (5), a block of eight (9).
class ToolFeatures : public testing::Test {
protected:
  void SetUp() override {
    std::vector<uint16> labels(48, 0);
    std::vector<float32> values(48, 0.0f);
    const auto set = [&](std::size_t x, std::size_t y, std::size_t z, uint16 label, float32 value) {
      labels[x + 6 * (y + 4 * z)] = label;
      values[x + 6 * (y + 4 * z)] = value;
    };
    for (std::size_t x = 0; x < 3; ++x) {
      set(x, 0, 0, 2, static_cast<float32>(x + 1));
    }
    set(5, 0, 0, 5, -2.5f);
    for (std::size_t i = 0; i < 8; ++i) {
      set(4 + i % 2, 2 + i / 2 % 2, i / 4, 9, 10.0f);
    }
    writeRek<uint16>("labels.rek", 6, 4, 2, labels);
    writeRek<float32>("values.rek", 6, 4, 2, values);
  }

  static std::string output(std::vector<std::string> more) {
    more.insert(more.begin(), {"features", "labels.rek"});
    const Outcome outcome = runQuietly(more);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
  }

  /// The first cell of each line behind the first one.
  static std::vector<int> labelsIn(const std::string& csv) {
    std::vector<int> labels;
    for (std::size_t at = csv.find('\n'); at != std::string::npos && at + 1 < csv.size(); at = csv.find('\n', at + 1)) {
      labels.push_back(std::stoi(csv.substr(at + 1)));
    }
    return labels;
  }
};
using ToolFeaturesFailure = ToolFeatures;

TEST_F(ToolFeatures, AreATable) {
  EXPECT_EQ(output({}),
            "label  size          roi  geometricCenter  fillFactor  aspectRatio  diameter\n"
            "    2     3  3x1x1+0+0+0            1,0,0           1     0.333333         1\n"
            "    5     1  1x1x1+5+0+0            5,0,0           1            1         1\n"
            "    9     8  2x2x2+4+2+0      4.5,2.5,0.5           1            1         2\n");
  // The largest of floating-point values that are all below zero is the smallest positive number.
  EXPECT_EQ(output({"--values", "values.rek"}),
            "label  size          roi  geometricCenter  centerOfGravity  centerOfGravityIsValid  minimum      maximum  "
            "mean  variance  fillFactor  aspectRatio  diameter\n"
            "    2     3  3x1x1+0+0+0            1,0,0      1.33333,0,0                    true        1            3  "
            "   2         1           1     0.333333         1\n"
            "    5     1  1x1x1+5+0+0            5,0,0      nan,nan,nan                   false     -2.5  1.17549e-38  "
            "-2.5         0           1            1         1\n"
            "    9     8  2x2x2+4+2+0      4.5,2.5,0.5      4.5,2.5,0.5                    true       10           10  "
            "  10         0           1            1         2\n");
}

TEST_F(ToolFeatures, AreCommaSeparated) {
  EXPECT_EQ(output({"--csv"}),
            "label,size,roi.dim.x,roi.dim.y,roi.dim.z,roi.origin.x,roi.origin.y,roi.origin.z,geometricCenter.x,"
            "geometricCenter.y,geometricCenter.z,fillFactor,aspectRatio,diameter\n"
            "2,3,3,1,1,0,0,0,1.0,0.0,0.0,1.0,0.3333333333333333,1.0\n"
            "5,1,1,1,1,5,0,0,5.0,0.0,0.0,1.0,1.0,1.0\n"
            "9,8,2,2,2,4,2,0,4.5,2.5,0.5,1.0,1.0,2.0\n");
  const std::string all = output({"--csv", "--values", "values.rek"});
  EXPECT_NE(
      all.find(",centerOfGravity.x,centerOfGravity.y,centerOfGravity.z,centerOfGravityIsValid,minimum,maximum,mean,"
               "variance,"),
      std::string::npos)
      << all;
  EXPECT_NE(all.find("\n5,1,1,1,1,5,0,0,5.0,0.0,0.0,nan,nan,nan,false,-2.5,"), std::string::npos) << all;
}

TEST_F(ToolFeatures, AreJson) {
  EXPECT_EQ(json::parse(output({"--json", "--sort", "size"})),
            json::parse(R"({"labels": "labels.rek", "numberOfObjects": 3, "objects": [
              {"label": 5, "size": 1, "roi": {"dim": [1, 1, 1], "origin": [5, 0, 0]},
               "geometricCenter": [5.0, 0.0, 0.0], "fillFactor": 1.0, "aspectRatio": 1.0, "diameter": 1.0},
              {"label": 2, "size": 3, "roi": {"dim": [3, 1, 1], "origin": [0, 0, 0]},
               "geometricCenter": [1.0, 0.0, 0.0], "fillFactor": 1.0, "aspectRatio": 0.3333333333333333,
               "diameter": 1.0},
              {"label": 9, "size": 8, "roi": {"dim": [2, 2, 2], "origin": [4, 2, 0]},
               "geometricCenter": [4.5, 2.5, 0.5], "fillFactor": 1.0, "aspectRatio": 1.0, "diameter": 2.0}]})"));
  const json withValues = json::parse(output({"--json", "--values", "values.rek"}));
  EXPECT_EQ(withValues["values"], "values.rek");
  EXPECT_EQ(withValues["objects"][1]["centerOfGravity"], json::parse(R"(["nan", "nan", "nan"])"));
  EXPECT_EQ(withValues["objects"][1]["centerOfGravityIsValid"], false);
  EXPECT_EQ(withValues["objects"][0]["mean"], 2.0);
}

TEST_F(ToolFeatures, AreSortedByAnyColumn) {
  const std::string values = "values.rek";
  EXPECT_EQ(labelsIn(output({"--csv"})), (std::vector<int>{2, 5, 9}));
  EXPECT_EQ(labelsIn(output({"--csv", "--reverse"})), (std::vector<int>{9, 5, 2}));
  EXPECT_EQ(labelsIn(output({"--csv", "--sort", "size"})), (std::vector<int>{5, 2, 9}));
  EXPECT_EQ(labelsIn(output({"--csv", "--sort", "size", "--reverse"})), (std::vector<int>{9, 2, 5}));
  EXPECT_EQ(labelsIn(output({"--csv", "--sort", "roi.origin.x"})), (std::vector<int>{2, 9, 5}));
  EXPECT_EQ(labelsIn(output({"--csv", "--sort", "mean", "--values", values})), (std::vector<int>{5, 2, 9}));
  // Equal rows keep their order, NaNs stay behind either way.
  EXPECT_EQ(labelsIn(output({"--csv", "--sort", "fillFactor", "--reverse"})), (std::vector<int>{2, 5, 9}));
  EXPECT_EQ(labelsIn(output({"--csv", "--sort", "centerOfGravity.x", "--values", values})),
            (std::vector<int>{2, 9, 5}));
  EXPECT_EQ(labelsIn(output({"--csv", "--sort", "centerOfGravity.x", "--values", values, "--reverse"})),
            (std::vector<int>{9, 2, 5}));
}

TEST_F(ToolFeatures, SizesHaveAHistogram) {
  EXPECT_EQ(output({"--histogram", "--csv"}), "from,to,objects\n1,1,1\n2,3,1\n4,7,0\n8,15,1\n");
  EXPECT_EQ(json::parse(output({"--histogram", "--json"}))["histogram"],
            json::parse(R"([{"from": 1, "to": 1, "objects": 1}, {"from": 2, "to": 3, "objects": 1},
                            {"from": 4, "to": 7, "objects": 0}, {"from": 8, "to": 15, "objects": 1}])"));
  std::vector<uint8> labels(32, 1);
  for (std::size_t i = 0; i < 8; ++i) {
    labels[2 * i] = static_cast<uint8>(2 + i);
  }
  writeRek<uint8>("many.rek", 32, 1, 1, labels);
  EXPECT_EQ(runQuietly({"features", "many.rek", "--histogram"}).out,
            "               voxels   objects\n"
            "         1-1                  8  " +
                std::string(50, '#') +
                "\n"
                "         2-3                  0  \n"
                "         4-7                  0  \n"
                "         8-15                 0  \n"
                "        16-31                 1  #######\n");
}

TEST_F(ToolFeatures, AVolumeWithoutObjectsHasAnEmptyTable) {
  writeRek<uint8>("empty.rek", 3, 2, 1, std::vector<uint8>(6, 0));
  EXPECT_EQ(runQuietly({"features", "empty.rek"}).out,
            "label  size  roi  geometricCenter  fillFactor  aspectRatio  diameter\n");
  EXPECT_EQ(json::parse(runQuietly({"features", "empty.rek", "--json"}).out)["objects"], json::array());
  EXPECT_EQ(runQuietly({"features", "empty.rek", "--histogram", "--csv"}).out, "from,to,objects\n");
}

TEST_F(ToolFeaturesFailure, TellWhatToDo) {
  const auto complaint = [](const std::vector<std::string>& arguments, int status) {
    const Outcome outcome = runQuietly(arguments);
    EXPECT_EQ(outcome.status, status) << outcome.err;
    return outcome.err;
  };
  EXPECT_EQ(complaint({"features", "labels.rek", "--sort", "sizes"}, 2),
            "tavi: there is no column \"sizes\"; the nearest is size, all are label, size, roi.dim.x, roi.dim.y, "
            "roi.dim.z, roi.origin.x, roi.origin.y, roi.origin.z, geometricCenter.x, geometricCenter.y, "
            "geometricCenter.z, fillFactor, aspectRatio, diameter\n");
  EXPECT_EQ(complaint({"features", "labels.rek", "--csv", "--json"}, 2), "tavi: --csv and --json exclude each other\n");
  EXPECT_EQ(complaint({"features", "labels.xyz"}, 2).substr(0, 64),
            "tavi: labels.xyz: the name does not end like a volume file: .rek");
  EXPECT_EQ(complaint({"features", "absent.rek"}, 1),
            "tavi: NORV::TaviOperators::RekTypeReader::Operator failed to open file\n"
            "      absent.rek: No such file or directory\n");
  writeRek<uint8>("other.rek", 3, 2, 1, std::vector<uint8>(6, 0));
  EXPECT_EQ(complaint({"features", "labels.rek", "--values", "other.rek"}, 1),
            "tavi: NORV::TaviOperators::StandardFeaturesCalculation::Operator::apply input volumes differ in size\n"
            "      inputLabelVolume is 6x4x2, inputValueVolume is 3x2x1\n");
  const std::string real = complaint({"features", "values.rek"}, 1);
  EXPECT_NE(
      real.find("\n      inputLabelVolume is float32, inputValueVolume is float32; StandardFeaturesCalculation "
                "takes (uint8, uint16, uint32) + (int8, uint8, int16, uint16, int32, uint32, float32, float64)\n"),
      std::string::npos)
      << real;
}

}  // namespace
}  // namespace NORV::HostTest
