#include "Labelling/SelectionTests.hpp"

#include <DLL/SmallObjectsRemover.hpp>
#include <SmallObjectsRemover.hpp>

namespace NORV::Tests {
namespace {

struct Small {
  using Parameter = TaviOperators::SmallObjectsRemover::Parameter;
  using Frame = TaviOperators::DLL::SmallObjectsRemover::Operator;

  static constexpr bool hasThreshold = true;
  static constexpr SelectionTexts texts{
      "SmallObjectsRemover",
      "NORV::TaviOperators::SmallObjectsRemover::Parameter",
      "NORV::TaviOperators::DLL::SmallObjectsRemover::Operator::getOperatorTypeFromParameterObject: invalid parameter "
      "object!",
      "NORV::TaviOperators::DLL::SmallObjectsRemover::Operator::getOperatorTypeFromParameterObject: inputVolume is "
      "NULL!",
      "NORV::TaviOperators::SmallObjectsRemover::Operator::apply",
      "NORV::TaviOperators::SmallObjectsRemover::Operator::apply input volume is NULL",
      "NORV::TaviOperators::SmallObjectsRemover::Operator::apply input volume have different size",
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::SmallObjectsRemover::Operator< NORV::float32, NORV::uint8, NORV::float32 > is registered"};

  static std::vector<bool> stated(const std::vector<uint64>& counts, std::optional<std::size_t> protectedLabel,
                                  uint64 threshold) {
    std::vector<bool> isRemoved;
    for (std::size_t label = 0; label < counts.size(); ++label) {
      isRemoved.push_back(label != protectedLabel && counts[label] < threshold);
    }
    return isRemoved;
  }
};
using Tests = SelectionTests<Small>;

TEST(SmallObjectsRemoverParameter, KeysStandInTheirOrderWithTheirDefaults) { Tests::keysStandInTheirOrder(); }
TEST(SmallObjectsRemoverInstances, EveryPairIsRegistered) { Tests::everyPairIsRegistered(); }
TEST(SmallObjectsRemover, EveryPairIsAsStated) { Tests::everyPairIsAsStated(); }
TEST(SmallObjectsRemover, AnyNumberOfThreadsIsAsStated) { Tests::anyNumberOfThreadsIsAsStated(); }
TEST(SmallObjectsRemover, EveryLayoutIsAsStated) { Tests::everyLayoutIsAsStated(); }
TEST(SmallObjectsRemover, InPlace) { Tests::inPlace(); }
TEST(SmallObjectsRemover, AnOutputThatOverwritesLabelsAhead) { Tests::anOutputThatOverwritesLabelsAhead(); }
TEST(SmallObjectsRemover, AnOutputThatOverwritesTheInputAhead) { Tests::anOutputThatOverwritesTheInputAhead(); }
TEST(SmallObjectsRemover, AnOutputOfAnotherSizeIsResizedAndReused) { Tests::anOutputOfAnotherSizeIsResizedAndReused(); }
TEST(SmallObjectsRemover, AProtectedLabelBeyondTheLargestHasNoEffect) {
  Tests::aProtectedLabelBeyondTheLargestHasNoEffect();
}
TEST(SmallObjectsRemover, ALabelThatIsNotProtectedMayBeOfAnyType) { Tests::aLabelThatIsNotProtectedMayBeOfAnyType(); }
TEST(SmallObjectsRemover, AnEmptyVolumeGivesAnEmptyOne) { Tests::anEmptyVolumeGivesAnEmptyOne(); }
TEST(SmallObjectsRemover, ProgressEndsAtOne) { Tests::progressEndsAtOne(); }

TEST(SmallObjectsRemoverFailure, AWrongParameterObject) { Tests::wrongParameterObject(); }
TEST(SmallObjectsRemoverFailure, NoInputOrLabelsOrThoseOfAnotherClass) { Tests::noInputOrLabels(); }
TEST(SmallObjectsRemoverFailure, SizesThatDiffer) { Tests::sizesThatDiffer(); }
TEST(SmallObjectsRemoverFailure, MissingOrWrongValues) { Tests::missingOrWrongValues(); }
TEST(SmallObjectsRemoverFailure, AnOutputOfAnotherClassOrAnInputWithoutAnInstance) { Tests::outputOfAnotherClass(); }
TEST(SmallObjectsRemoverFailure, OneHugeLabelThatNoMemoryHolds) { Tests::oneHugeLabel(); }
TEST(SmallObjectsRemoverFailure, AnyAllocationThatFailsSurfaces) { Tests::allocationsThatFail(); }

TEST(SmallObjectsRemoverAbort, BeforeTheFirstSliceRemovesNothing) { Tests::abortBeforeTheFirstSlice(); }
TEST(SmallObjectsRemoverAbort, ReturnsNormallyAndTheNextRunIsWhole) { Tests::abortFromAnotherThread(); }

TEST(SmallObjectsRemover, AThresholdOf0RemovesNothingAndReports0) {
  const TestVolume<uint8> input({4, 1, 1});
  const TestVolume<uint16> labels({4, 1, 1});
  input.fill({1, 2, 3, 4});
  labels.fill({1000, 3, 3, 0});
  const auto parameter = Tests::request<uint8, uint16>(input, labels, nullptr, {}, 0, 9);
  parameter->outputNumberOfRemovedObjects = 7;
  Small::Frame().apply(parameter);
  EXPECT_EQ(voxelsOf(Tavi::VolumePtr<uint8>(parameter->outputVolume.value())), (std::vector<uint8>{1, 2, 3, 4}));
  EXPECT_EQ(parameter->outputNumberOfRemovedObjects.value(), 0u);
}

TEST(SmallObjectsRemover, LabelsWithoutVoxelsAreReported) {
  const TestVolume<uint8> input({4, 1, 1});
  const TestVolume<uint16> labels({4, 1, 1});
  labels.fill({1000, 3, 3, 1000});
  const auto parameter = Tests::request<uint8, uint16>(input, labels, nullptr, {}, 1, 9);
  Small::Frame().apply(parameter);
  EXPECT_EQ(parameter->outputNumberOfRemovedObjects.value(), 999u);
  parameter->inputThreshold = 3;
  parameter->inputBackgroundLabelEnabled = true;
  parameter->inputBackgroundLabel.setValue(uint16{5});
  Small::Frame().apply(parameter);
  EXPECT_EQ(parameter->outputNumberOfRemovedObjects.value(), 1000u);
}

TEST(SmallObjectsRemover, AnObjectOfTheThresholdSurvives) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4, 5, 6}, {1, 1, 1, 2, 2, 0}, {}, 2, 9)),
            (std::vector<uint8>{1, 2, 3, 4, 5, 9}));
}

}  // namespace
}  // namespace NORV::Tests
