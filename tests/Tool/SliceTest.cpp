#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

namespace NORV::HostTest {
namespace {

/// A grey map as text, for comparison as a whole.
std::string greyMap(int width, int height, const std::vector<int>& pixels) {
  std::string text = "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
  for (const int pixel : pixels) {
    text += static_cast<char>(pixel);
  }
  return text;
}

class ToolSlice : public testing::Test {
protected:
  void SetUp() override {
    // x + 4 y + 20 z, so that each voxel tells its place
    std::vector<uint8> voxels;
    for (int z = 0; z < 2; ++z) {
      for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 4; ++x) {
          voxels.push_back(static_cast<uint8>(x + 4 * y + 20 * z));
        }
      }
    }
    writeRek<uint8>("in.rek", 4, 3, 2, voxels);
  }

  static std::string slice(const std::vector<std::string>& more) {
    std::vector<std::string> all{"slice", "in.rek", "-o", "slice.pgm", "--range", "0:255"};
    all.insert(all.end(), more.begin(), more.end());
    const Outcome outcome = runQuietly(all);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return readFile("slice.pgm");
  }
};
using ToolSliceFailure = ToolSlice;

TEST_F(ToolSlice, AcrossEachAxis) {
  EXPECT_EQ(slice({"--axis", "z", "--index", "1"}), greyMap(4, 3, {20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31}));
  EXPECT_EQ(slice({"--axis", "y", "--index", "2"}), greyMap(4, 2, {8, 9, 10, 11, 28, 29, 30, 31}));
  EXPECT_EQ(slice({"--axis", "x", "--index", "3"}), greyMap(3, 2, {3, 7, 11, 23, 27, 31}));
}

TEST_F(ToolSlice, TakesTheMiddleAndStretchesTheGreyValuesOfTheVolume) {
  const Outcome outcome = runQuietly({"slice", "in.rek", "-o", "slice.pgm"});
  EXPECT_EQ(outcome.out, "slice.pgm: slice 1 across z, 4x3, grey values 0 (black) to 31 (white)\n");
  std::vector<int> expected;
  for (int value = 20; value < 32; ++value) {
    expected.push_back(static_cast<int>(std::lround(value * 255.0 / 31.0)));
  }
  EXPECT_EQ(readFile("slice.pgm"), greyMap(4, 3, expected));
}

TEST_F(ToolSlice, ConstantVolumesAndNaNsAreBlack) {
  constexpr float32 nan = std::numeric_limits<float32>::quiet_NaN(), inf = std::numeric_limits<float32>::infinity();
  writeRek<float32>("float.rek", 4, 1, 1, {nan, inf, -inf, 0.5f});
  EXPECT_EQ(runQuietly({"slice", "float.rek", "-o", "slice.pgm", "--range", "0:1"}).status, 0);
  EXPECT_EQ(readFile("slice.pgm"), greyMap(4, 1, {0, 255, 0, 128}));
  writeRek<uint8>("flat.rek", 2, 1, 1, {7, 7});
  EXPECT_EQ(runQuietly({"slice", "flat.rek", "-o", "slice.pgm"}).status, 0);
  EXPECT_EQ(readFile("slice.pgm"), greyMap(2, 1, {0, 0}));
}

TEST_F(ToolSlice, MayBecomeAVolumeFile) {
  EXPECT_EQ(runQuietly({"slice", "in.rek", "-o", "slice.rek", "--index", "0", "--range", "0:255"}).status, 0);
  EXPECT_EQ(readRek<uint8>("slice.rek"), (std::vector<uint8>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
}

TEST_F(ToolSliceFailure, NamesWhatIsWrong) {
  const auto complaint = [](const std::vector<std::string>& more, int status) {
    std::vector<std::string> all{"slice", "in.rek"};
    all.insert(all.end(), more.begin(), more.end());
    const Outcome outcome = runQuietly(all);
    EXPECT_EQ(outcome.status, status) << outcome.err;
    return outcome.err;
  };
  EXPECT_EQ(complaint({"-o", "s.pgm", "--axis", "x", "--index", "4"}, 2),
            "tavi: --index 4: in.rek has slices 0 to 3 along x\n");
  EXPECT_EQ(complaint({"-o", "s.pgm", "--axis", "w"}, 2), "tavi: --axis w: expected x, y or z\n");
  EXPECT_EQ(complaint({"-o", "s.gif"}, 2), "tavi: -o s.gif: the name of a picture ends in .png, .bmp or .pgm\n");
  for (const char* range : {"5", "5:", ":5", "a:b", "0:nan"}) {
    EXPECT_EQ(complaint({"-o", "s.pgm", "--range", range}, 2),
              "tavi: --range " + std::string(range) + ": expected <low>:<high>, such as 0:255\n");
  }
  EXPECT_EQ(complaint({"-o", "s.pgm", "--range", "9:9"}, 2),
            "tavi: --range 9:9: the low value must be below the high one\n");
  EXPECT_EQ(complaint({"-o", "absent/s.pgm"}, 1),
            "tavi: absent/s.pgm: cannot be written\n      No such file or directory\n");
}

}  // namespace
}  // namespace NORV::HostTest
