#include "Labelling/LabellingTests.hpp"

#include <ChessboardConnectedComponentsAnalysis.hpp>
#include <DLL/ChessboardConnectedComponentsAnalysis.hpp>

namespace NORV::Tests {
namespace {

struct Chessboard {
  using Parameter = TaviOperators::ChessboardConnectedComponentsAnalysis::Parameter;
  using Frame = TaviOperators::DLL::ChessboardConnectedComponentsAnalysis::Operator;

  static constexpr bool allNeighbours = true;
  static constexpr LabellingTexts texts{
      "ChessboardConnectedComponentsAnalysis", "NORV::TaviOperators::ChessboardConnectedComponentsAnalysis::Parameter",
      "NORV::TaviOperators::DLL::ChessboardConnectedComponentsAnalysis::Operator::getOperatorTypeFromParameterObject: "
      "invalid parameter object!",
      "NORV::TaviOperators::DLL::ChessboardConnectedComponentsAnalysis::Operator::getOperatorTypeFromParameterObject: "
      "inputVolume is NULL!",
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::ChessboardConnectedComponentsAnalysis::Operator< NORV::float32 , NORV::float32 > is "
      "registered"};

  template <class Body>
  static void forEachPair(const Body& body) {
    forEachUnsignedType([&body]<class Out>() { body.template operator()<int8, Out>(); });
    forEachUnsignedType(
        [&body]<class In>() { forEachUnsignedType([&body]<class Out>() { body.template operator()<In, Out>(); }); });
  }
};
using Tests = LabellingTests<Chessboard>;

TEST(ChessboardConnectedComponentsAnalysisParameter, KeysStandInTheirOrderWithTheirDefaults) {
  Tests::keysStandInTheirOrder();
}
TEST(ChessboardConnectedComponentsAnalysisInstances, EveryPairIsRegistered) { Tests::everyPairIsRegistered(12); }
TEST(ChessboardConnectedComponentsAnalysis, EveryPairIsAsStated) { Tests::everyPairIsAsStated(); }
TEST(ChessboardConnectedComponentsAnalysis, AnySizeAndDensityIsAsStated) { Tests::anySizeAndDensityIsAsStated(); }
TEST(ChessboardConnectedComponentsAnalysis, CombsAndSpiralsAreAsStated) { Tests::combsAndSpiralsAreAsStated(); }
TEST(ChessboardConnectedComponentsAnalysis, AnyNumberOfThreadsIsAsStated) { Tests::anyNumberOfThreadsIsAsStated(); }
TEST(ChessboardConnectedComponentsAnalysis, EveryLayoutIsAsStated) { Tests::everyLayoutIsAsStated(); }
TEST(ChessboardConnectedComponentsAnalysis, AnOutputIsMadeOfTheInputsType) { Tests::anOutputIsMadeOfTheInputsType(); }
TEST(ChessboardConnectedComponentsAnalysis, TheOutputsTypeSelectsTheInstance) {
  Tests::theOutputsTypeSelectsTheInstance();
}
TEST(ChessboardConnectedComponentsAnalysis, AnOutputOfAnotherSizeIsResizedAndReused) {
  Tests::anOutputOfAnotherSizeIsResizedAndReused();
}
TEST(ChessboardConnectedComponentsAnalysis, AllBackgroundIsZeroAndOneLabel) { Tests::allBackgroundIsZeroAndOneLabel(); }
TEST(ChessboardConnectedComponentsAnalysis, AnEmptyVolumeHasOneLabel) { Tests::anEmptyVolumeHasOneLabel(); }
TEST(ChessboardConnectedComponentsAnalysis, ASingleVoxelHasLabelOne) { Tests::aSingleVoxelHasLabelOne(); }
TEST(ChessboardConnectedComponentsAnalysis, AUShapeHasOneLabelAndLeavesNoGap) {
  Tests::aUShapeHasOneLabelAndLeavesNoGap();
}
TEST(ChessboardConnectedComponentsAnalysis, DifferentGreyValuesThatTouchAreOneObject) {
  Tests::differentGreyValuesThatTouchAreOneObject();
}
TEST(ChessboardConnectedComponentsAnalysis, TablesOfAnySizeGiveTheSame) { Tests::tablesOfAnySizeGiveTheSame(); }
TEST(ChessboardConnectedComponentsAnalysis, AnOperatorIsReusable) { Tests::anOperatorIsReusable(); }
TEST(ChessboardConnectedComponentsAnalysis, TheTableStaysWithTheOperator) { Tests::theTableStaysWithTheOperator(); }
TEST(ChessboardConnectedComponentsAnalysis, InPlace) { Tests::inPlace(); }
TEST(ChessboardConnectedComponentsAnalysis, OutputInTheMemoryOfTheInput) { Tests::outputInTheMemoryOfTheInput(); }
TEST(ChessboardConnectedComponentsAnalysis, ProgressEndsAtOne) { Tests::progressEndsAtOne(); }

TEST(ChessboardConnectedComponentsAnalysisFailure, Of255RawLabelsAllSucceedAndThe256thOverflows) {
  Tests::rawLabelsOfUint8();
}
TEST(ChessboardConnectedComponentsAnalysisFailure, RawLabelsCountBeforeTheyMeet) {
  Tests::rawLabelsCountBeforeTheyMeet();
}
TEST(ChessboardConnectedComponentsAnalysisFailure, AnyVolumeOverflowsAtItsVoxelAndKeepsRawLabels) {
  Tests::anyVolumeOverflowsAtItsVoxel();
}
TEST(ChessboardConnectedComponentsAnalysisFailure, AWrongParameterObject) { Tests::wrongParameterObject(); }
TEST(ChessboardConnectedComponentsAnalysisFailure, NoInputOrOneOfAnotherClass) { Tests::noInput(); }
TEST(ChessboardConnectedComponentsAnalysisFailure, AnOutputOfAnotherClass) { Tests::outputOfAnotherClass(); }
TEST(ChessboardConnectedComponentsAnalysisFailure, AMissingOrWrongBackground) { Tests::missingOrWrongValue(); }
TEST(ChessboardConnectedComponentsAnalysisFailure, FloatingPointHasNoInstance) { Tests::noInstanceForTheTypes(); }
TEST(ChessboardConnectedComponentsAnalysisFailure, TablesThatNoMemoryHolds) { Tests::tablesThatNoMemoryHolds(); }
TEST(ChessboardConnectedComponentsAnalysisFailure, AnyAllocationThatFailsSurfaces) { Tests::allocationsThatFail(); }

TEST(ChessboardConnectedComponentsAnalysisAbort, BeforeTheFirstSliceLeavesAllAsItIs) {
  Tests::abortBeforeTheFirstSlice();
}
TEST(ChessboardConnectedComponentsAnalysisAbort, ReturnsNormallyAndTheNextRunIsWhole) {
  Tests::abortFromAnotherThread();
}

TEST(ChessboardConnectedComponentsAnalysis, TwoVoxelsThatTouchAtACornerOnlyAreOneObject) {
  for (const Extents& step : {Extents{0, 0, 1}, Extents{2, 0, 1}, Extents{0, 2, 1}, Extents{2, 2, 1}}) {
    Tests::expectObjectsOfPair(step, 1);
  }
}

TEST(ChessboardConnectedComponentsAnalysis, TwoVoxelsThatTouchAtAnEdgeOnlyAreOneObject) {
  for (const Extents& step :
       {Extents{0, 2, 0}, Extents{2, 2, 0}, Extents{0, 1, 1}, Extents{2, 1, 1}, Extents{1, 0, 1}, Extents{1, 2, 1}}) {
    Tests::expectObjectsOfPair(step, 1);
  }
}

TEST(ChessboardConnectedComponentsAnalysis, TwoVoxelsThatTouchAtAFaceAreOneObject) {
  for (const Extents& step : {Extents{2, 1, 0}, Extents{1, 2, 0}, Extents{1, 1, 1}}) {
    Tests::expectObjectsOfPair(step, 1);
  }
}

TEST(ChessboardConnectedComponentsAnalysis, TwoVoxelsWithAnotherBetweenThemAreTwoObjects) {
  for (const Extents& step :
       {Extents{3, 1, 0}, Extents{1, 3, 0}, Extents{1, 1, 2}, Extents{3, 3, 2}, Extents{3, 2, 1}}) {
    Tests::expectObjectsOfPair(step, 2);
  }
}

}  // namespace
}  // namespace NORV::Tests
