#include "Labelling/LabellingTests.hpp"

#include <CityblockConnectedComponentsAnalysis.hpp>
#include <DLL/CityblockConnectedComponentsAnalysis.hpp>

namespace NORV::Tests {
namespace {

struct Cityblock {
  using Parameter = TaviOperators::CityblockConnectedComponentsAnalysis::Parameter;
  using Frame = TaviOperators::DLL::CityblockConnectedComponentsAnalysis::Operator;

  static constexpr bool allNeighbours = false;
  static constexpr LabellingTexts texts{
      "CityblockConnectedComponentsAnalysis", "NORV::TaviOperators::CityblockConnectedComponentsAnalysis::Parameter",
      "NORV::TaviOperators::DLL::CityblockConnectedComponentsAnalysis::Operator::getOperatorTypeFromParameterObject: "
      "invalid parameter object!",
      "NORV::TaviOperators::DLL::CityblockConnectedComponentsAnalysis::Operator::getOperatorTypeFromParameterObject: "
      "inputVolume is NULL!",
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::CityblockConnectedComponentsAnalysis::Operator< NORV::float32 , NORV::float32 > is "
      "registered"};

  template <class Body>
  static void forEachPair(const Body& body) {
    forEachUnsignedType(
        [&body]<class In>() { forEachUnsignedType([&body]<class Out>() { body.template operator()<In, Out>(); }); });
  }
};
using Tests = LabellingTests<Cityblock>;

TEST(CityblockConnectedComponentsAnalysisParameter, KeysStandInTheirOrderWithTheirDefaults) {
  Tests::keysStandInTheirOrder();
}
TEST(CityblockConnectedComponentsAnalysisInstances, EveryPairIsRegistered) { Tests::everyPairIsRegistered(9); }
TEST(CityblockConnectedComponentsAnalysis, EveryPairIsAsStated) { Tests::everyPairIsAsStated(); }
TEST(CityblockConnectedComponentsAnalysis, AnySizeAndDensityIsAsStated) { Tests::anySizeAndDensityIsAsStated(); }
TEST(CityblockConnectedComponentsAnalysis, CombsAndSpiralsAreAsStated) { Tests::combsAndSpiralsAreAsStated(); }
TEST(CityblockConnectedComponentsAnalysis, AnyNumberOfThreadsIsAsStated) { Tests::anyNumberOfThreadsIsAsStated(); }
TEST(CityblockConnectedComponentsAnalysis, EveryLayoutIsAsStated) { Tests::everyLayoutIsAsStated(); }
TEST(CityblockConnectedComponentsAnalysis, AnOutputIsMadeOfTheInputsType) { Tests::anOutputIsMadeOfTheInputsType(); }
TEST(CityblockConnectedComponentsAnalysis, TheOutputsTypeSelectsTheInstance) {
  Tests::theOutputsTypeSelectsTheInstance();
}
TEST(CityblockConnectedComponentsAnalysis, AnOutputOfAnotherSizeIsResizedAndReused) {
  Tests::anOutputOfAnotherSizeIsResizedAndReused();
}
TEST(CityblockConnectedComponentsAnalysis, AllBackgroundIsZeroAndOneLabel) { Tests::allBackgroundIsZeroAndOneLabel(); }
TEST(CityblockConnectedComponentsAnalysis, AnEmptyVolumeHasOneLabel) { Tests::anEmptyVolumeHasOneLabel(); }
TEST(CityblockConnectedComponentsAnalysis, ASingleVoxelHasLabelOne) { Tests::aSingleVoxelHasLabelOne(); }
TEST(CityblockConnectedComponentsAnalysis, AUShapeHasOneLabelAndLeavesNoGap) {
  Tests::aUShapeHasOneLabelAndLeavesNoGap();
}
TEST(CityblockConnectedComponentsAnalysis, DifferentGreyValuesThatTouchAreOneObject) {
  Tests::differentGreyValuesThatTouchAreOneObject();
}
TEST(CityblockConnectedComponentsAnalysis, TablesOfAnySizeGiveTheSame) { Tests::tablesOfAnySizeGiveTheSame(); }
TEST(CityblockConnectedComponentsAnalysis, AnOperatorIsReusable) { Tests::anOperatorIsReusable(); }
TEST(CityblockConnectedComponentsAnalysis, TheTableStaysWithTheOperator) { Tests::theTableStaysWithTheOperator(); }
TEST(CityblockConnectedComponentsAnalysis, InPlace) { Tests::inPlace(); }
TEST(CityblockConnectedComponentsAnalysis, OutputInTheMemoryOfTheInput) { Tests::outputInTheMemoryOfTheInput(); }
TEST(CityblockConnectedComponentsAnalysis, ProgressEndsAtOne) { Tests::progressEndsAtOne(); }

TEST(CityblockConnectedComponentsAnalysisFailure, Of255RawLabelsAllSucceedAndThe256thOverflows) {
  Tests::rawLabelsOfUint8();
}
TEST(CityblockConnectedComponentsAnalysisFailure, RawLabelsCountBeforeTheyMeet) {
  Tests::rawLabelsCountBeforeTheyMeet();
}
TEST(CityblockConnectedComponentsAnalysisFailure, AnyVolumeOverflowsAtItsVoxelAndKeepsRawLabels) {
  Tests::anyVolumeOverflowsAtItsVoxel();
}
TEST(CityblockConnectedComponentsAnalysisFailure, AWrongParameterObject) { Tests::wrongParameterObject(); }
TEST(CityblockConnectedComponentsAnalysisFailure, NoInputOrOneOfAnotherClass) { Tests::noInput(); }
TEST(CityblockConnectedComponentsAnalysisFailure, AnOutputOfAnotherClass) { Tests::outputOfAnotherClass(); }
TEST(CityblockConnectedComponentsAnalysisFailure, AMissingOrWrongBackground) { Tests::missingOrWrongValue(); }
TEST(CityblockConnectedComponentsAnalysisFailure, FloatingPointHasNoInstance) { Tests::noInstanceForTheTypes(); }
TEST(CityblockConnectedComponentsAnalysisFailure, TablesThatNoMemoryHolds) { Tests::tablesThatNoMemoryHolds(); }
TEST(CityblockConnectedComponentsAnalysisFailure, AnyAllocationThatFailsSurfaces) { Tests::allocationsThatFail(); }

TEST(CityblockConnectedComponentsAnalysisAbort, BeforeTheFirstSliceLeavesAllAsItIs) {
  Tests::abortBeforeTheFirstSlice();
}
TEST(CityblockConnectedComponentsAnalysisAbort, ReturnsNormallyAndTheNextRunIsWhole) {
  Tests::abortFromAnotherThread();
}

TEST(CityblockConnectedComponentsAnalysis, TwoVoxelsThatTouchAtACornerOnlyAreTwoObjects) {
  for (const Extents& step : {Extents{0, 0, 1}, Extents{2, 0, 1}, Extents{0, 2, 1}, Extents{2, 2, 1}}) {
    Tests::expectObjectsOfPair(step, 2);
  }
}

TEST(CityblockConnectedComponentsAnalysis, TwoVoxelsThatTouchAtAnEdgeOnlyAreTwoObjects) {
  for (const Extents& step :
       {Extents{0, 2, 0}, Extents{2, 2, 0}, Extents{0, 1, 1}, Extents{2, 1, 1}, Extents{1, 0, 1}, Extents{1, 2, 1}}) {
    Tests::expectObjectsOfPair(step, 2);
  }
}

TEST(CityblockConnectedComponentsAnalysis, TwoVoxelsThatTouchAtAFaceAreOneObject) {
  for (const Extents& step : {Extents{2, 1, 0}, Extents{1, 2, 0}, Extents{1, 1, 1}}) {
    Tests::expectObjectsOfPair(step, 1);
  }
}

TEST(CityblockConnectedComponentsAnalysis, TwoVoxelsWithAnotherBetweenThemAreTwoObjects) {
  for (const Extents& step :
       {Extents{3, 1, 0}, Extents{1, 3, 0}, Extents{1, 1, 2}, Extents{3, 3, 2}, Extents{3, 2, 1}}) {
    Tests::expectObjectsOfPair(step, 2);
  }
}

}  // namespace
}  // namespace NORV::Tests
