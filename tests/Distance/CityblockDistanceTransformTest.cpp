#include "Distance/DistanceFailures.hpp"
#include "Distance/DistanceTests.hpp"

#include <CityblockDistanceTransform.hpp>
#include <DLL/CityblockDistanceTransform.hpp>

namespace NORV::Tests {
namespace {

struct Cityblock {
  using Parameter = TaviOperators::CityblockDistanceTransform::Parameter;
  using Frame = TaviOperators::DLL::CityblockDistanceTransform::Operator;

  static constexpr bool allNeighbours = false;
  static constexpr DistanceTexts texts{
      "CityblockDistanceTransform",
      "NORV::TaviOperators::CityblockDistanceTransform::Parameter",
      "NORV::TaviOperators::CityblockDistanceTransform::Operator< NORV::uint8 , NORV::uint16 >",
      "NORV::TaviOperators::DLL::CityblockDistanceTransform::Operator::getOperatorTypeFromParameterObject: "
      "invalid parameter object!",
      "NORV::TaviOperators::DLL::CityblockDistanceTransform::Operator::getOperatorTypeFromParameterObject: "
      "inputVolume is NULL!",
      "NORV::TaviOperators::CityblockDistanceTransform::Operator::apply",
      "NORV::TaviOperators::CityblockDistanceTransform::Operator::apply input volume is NULL",
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::CityblockDistanceTransform::Operator< NORV::float32 , NORV::float32 > is registered"};

  template <class Body>
  static void forEachPair(const Body& body) {
    forEachVoxelType(
        [&body]<class In>() { forEachIntegerType([&body]<class Out>() { body.template operator()<In, Out>(); }); });
  }
};
using Tests = DistanceTests<Cityblock>;
using Failures = DistanceFailures<Cityblock>;

TEST(CityblockDistanceTransformParameter, KeysStandInTheirOrderWithTheirDefaults) { Tests::keysStandInTheirOrder(); }
TEST(CityblockDistanceTransformInstances, EveryPairIsRegistered) { Tests::everyPairIsRegistered(48); }
TEST(CityblockDistanceTransform, EveryPairIsAsStated) { Tests::everyPairIsAsStated(); }
TEST(CityblockDistanceTransform, LongRowsAreAsStated) { Tests::longRowsAreAsStated(); }
TEST(CityblockDistanceTransform, ASingleSourceAnywhereInARow) { Tests::aSingleSourceAnywhereInARow(); }
TEST(CityblockDistanceTransform, AnyNumberOfThreadsIsAsStated) { Tests::anyNumberOfThreadsIsAsStated(); }
TEST(CityblockDistanceTransform, EveryLayoutIsAsStated) { Tests::everyLayoutIsAsStated(); }
TEST(CityblockDistanceTransform, AnOutputIsMadeOfTheInputsType) { Tests::anOutputIsMadeOfTheInputsType(); }
TEST(CityblockDistanceTransform, TheOutputsTypeSelectsTheInstance) { Tests::theOutputsTypeSelectsTheInstance(); }
TEST(CityblockDistanceTransform, AnOutputOfAnotherSizeIsResizedAndReused) {
  Tests::anOutputOfAnotherSizeIsResizedAndReused();
}
TEST(CityblockDistanceTransform, WithoutASourceAllHoldTheStartValue) { Tests::withoutASourceAllHoldTheStartValue(); }
TEST(CityblockDistanceTransform, AVolumeOfSourcesIsZero) { Tests::aVolumeOfSourcesIsZero(); }
TEST(CityblockDistanceTransform, ASingleSourceInTheCentreGives6AtTheCorners) { Tests::aSingleSourceInTheCentre(6); }
TEST(CityblockDistanceTransform, AVolumeOfOneVoxel) { Tests::oneVoxel(); }
TEST(CityblockDistanceTransform, ThinVolumesAreLikePermutedCopies) { Tests::thinVolumesAreLikePermutedCopies(); }
TEST(CityblockDistanceTransform, TheStartValueIsACeiling) { Tests::theStartValueIsACeiling(); }
TEST(CityblockDistanceTransform, StartValuesThatWrap) { Tests::startValuesThatWrap(); }
TEST(CityblockDistanceTransform, InPlace) { Tests::inPlace(); }
TEST(CityblockDistanceTransform, OutputInTheMemoryOfTheInput) { Tests::outputInTheMemoryOfTheInput(); }
TEST(CityblockDistanceTransform, AnEmptyVolumeGivesAnEmptyOne) { Tests::emptyVolume(); }
TEST(CityblockDistanceTransform, ThreeStepsOfProgressPerSlice) { Tests::threeStepsPerSlice(); }

TEST(CityblockDistanceTransformFailure, AWrongParameterObject) { Failures::wrongParameterObject(); }
TEST(CityblockDistanceTransformFailure, NoInputOrOneOfAnotherClass) { Failures::noInput(); }
TEST(CityblockDistanceTransformFailure, AnOutputOfAnotherClass) { Failures::outputOfAnotherClass(); }
TEST(CityblockDistanceTransformFailure, AMissingOrWrongValue) { Failures::missingOrWrongValue(); }
TEST(CityblockDistanceTransformFailure, FloatingPointWithoutAnIntegerOutput) { Failures::noInstanceForTheTypes(); }
TEST(CityblockDistanceTransformFailure, AnyAllocationThatFailsSurfaces) { Failures::allocationsThatFail(); }

TEST(CityblockDistanceTransform, FloatingPointValuesAreComparedExactly) {
  const float64 nan = std::numeric_limits<float64>::quiet_NaN();
  const std::vector<float64> values{0.0, 0.1, -0.0, nan, 0.1, std::nextafter(0.1, 1.0), 5.0};
  const auto found = [&](float64 source) { return Tests::run<float64, int16>(values, {7, 1, 1}, source); };
  EXPECT_EQ(found(0.1), (std::vector<int16>{1, 0, 1, 1, 0, 1, 2}));
  EXPECT_EQ(found(0.0), (std::vector<int16>{0, 1, 0, 1, 2, 3, 4}));
  EXPECT_EQ(found(nan), std::vector<int16>(7, 32765 - 14));  // equal to nothing
}

TEST(CityblockDistanceTransformAbort, LeavesTheOrientationsAsTheyAre) {
  const auto left = Failures::abortBeforeTheFirstSlice({2, 1, 5});
  EXPECT_EQ(left.first, Tavi::Orientation(0, 2, 4));
  EXPECT_EQ(left.second, Tavi::Orientation(0, 2, 4));
}

TEST(CityblockDistanceTransformAbort, ReturnsNormallyAndTheNextRunIsWhole) { Failures::abortFromAnotherThread(); }

}  // namespace
}  // namespace NORV::Tests
