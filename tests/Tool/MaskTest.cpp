#include <support/FailingAllocation.hpp>

#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace NORV::HostTest {
namespace {

using nlohmann::json;
using Extents = std::array<int, 3>;

/// Which voxels belong to a ball, in whole numbers: no rounding.
std::vector<uint8> ball(const Extents& extents) {
  std::vector<uint8> voxels;
  for (int z = 0; z < extents[2]; ++z) {
    for (int y = 0; y < extents[1]; ++y) {
      for (int x = 0; x < extents[0]; ++x) {
        const std::array<int, 3> place{x, y, z};
        int64 all = 1, sum = 0;
        for (const int extent : extents) {
          all *= extent > 1 ? (extent - 1) * (extent - 1) : 1;
        }
        for (std::size_t i = 0; i < 3; ++i) {
          const int64 away = 2 * place[i] - (extents[i] - 1);
          const int64 square = int64{extents[i] - 1} * (extents[i] - 1);
          sum += square > 0 ? away * away * (all / square) : 0;
        }
        voxels.push_back(sum <= all ? 1 : 0);
      }
    }
  }
  return voxels;
}

TEST(ToolMask, BoxesAreFull) {
  const Outcome outcome = runQuietly({"mask", "box", "4x3x2", "-o", "box.rek"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "box.rek: box of 24 voxels in 4x3x2; use it with inputMask=box.rek inputAnchor=2x1x1\n");
  EXPECT_EQ(readRek<uint8>("box.rek"), std::vector<uint8>(24, 1));
}

TEST(ToolMask, BallsHoldWhatIsNoFartherFromTheMiddleThanTheirEnds) {
  for (const Extents& extents : {Extents{1, 1, 1}, Extents{3, 3, 3}, Extents{5, 5, 5}, Extents{9, 9, 9},
                                 Extents{11, 11, 11}, Extents{7, 5, 3}, Extents{9, 9, 1}, Extents{1, 1, 5}}) {
    const std::string text =
        std::to_string(extents[0]) + "x" + std::to_string(extents[1]) + "x" + std::to_string(extents[2]);
    SCOPED_TRACE(text);
    ASSERT_EQ(runQuietly({"mask", "ball", text, "-o", "ball.rek"}).status, 0);
    EXPECT_EQ(readRek<uint8>("ball.rek"), ball(extents));
  }
  EXPECT_EQ(runQuietly({"mask", "ball", "9x9x9", "-o", "ball.rek"}).out,
            "ball.rek: ball of 257 voxels in 9x9x9; use it with inputMask=ball.rek inputAnchor=4x4x4\n");
}

TEST(ToolMask, CrossesHoldTheLinesThroughTheMiddle) {
  const Outcome outcome = runQuietly({"mask", "cross", "5x3x1", "-o", "cross.rek", "--json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(readRek<uint8>("cross.rek"), (std::vector<uint8>{0, 0, 1, 0, 0,  //
                                                             1, 1, 1, 1, 1,  //
                                                             0, 0, 1, 0, 0}));
  EXPECT_EQ(json::parse(outcome.out),
            json::parse(R"({"file": "cross.rek", "shape": "cross", "voxelType": "uint8", "dimension": [5, 3, 1],
                            "voxels": 7, "middle": [2, 1, 0]})"));
  ASSERT_EQ(runQuietly({"mask", "cross", "5x5x5", "-o", "cross.rek"}).status, 0);
  const auto voxels = readRek<uint8>("cross.rek");
  EXPECT_EQ(std::count(voxels.begin(), voxels.end(), 1), 13);
}

/// What the tool says of a mask that it does not make.
std::string complaint(const std::vector<std::string>& arguments, int status) {
  const Outcome outcome = runQuietly(arguments);
  EXPECT_EQ(outcome.status, status) << outcome.err;
  EXPECT_EQ(outcome.out, "");
  EXPECT_FALSE(exists("no.rek"));
  return outcome.err;
}

TEST(ToolMaskFailure, MoreThanAnyMemoryHolds) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();  // of this program, and so of the tool
  EXPECT_EQ(complaint({"mask", "box", "4000000000x1000000000x1", "-o", "no.rek"}, 1),
            "tavi: CuboidMask: memory ran out\n");
  EXPECT_EQ(complaint({"mask", "ball", "3999999999x999999999x1", "-o", "no.rek"}, 1), "tavi: memory ran out\n");
}

