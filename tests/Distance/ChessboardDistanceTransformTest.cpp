#include "Distance/DistanceFailures.hpp"
#include "Distance/DistanceTests.hpp"

#include <ChessboardDistanceTransform.hpp>
#include <DLL/ChessboardDistanceTransform.hpp>

namespace NORV::Tests {
namespace {

struct Chessboard {
  using Parameter = TaviOperators::ChessboardDistanceTransform::Parameter;
  using Frame = TaviOperators::DLL::ChessboardDistanceTransform::Operator;

  static constexpr bool allNeighbours = true;
  static constexpr DistanceTexts texts{
      "ChessboardDistanceTransform",
      "NORV::TaviOperators::ChessboardDistanceTransform::Parameter",
      "NORV::TaviOperators::ChessboardDistanceTransform::Operator< NORV::uint8 , NORV::uint16 >",
      "NORV::TaviOperators::DLL::ChessboardDistanceTransform::Operator::getOperatorTypeFromParameterObject: "
      "invalid parameter object!",
      "NORV::TaviOperators::DLL::ChessboardDistanceTransform::Operator::getOperatorTypeFromParameterObject: "
      "inputVolume is NULL!",
      "NORV::TaviOperators::ChamferDistanceTransform::Operator::apply",
      "NORV::TaviOperators::ChamferDistanceTransform::Operator::apply input volume is NULL",
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::ChessboardDistanceTransform::Operator< NORV::float32 , NORV::float32 > is registered"};

  template <class Body>
  static void forEachPair(const Body& body) {
    const auto one = []<class In>(const Body& act) {
      forEachIntegerType([&act]<class Out>() { act.template operator()<In, Out>(); });
    };
    one.template operator()<uint8>(body);
    one.template operator()<uint16>(body);
    one.template operator()<uint32>(body);
  }
};
using Tests = DistanceTests<Chessboard>;
using Failures = DistanceFailures<Chessboard>;

TEST(ChessboardDistanceTransformParameter, KeysStandInTheirOrderWithTheirDefaults) { Tests::keysStandInTheirOrder(); }
TEST(ChessboardDistanceTransformInstances, EveryPairIsRegistered) { Tests::everyPairIsRegistered(18); }
TEST(ChessboardDistanceTransform, EveryPairIsAsStated) { Tests::everyPairIsAsStated(); }
TEST(ChessboardDistanceTransform, LongRowsAreAsStated) { Tests::longRowsAreAsStated(); }
TEST(ChessboardDistanceTransform, ASingleSourceAnywhereInARow) { Tests::aSingleSourceAnywhereInARow(); }
TEST(ChessboardDistanceTransform, AnyNumberOfThreadsIsAsStated) { Tests::anyNumberOfThreadsIsAsStated(); }
TEST(ChessboardDistanceTransform, EveryLayoutIsAsStated) { Tests::everyLayoutIsAsStated(); }
TEST(ChessboardDistanceTransform, AnOutputIsMadeOfTheInputsType) { Tests::anOutputIsMadeOfTheInputsType(); }
TEST(ChessboardDistanceTransform, TheOutputsTypeSelectsTheInstance) { Tests::theOutputsTypeSelectsTheInstance(); }
TEST(ChessboardDistanceTransform, AnOutputOfAnotherSizeIsResizedAndReused) {
  Tests::anOutputOfAnotherSizeIsResizedAndReused();
}
TEST(ChessboardDistanceTransform, WithoutASourceAllHoldTheStartValue) { Tests::withoutASourceAllHoldTheStartValue(); }
TEST(ChessboardDistanceTransform, AVolumeOfSourcesIsZero) { Tests::aVolumeOfSourcesIsZero(); }
TEST(ChessboardDistanceTransform, ASingleSourceInTheCentreGives2AtTheCorners) { Tests::aSingleSourceInTheCentre(2); }
TEST(ChessboardDistanceTransform, AVolumeOfOneVoxel) { Tests::oneVoxel(); }
TEST(ChessboardDistanceTransform, ThinVolumesAreLikePermutedCopies) { Tests::thinVolumesAreLikePermutedCopies(); }
TEST(ChessboardDistanceTransform, TheStartValueIsACeiling) { Tests::theStartValueIsACeiling(); }
TEST(ChessboardDistanceTransform, StartValuesThatWrap) { Tests::startValuesThatWrap(); }
TEST(ChessboardDistanceTransform, InPlace) { Tests::inPlace(); }
TEST(ChessboardDistanceTransform, OutputInTheMemoryOfTheInput) { Tests::outputInTheMemoryOfTheInput(); }
TEST(ChessboardDistanceTransform, AnEmptyVolumeGivesAnEmptyOne) { Tests::emptyVolume(); }
TEST(ChessboardDistanceTransform, ThreeStepsOfProgressPerSlice) { Tests::threeStepsPerSlice(); }

TEST(ChessboardDistanceTransformFailure, AWrongParameterObject) { Failures::wrongParameterObject(); }
TEST(ChessboardDistanceTransformFailure, NoInputOrOneOfAnotherClass) { Failures::noInput(); }
TEST(ChessboardDistanceTransformFailure, AnOutputOfAnotherClass) { Failures::outputOfAnotherClass(); }
TEST(ChessboardDistanceTransformFailure, AMissingOrWrongValue) { Failures::missingOrWrongValue(); }
TEST(ChessboardDistanceTransformFailure, FloatingPointWithoutAnIntegerOutput) { Failures::noInstanceForTheTypes(); }
TEST(ChessboardDistanceTransformFailure, AnyAllocationThatFailsSurfaces) { Failures::allocationsThatFail(); }

TEST(ChessboardDistanceTransformFailure, SignedInputHasNoInstance) {
  expectStandard<std::invalid_argument>(
      [] {
        Chessboard::Frame().apply(Tests::request(TestVolume<int8>({2, 2, 2}), nullptr, int8{1}));
      },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::ChessboardDistanceTransform::Operator< NORV::int8 , NORV::int8 > is registered");
}

/// Which scan a volume gets shows in what an aborted run leaves behind.
TEST(ChessboardDistanceTransformAbort, LeavesTheOrientationsOfTheScan) {
  struct {
    Extents extents;  // big stands for 3
    Codes orientation;
  } const table[] = {{{3, 3, 3}, {0, 2, 4}}, {{2, 3, 3}, {2, 4, 0}}, {{1, 3, 3}, {2, 4, 0}}, {{3, 2, 3}, {0, 4, 2}},
                     {{2, 2, 3}, {4, 0, 2}}, {{1, 2, 3}, {4, 2, 0}}, {{3, 1, 3}, {0, 4, 2}}, {{2, 1, 3}, {4, 0, 2}},
                     {{1, 1, 3}, {4, 0, 2}}, {{3, 3, 2}, {0, 2, 4}}, {{2, 3, 2}, {2, 0, 4}}, {{1, 3, 2}, {2, 4, 0}},
                     {{1, 2, 2}, {2, 4, 0}}, {{3, 2, 2}, {0, 2, 4}}, {{2, 2, 2}, {0, 2, 4}}, {{3, 1, 2}, {0, 4, 2}},
                     {{2, 1, 2}, {0, 4, 2}}, {{1, 1, 2}, {4, 0, 2}}, {{3, 3, 1}, {0, 2, 4}}, {{2, 3, 1}, {2, 0, 4}},
                     {{1, 3, 1}, {2, 0, 4}}, {{1, 2, 1}, {2, 0, 4}}, {{4, 2, 1}, {0, 2, 4}}, {{2, 2, 1}, {0, 2, 4}},
                     {{4, 1, 1}, {0, 2, 4}}, {{2, 1, 1}, {0, 2, 4}}, {{1, 1, 1}, {0, 2, 4}}};
  for (const auto& [extents, codes] : table) {
    SCOPED_TRACE(std::to_string(extents[0]) + " x " + std::to_string(extents[1]) + " x " + std::to_string(extents[2]));
    const auto left = Failures::abortBeforeTheFirstSlice(extents);
    EXPECT_EQ(left.first, Tavi::Orientation(codes[0], codes[1], codes[2]));
    EXPECT_EQ(left.second, Tavi::Orientation(codes[0], codes[1], codes[2]));
  }
}

TEST(ChessboardDistanceTransformAbort, ReturnsNormallyAndTheNextRunIsWhole) { Failures::abortFromAnotherThread(); }

}  // namespace
}  // namespace NORV::Tests
