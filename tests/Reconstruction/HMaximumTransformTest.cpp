#include "Reconstruction/HExtremaTests.hpp"

#include <DLL/HMaximumTransform.hpp>
#include <HMaximumTransform.hpp>

namespace NORV::Tests {
namespace {

struct Op {
  using Frame = TaviOperators::DLL::HMaximumTransform::Operator;
  using Parameter = TaviOperators::HMaximumTransform::Parameter;
  static inline const std::string name = "HMaximumTransform";
  static inline const std::string key = "inputHeight";
  static constexpr bool isDual = false;
  static auto& height(Parameter& parameter) { return parameter.inputHeight; }
};

TEST(HMaximumTransformParameter, KeysStandInTheirOrderWithTheirDefaults) { HExtrema::keysStandInTheirOrder<Op>(); }
TEST(HMaximumTransformInstances, TheThreeUnsignedTypesAreRegistered) {
  HExtrema::theThreeUnsignedTypesAreRegistered<Op>();
}
TEST(HMaximumTransform, AllReliefsAreAsStatedWithAnyNumberOfThreads) {
  HExtrema::allReliefsAreAsStatedWithAnyNumberOfThreads<Op>();
}
TEST(HMaximumTransform, AllLayoutsOfInputAndOutputAreAsStated) {
  HExtrema::allLayoutsOfInputAndOutputAreAsStated<Op>();
}
TEST(HMaximumTransform, TheOutputMayShareVoxelsWithTheInput) { HExtrema::theOutputMayShareVoxelsWithTheInput<Op>(); }
TEST(HMaximumTransform, AnOutputOfOtherExtentsIsResizedAndReused) {
  HExtrema::anOutputOfOtherExtentsIsResizedAndReused<Op>();
}
TEST(HMaximumTransform, AnEmptyVolumeGivesAnEmptyOne) { HExtrema::anEmptyVolumeGivesAnEmptyOne<Op>(); }
TEST(HMaximumTransform, TheThreadCountBecomesTheSettingOfTheRuntimeAndZeroLeavesIt) {
  HExtrema::theThreadCountBecomesTheSettingOfTheRuntime<Op>();
}
TEST(HMaximumTransform, ProgressNeverGoesBackAndEndsAtItsTotal) {
  HExtrema::progressNeverGoesBackAndEndsAtItsTotal<Op>();
}
TEST(HMaximumTransform, AnAbortLeavesVoxelsBetweenMarkerAndResult) {
  HExtrema::anAbortLeavesVoxelsBetweenMarkerAndResult<Op>();
}
TEST(HMaximumTransformFailure, EveryFailureHasItsText) { HExtrema::everyFailureHasItsText<Op>(); }

std::vector<uint8> row(const std::vector<uint8>& f, uint8 h) {
  return HExtrema::transformed<Op>(f, {f.size(), 1, 1}, h);
}

TEST(HMaximumTransform, HeightZeroGivesTheInput) {
  const std::vector<uint8> f = mixedValues<uint8>(6 * 7 * 5);
  EXPECT_EQ(HExtrema::transformed<Op>(f, {6, 7, 5}, uint8(0)), f);
}

TEST(HMaximumTransform, AHeightAtOrAboveTheLargestVoxelGivesZeros) {
  const std::vector<uint8> f{0, 40, 7, 12, 40, 3};
  EXPECT_EQ(row(f, 40), std::vector<uint8>(6, 0));
  EXPECT_EQ(row(f, 255), std::vector<uint8>(6, 0));
}

TEST(HMaximumTransform, AFlatVolumeAboveTheHeightSinksByIt) {
  EXPECT_EQ(HExtrema::transformed<Op>(std::vector<uint8>(60, 9), {3, 4, 5}, uint8(4)), std::vector<uint8>(60, 5));
}

TEST(HMaximumTransform, AHighPeakLosesTheHeightAndItsFloorComesBack) {
  EXPECT_EQ(row({5, 5, 15, 5, 5}, 3), (std::vector<uint8>{5, 5, 12, 5, 5}));
}

TEST(HMaximumTransform, ALowPeakIsLevelledAndItsFloorIsLimitedByTheHighestMarker) {
  EXPECT_EQ(row({5, 5, 7, 5, 5}, 3), (std::vector<uint8>{4, 4, 4, 4, 4}));
}

TEST(HMaximumTransform, OfTwoPeaksOnARidgeOnlyTheHigherOneStays) {
  EXPECT_EQ(row({0, 30, 10, 12, 0}, 5), (std::vector<uint8>{0, 25, 10, 10, 0}));
}

TEST(HMaximumTransform, CornersDoNotConnect) {
  EXPECT_EQ(HExtrema::transformed<Op>(std::vector<uint8>{9, 0, 0, 6}, {2, 2, 1}, uint8(2)),
            (std::vector<uint8>{7, 0, 0, 4}));
}
}  // namespace
}  // namespace NORV::Tests