TEST(ToolMaskFailure, NamesWhatIsWrong) {
  EXPECT_EQ(complaint({"mask", "cube", "3x3x3", "-o", "no.rek"}, 2),
            "tavi: \"cube\" is no shape of a mask; there are box, ball, cross\n");
  EXPECT_EQ(complaint({"mask", "ball", "3x4x3", "-o", "no.rek"}, 2),
            "tavi: extents=3x4x3: a ball needs odd extents, so that a voxel is its middle\n");
  EXPECT_EQ(complaint({"mask", "cross", "3x3x2", "-o", "no.rek"}, 2),
            "tavi: extents=3x3x2: a cross needs odd extents, so that a voxel is its middle\n");
  EXPECT_EQ(complaint({"mask", "box", "3x3", "-o", "no.rek"}, 2), "tavi: extents=3x3: expected AxBxC\n");
  EXPECT_EQ(complaint({"mask", "box", "3x0x3", "-o", "no.rek"}, 2),
            "tavi: extents=3x0x3: expected extents above 0 whose product fits 64 bits\n");
  EXPECT_EQ(complaint({"mask", "box", "3000000000x3000000000x3000000000", "-o", "no.rek"}, 2),
            "tavi: extents=3000000000x3000000000x3000000000: expected extents above 0 whose product fits 64 bits\n");
  EXPECT_EQ(complaint({"mask", "ball", "3x3x3", "-o", "absent/no.rek"}, 1),
            "tavi: absent/no.rek: cannot be written\n      absent: No such file or directory\n");
}

class ToolRunMask : public testing::Test {
protected:
  static constexpr int width = 9, depth = 8, height = 7;

  void SetUp() override {
    voxels.resize(width * depth * height);
    for (std::size_t i = 0; i < voxels.size(); ++i) {
      voxels[i] = static_cast<uint8>((i * 2654435761u) >> 13);
    }
    writeRek<uint8>("in.rek", width, depth, height, voxels);
    ASSERT_EQ(runQuietly({"mask", "ball", "5x3x3", "-o", "ball.rek"}).status, 0);
    ::unlink("out.rek");
  }

  /// The voxels under the ball around each voxel, where all of it is inside; elsewhere the voxel alone.
  template <class Choose>
  std::vector<uint8> filtered(const Choose& choose) const {
    const auto element = ball({5, 3, 3});
    std::vector<uint8> result = voxels;
    for (int z = 1; z < height - 1; ++z) {
      for (int y = 1; y < depth - 1; ++y) {
        for (int x = 2; x < width - 2; ++x) {
          std::vector<uint8> under;
          for (int i = 0; i < 5 * 3 * 3; ++i) {
            const int dx = i % 5 - 2, dy = i / 5 % 3 - 1, dz = i / 15 - 1;
            if (element[static_cast<std::size_t>(i)] != 0) {
              under.push_back(voxels[index(x + dx, y + dy, z + dz)]);
            }
          }
          std::sort(under.begin(), under.end());
          result[index(x, y, z)] = choose(under);
        }
      }
    }
    return result;
  }

  static std::size_t index(int x, int y, int z) { return static_cast<std::size_t>(x + width * (y + depth * z)); }

  std::vector<uint8> voxels;
};

