#include <Common.hpp>
#include <Matrix.hpp>
#include <Tavi/Volume.hpp>

#include <Tool/RunTool.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace NORV::HostTest {
namespace {

using TaviTool::parseMatrix;

constexpr double tiny = 1e-12;

std::vector<double> matrix(const std::string& text) {
  const auto volume = parseMatrix("inputMatrixVolume", text, Tavi::Dimension<Tavi::SizeType>(5, 7, 1));
  const Tavi::VolumePtr<float64> typed(volume);
  return {typed->getData(), typed->getData() + 16};
}

std::string complaint(const std::string& text) {
  try {
    static_cast<void>(parseMatrix("inputMatrixVolume", text, std::nullopt));
  } catch (const TaviTool::UsageError& e) {
    return e.what();
  }
  return "accepted";
}

testing::Matcher<std::vector<double>> isNear(const std::vector<double>& expected) {
  return testing::Pointwise(testing::DoubleNear(tiny), expected);
}

TEST(ToolMatrix, RotationFollowsTheRightHandAndIsExactForRightAngles) {
  EXPECT_EQ(matrix("rotate:z:90deg"), (std::vector<double>{0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
  EXPECT_EQ(matrix("rotate:x:90"), (std::vector<double>{1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(matrix("rotate:y:-270deg"), (std::vector<double>{0, 0, 1, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(matrix("rotate:z:720deg"), matrix("scale:1"));
  const double c = std::cos(0.5), s = std::sin(0.5);
  EXPECT_THAT(matrix("rotate:z:0.5rad"), isNear({c, -s, 0, 0, s, c, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
  // About the diagonal of space a third of a turn moves x to y, y to z, z to x.
  EXPECT_THAT(matrix("rotate:2x2x2:120deg"), isNear({0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1}));
}

TEST(ToolMatrix, OperationsAreAppliedFromLeftToRight) {
  EXPECT_EQ(matrix("translate:1x2x-3,scale:2"), (std::vector<double>{2, 0, 0, 2, 0, 2, 0, 4, 0, 0, 2, -6, 0, 0, 0, 1}));
  EXPECT_EQ(matrix("scale:2x3x4,translate:1x2x-3"),
            (std::vector<double>{2, 0, 0, 1, 0, 3, 0, 2, 0, 0, 4, -3, 0, 0, 0, 1}));
  EXPECT_EQ(matrix("flip:x"), (std::vector<double>{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
}

TEST(ToolMatrix, AboutKeepsAPosition) {
  // The middle of 5x7x1 voxels is (2, 3, 0): it stays where it is.
  EXPECT_EQ(matrix("rotate:z:90deg,about:center"),
            (std::vector<double>{0, -1, 0, 5, 1, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 1}));
  EXPECT_EQ(matrix("rotate:z:90deg,about:center"), matrix("rotate:z:90deg,about:2x3x0"));
  EXPECT_EQ(matrix("flip:x,about:center"), (std::vector<double>{-1, 0, 0, 4, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
  EXPECT_EQ(matrix("translate:1x1x1,rotate:z:90deg,about:center,translate:0x0x1"),
            (std::vector<double>{0, -1, 0, 4, 1, 0, 0, 2, 0, 0, 1, 2, 0, 0, 0, 1}));
}

TEST(ToolMatrix, IsSixteenNumbersInTheTextOrInAFile) {
  const std::vector<double> expected{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0, 0, 0, 1};
  EXPECT_EQ(matrix("1,2,3,4,5,6,7,8,9,10,11,12,0,0,0,1"), expected);
  writeFile("matrix.txt", "1 2 3 4\r\n5\t6 7 8\n9, 10, 11, 12;\n\n+0 -0 0e0 1.0\n");
  EXPECT_EQ(matrix("matrix.txt"), expected);
}

TEST(ToolMatrix, TurnsAVolumeOnTheCommandLine) {
  writeRek<float32>("in.rek", 3, 2, 1, {1, 2, 3, 4, 5, 6});
  // A quarter turn about z moves x to y and y to -x; the shift brings it back into the volume.
  const Outcome outcome =
      runQuietly({"run", "AffineTransform", "inputVolume=in.rek", "matrix=rotate:z:90deg,translate:1x0x0",
                  "inputOuterValue=0", "inputLinearInterpolation=false", "outputVolume=out.rek:2x3x1"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(readRek<float32>("out.rek"), (std::vector<float32>{4, 1, 5, 2, 6, 3}));
}

TEST(ToolMatrixFailure, NamesTheOperationAndWhatIsExpected) {
  const std::string begin = "inputMatrixVolume=";
  EXPECT_EQ(complaint("rotate:w:30deg"), begin + "rotate:w:30deg: \"rotate:w:30deg\": expected an axis: x, y or z");
  EXPECT_EQ(
      complaint("scale:2,turn:z"),
      begin + "scale:2,turn:z: \"turn:z\": expected rotate, scale, flip, translate or about, with a colon behind");
  EXPECT_EQ(complaint("translate:1x2"),
            begin + "translate:1x2: \"translate:1x2\": expected translate:AxBxC, such as translate:1x2.5x-3");
  for (const char* angle :
       {"rotate:z:", "rotate:z:deg", "rotate:z:nan", "rotate:z:1e999deg", "rotate:z:30grad", "rotate:z"}) {
    EXPECT_EQ(complaint(angle),
              begin + angle + ": \"" + angle +
                  "\": expected rotate:<axis>:<angle>, such as rotate:z:30deg or rotate:1x1x0:0.5rad");
  }
  EXPECT_EQ(complaint("rotate:0x0x0:30deg"),
            begin + "rotate:0x0x0:30deg: \"rotate:0x0x0:30deg\": expected a direction that is not 0");
  EXPECT_EQ(complaint("about:1x2x3"),
            begin + "about:1x2x3: \"about:1x2x3\": expected a rotation, a scale or a flip before it");
  EXPECT_EQ(complaint("translate:1x2x3,about:1x2x3"), begin +
                                                          "translate:1x2x3,about:1x2x3: \"about:1x2x3\": expected a "
                                                          "rotation, a scale or a flip before it");
  EXPECT_EQ(complaint("rotate:z:1,about:center"),
            begin +
                "rotate:z:1,about:center: \"about:center\": expected a position, as there is no volume that has a "
                "center");
  EXPECT_EQ(complaint("1,2,3"), begin + "1,2,3: expected 16 numbers, row by row");
  writeFile("words.txt", "one two three");
  EXPECT_EQ(complaint("words.txt"), begin + "words.txt: expected 16 numbers, row by row");
  EXPECT_EQ(runQuietly({"run", "AffineTransform", "inputVolume=a.rek", "matrix=absent.txt", "inputOuterValue=0",
                        "outputVolume=o.rek"})
                .err,
            "tavi: absent.txt: cannot be read\n      No such file or directory\n");
}

}  // namespace
}  // namespace NORV::HostTest
