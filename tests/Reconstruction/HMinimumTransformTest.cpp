#include "Reconstruction/HExtremaTests.hpp"

#include <DLL/HMinimumTransform.hpp>
#include <HMinimumTransform.hpp>

namespace NORV::Tests {
namespace {

struct Op {
  using Frame = TaviOperators::DLL::HMinimumTransform::Operator;
  using Parameter = TaviOperators::HMinimumTransform::Parameter;
  static inline const std::string name = "HMinimumTransform";
  static inline const std::string key = "inputDepth";
  static constexpr bool isDual = true;
  static auto& height(Parameter& parameter) { return parameter.inputDepth; }
};

TEST(HMinimumTransformParameter, KeysStandInTheirOrderWithTheirDefaults) { HExtrema::keysStandInTheirOrder<Op>(); }
TEST(HMinimumTransformInstances, TheThreeUnsignedTypesAreRegistered) {
  HExtrema::theThreeUnsignedTypesAreRegistered<Op>();
}
TEST(HMinimumTransform, AllReliefsAreAsStatedWithAnyNumberOfThreads) {
  HExtrema::allReliefsAreAsStatedWithAnyNumberOfThreads<Op>();
}
TEST(HMinimumTransform, AllLayoutsOfInputAndOutputAreAsStated) {
  HExtrema::allLayoutsOfInputAndOutputAreAsStated<Op>();
}
TEST(HMinimumTransform, TheOutputMayShareVoxelsWithTheInput) { HExtrema::theOutputMayShareVoxelsWithTheInput<Op>(); }
TEST(HMinimumTransform, AnOutputOfOtherExtentsIsResizedAndReused) {
  HExtrema::anOutputOfOtherExtentsIsResizedAndReused<Op>();
}
TEST(HMinimumTransform, AnEmptyVolumeGivesAnEmptyOne) { HExtrema::anEmptyVolumeGivesAnEmptyOne<Op>(); }
TEST(HMinimumTransform, TheThreadCountBecomesTheSettingOfTheRuntimeAndZeroLeavesIt) {
  HExtrema::theThreadCountBecomesTheSettingOfTheRuntime<Op>();
}
TEST(HMinimumTransform, ProgressNeverGoesBackAndEndsAtItsTotal) {
  HExtrema::progressNeverGoesBackAndEndsAtItsTotal<Op>();
}
TEST(HMinimumTransform, AnAbortLeavesVoxelsBetweenMarkerAndResult) {
  HExtrema::anAbortLeavesVoxelsBetweenMarkerAndResult<Op>();
}
TEST(HMinimumTransformFailure, EveryFailureHasItsText) { HExtrema::everyFailureHasItsText<Op>(); }

std::vector<uint8> row(const std::vector<uint8>& f, uint8 h) {
  return HExtrema::transformed<Op>(f, {f.size(), 1, 1}, h);
}

TEST(HMinimumTransform, DepthZeroGivesTheInput) {
  const std::vector<uint8> f = mixedValues<uint8>(6 * 7 * 5);
  EXPECT_EQ(HExtrema::transformed<Op>(f, {6, 7, 5}, uint8(0)), f);
}

TEST(HMinimumTransform, AVoxelAtTheMaximumOfTheTypeSaturatesAndDoesNotWrap) {
  EXPECT_EQ(row({255, 255, 255}, 3), (std::vector<uint8>{255, 255, 255}));
  EXPECT_EQ(row({255, 250, 255}, 3), (std::vector<uint8>{255, 253, 255}));
  EXPECT_EQ(row({254, 250, 255}, 255), (std::vector<uint8>{255, 255, 255}));
  EXPECT_EQ((HExtrema::transformed<Op>(std::vector<uint16>{65535, 65530, 65535}, {3, 1, 1}, uint16(65535))),
            (std::vector<uint16>{65535, 65535, 65535}));
  EXPECT_EQ((HExtrema::transformed<Op>(std::vector<uint32>{4294967295u, 4294967290u}, {1, 1, 2}, uint32(3))),
            (std::vector<uint32>{4294967295u, 4294967293u}));
}

TEST(HMinimumTransform, AFlatVolumeRisesByTheDepth) {
  EXPECT_EQ(HExtrema::transformed<Op>(std::vector<uint8>(60, 9), {3, 4, 5}, uint8(4)), std::vector<uint8>(60, 13));
}

TEST(HMinimumTransform, ADeepPitGainsTheDepthAndItsRimComesBack) {
  EXPECT_EQ(row({50, 50, 15, 50, 50}, 3), (std::vector<uint8>{50, 50, 18, 50, 50}));
}

TEST(HMinimumTransform, AShallowPitIsFilledAndItsRimIsLimitedByTheLowestMarker) {
  EXPECT_EQ(row({9, 9, 7, 9, 9}, 3), (std::vector<uint8>{10, 10, 10, 10, 10}));
}

TEST(HMinimumTransform, OfTwoPitsInAValleyOnlyTheDeeperOneStays) {
  EXPECT_EQ(row({90, 30, 60, 57, 90}, 5), (std::vector<uint8>{90, 35, 60, 60, 90}));
}
}  // namespace
}  // namespace NORV::Tests