TEST_F(ToolRunMask, ReachesTheOperatorAsAFileOrAsAShape) {
  const auto eroded = filtered([](const auto& under) { return under.front(); });
  for (const std::vector<std::string>& mask : {std::vector<std::string>{"inputMask=ball.rek", "inputAnchor=2x1x1"},
                                               {"mask=ball.rek", "anchor=center"},
                                               {"mask=ball:5x3x3", "anchor=centre"},
                                               {"inputMask=ball:5x3x3", "Anchor=2x1x1"}}) {
    SCOPED_TRACE(mask[0] + " " + mask[1]);
    const Outcome outcome =
        runQuietly({"run", "Erosion", "inputVolume=in.rek", mask[0], mask[1], "outputVolume=out.rek"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "outputVolume = out.rek (uint8 9x8x7)\n");
    EXPECT_EQ(readRek<uint8>("out.rek"), eroded);
  }
  ASSERT_EQ(runQuietly({"run", "HistogramUpdateMedian", "inputVolume=in.rek", "mask=ball.rek", "anchor=center",
                        "outputVolume=out.rek"})
                .status,
            0);
  EXPECT_EQ(readRek<uint8>("out.rek"), filtered([](const auto& under) { return under[(under.size() - 1) / 2]; }));
}

TEST_F(ToolRunMask, LeavesTheAnchorAtTheFirstVoxelUnlessTold) {
  ASSERT_EQ(runQuietly({"run", "Erosion", "inputVolume=in.rek", "mask=box:2x1x1", "outputVolume=out.rek"}).status, 0);
  auto expected = voxels;
  for (int i = 0; i < width * depth * height; ++i) {
    const auto at = static_cast<std::size_t>(i);
    expected[at] = i % width + 1 < width ? std::min(voxels[at], voxels[at + 1]) : voxels[at];
  }
  EXPECT_EQ(readRek<uint8>("out.rek"), expected);
}

TEST_F(ToolRunMask, AMadeResultIsZeroWhereTheElementDoesNotFit) {
  ASSERT_EQ(
      runQuietly({"run", "Erosion", "inputVolume=in.rek", "mask=box:9x8x6", "outputVolume=out.rek:uint8:9x8x7"}).status,
      0);
  const auto result = readRek<uint8>("out.rek");
  std::vector<uint8> expected(voxels.size(), 0);
  expected[0] = *std::min_element(voxels.begin(), voxels.begin() + 9 * 8 * 6);
  expected[72] = *std::min_element(voxels.begin() + 72, voxels.end());
  EXPECT_EQ(result, expected);
}

TEST_F(ToolRunMask, ListsTakeShapesToo) {
  writeRek<uint8>("index.rek", width, depth, height, std::vector<uint8>(voxels.size(), 1));
  const Outcome outcome = runQuietly({"run", "AdaptiveMedian", "inputVolume=in.rek", "inputIndexVolume=index.rek",
                                      "inputKernelVolume=box:3x3x3,ball:5x3x3", "outputVolume=out.rek"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(readRek<uint8>("out.rek"), filtered([](const auto& under) { return under[(under.size() - 1) / 2]; }));
}

TEST_F(ToolRunMask, FailuresTellWhatAMaskIs) {
  const auto complaint = [](const std::vector<std::string>& more, int status) {
    std::vector<std::string> all{"run", "Erosion", "inputVolume=in.rek", "outputVolume=out.rek"};
    all.insert(all.end(), more.begin(), more.end());
    const Outcome outcome = runQuietly(all);
    EXPECT_EQ(outcome.status, status) << outcome.err;
    EXPECT_FALSE(exists("out.rek"));
    return outcome.err;
  };
  writeRek<uint16>("wide.rek", 1, 1, 1, {1});
  EXPECT_EQ(complaint({"mask=wide.rek"}, 1),
            "tavi: NORV::TaviOperators::Erosion::Operator::apply the inputMask is NULL\n"
            "      inputVolume is uint8, outputVolume is uint8, inputMask is uint16; a mask is uint8, as \"tavi mask\" "
            "writes it\n");
  EXPECT_EQ(complaint({}, 2),
            "tavi: Erosion needs inputMask=<file>: structuring element: voxels of this uint8 volume that are not "
            "zero\n");
  EXPECT_EQ(complaint({"mask=ball:3x3"}, 2), "tavi: inputMask=3x3: expected AxBxC\n");
  EXPECT_EQ(complaint({"mask=ball:4x3x3"}, 2),
            "tavi: inputMask=4x3x3: a ball needs odd extents, so that a voxel is its middle\n");
  EXPECT_EQ(complaint({"mask=ball:3x3x3", "anchor=middle"}, 2), "tavi: inputAnchor=middle: expected AxBxC\n");
  EXPECT_EQ(complaint({"mask=ball:3x3x3", "volume=in.rek"}, 2),
            "tavi: volume is short for inputVolume and for outputVolume; write which one is meant\n");
  EXPECT_EQ(complaint({"mask=ball:3x3x3", "inputMask=ball.rek"}, 2), "tavi: inputMask is given twice\n");
  EXPECT_EQ(complaint({"mask"}, 2), "tavi: inputMask needs a value: inputMask=<file>\n");
}

}  // namespace
}  // namespace NORV::HostTest
