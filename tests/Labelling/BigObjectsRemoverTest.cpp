#include "Labelling/SelectionTests.hpp"

#include <BigObjectsRemover.hpp>
#include <DLL/BigObjectsRemover.hpp>

namespace NORV::Tests {
namespace {

struct Big {
  using Parameter = TaviOperators::BigObjectsRemover::Parameter;
  using Frame = TaviOperators::DLL::BigObjectsRemover::Operator;

  static constexpr bool hasThreshold = true;
  static constexpr SelectionTexts texts{
      "BigObjectsRemover",
      "NORV::TaviOperators::BigObjectsRemover::Parameter",
      "NORV::TaviOperators::DLL::BigObjectsRemover::Operator::getOperatorTypeFromParameterObject: invalid parameter "
      "object!",
      "NORV::TaviOperators::DLL::BigObjectsRemover::Operator::getOperatorTypeFromParameterObject: inputVolume is NULL!",
      "NORV::TaviOperators::BigObjectsRemover::Operator::apply",
      "NORV::TaviOperators::BigObjectsRemover::Operator::apply input volume is NULL",
      "NORV::TaviOperators::BigObjectsRemover::Operator::apply input volume have different size",
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::BigObjectsRemover::Operator< NORV::float32, NORV::uint8, NORV::float32 > is registered"};

  static std::vector<bool> stated(const std::vector<uint64>& counts, std::optional<std::size_t> protectedLabel,
                                  uint64 threshold) {
    std::vector<bool> isRemoved;
    for (std::size_t label = 0; label < counts.size(); ++label) {
      isRemoved.push_back(label != protectedLabel && counts[label] > threshold);
    }
    return isRemoved;
  }
};
using Tests = SelectionTests<Big>;

TEST(BigObjectsRemoverParameter, KeysStandInTheirOrderWithTheirDefaults) { Tests::keysStandInTheirOrder(); }
TEST(BigObjectsRemoverInstances, EveryPairIsRegistered) { Tests::everyPairIsRegistered(); }
TEST(BigObjectsRemover, EveryPairIsAsStated) { Tests::everyPairIsAsStated(); }
TEST(BigObjectsRemover, AnyNumberOfThreadsIsAsStated) { Tests::anyNumberOfThreadsIsAsStated(); }
TEST(BigObjectsRemover, EveryLayoutIsAsStated) { Tests::everyLayoutIsAsStated(); }
TEST(BigObjectsRemover, InPlace) { Tests::inPlace(); }
TEST(BigObjectsRemover, AnOutputThatOverwritesLabelsAhead) { Tests::anOutputThatOverwritesLabelsAhead(); }
TEST(BigObjectsRemover, AnOutputThatOverwritesTheInputAhead) { Tests::anOutputThatOverwritesTheInputAhead(); }
TEST(BigObjectsRemover, AnOutputOfAnotherSizeIsResizedAndReused) { Tests::anOutputOfAnotherSizeIsResizedAndReused(); }
TEST(BigObjectsRemover, AProtectedLabelBeyondTheLargestHasNoEffect) {
  Tests::aProtectedLabelBeyondTheLargestHasNoEffect();
}
TEST(BigObjectsRemover, ALabelThatIsNotProtectedMayBeOfAnyType) { Tests::aLabelThatIsNotProtectedMayBeOfAnyType(); }
TEST(BigObjectsRemover, AnEmptyVolumeGivesAnEmptyOne) { Tests::anEmptyVolumeGivesAnEmptyOne(); }
TEST(BigObjectsRemover, ProgressEndsAtOne) { Tests::progressEndsAtOne(); }

TEST(BigObjectsRemoverFailure, AWrongParameterObject) { Tests::wrongParameterObject(); }
TEST(BigObjectsRemoverFailure, NoInputOrLabelsOrThoseOfAnotherClass) { Tests::noInputOrLabels(); }
TEST(BigObjectsRemoverFailure, SizesThatDiffer) { Tests::sizesThatDiffer(); }
TEST(BigObjectsRemoverFailure, MissingOrWrongValues) { Tests::missingOrWrongValues(); }
TEST(BigObjectsRemoverFailure, AnOutputOfAnotherClassOrAnInputWithoutAnInstance) { Tests::outputOfAnotherClass(); }
TEST(BigObjectsRemoverFailure, OneHugeLabelThatNoMemoryHolds) { Tests::oneHugeLabel(); }
TEST(BigObjectsRemoverFailure, AnyAllocationThatFailsSurfaces) { Tests::allocationsThatFail(); }

TEST(BigObjectsRemoverAbort, BeforeTheFirstSliceRemovesNothing) { Tests::abortBeforeTheFirstSlice(); }
TEST(BigObjectsRemoverAbort, ReturnsNormallyAndTheNextRunIsWhole) { Tests::abortFromAnotherThread(); }

TEST(BigObjectsRemover, AThresholdOf0RemovesAllButTheProtectedLabel) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4}, {0, 1, 1, 2}, {}, 0, 9)), (std::vector<uint8>{9, 9, 9, 9}));
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4}, {0, 1, 1, 2}, uint8{1}, 0, 9)),
            (std::vector<uint8>{9, 2, 3, 9}));
}

TEST(BigObjectsRemover, LabelsWithoutVoxelsAreNotReported) {
  const TestVolume<uint8> input({4, 1, 1});
  const TestVolume<uint16> labels({4, 1, 1});
  labels.fill({1000, 3, 3, 1000});
  const auto parameter = Tests::request<uint8, uint16>(input, labels, nullptr, {}, 0, 9);
  Big::Frame().apply(parameter);
  EXPECT_EQ(parameter->outputNumberOfRemovedObjects.value(), 2u);
}

TEST(BigObjectsRemover, AnObjectOfTheThresholdSurvives) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4, 5, 6}, {1, 1, 1, 2, 2, 0}, {}, 2, 9)),
            (std::vector<uint8>{9, 9, 9, 4, 5, 6}));
}

TEST(BigObjectsRemover, TheLargestThresholdRemovesNothing) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3}, {1, 1, 0}, {}, 18446744073709551615u, 9)),
            (std::vector<uint8>{1, 2, 3}));
}

}  // namespace
}  // namespace NORV::Tests
