#include "Labelling/SelectionTests.hpp"

#include <BiggestObjectRemover.hpp>
#include <DLL/BiggestObjectRemover.hpp>

namespace NORV::Tests {
namespace {

struct WithoutBiggest {
  using Parameter = TaviOperators::BiggestObjectRemover::Parameter;
  using Frame = TaviOperators::DLL::BiggestObjectRemover::Operator;

  static constexpr bool hasThreshold = false;
  static constexpr SelectionTexts texts{
      "BiggestObjectRemover",
      "NORV::TaviOperators::BiggestObjectRemover::Parameter",
      "NORV::TaviOperators::DLL::BiggestObjectRemover::Operator::getOperatorTypeFromParameterObject: invalid parameter "
      "object!",
      "NORV::TaviOperators::DLL::BiggestObjectRemover::Operator::getOperatorTypeFromParameterObject: inputVolume is "
      "NULL!",
      "NORV::TaviOperators::BiggestObjectRemover::Operator::apply",
      "NORV::TaviOperators::BiggestObjectRemover::Operator::apply input volume is NULL",
      "NORV::TaviOperators::BiggestObjectRemover::Operator::apply input volume have different size",
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::BiggestObjectRemover::Operator< NORV::float32, NORV::uint8, NORV::float32 > is registered"};

  static std::vector<bool> stated(const std::vector<uint64>& counts, std::optional<std::size_t> protectedLabel,
                                  uint64) {
    uint64 most = 0;
    for (std::size_t label = 0; label < counts.size(); ++label) {
      most = label == protectedLabel ? most : std::max(most, counts[label]);
    }
    std::vector<bool> isRemoved;
    for (std::size_t label = 0; label < counts.size(); ++label) {
      isRemoved.push_back((label == protectedLabel ? 0 : counts[label]) >= most);
    }
    return isRemoved;
  }
};
using Tests = SelectionTests<WithoutBiggest>;

TEST(BiggestObjectRemoverParameter, KeysStandInTheirOrderWithTheirDefaults) { Tests::keysStandInTheirOrder(); }
TEST(BiggestObjectRemoverInstances, EveryPairIsRegistered) { Tests::everyPairIsRegistered(); }
TEST(BiggestObjectRemover, EveryPairIsAsStated) { Tests::everyPairIsAsStated(); }
TEST(BiggestObjectRemover, AnyNumberOfThreadsIsAsStated) { Tests::anyNumberOfThreadsIsAsStated(); }
TEST(BiggestObjectRemover, EveryLayoutIsAsStated) { Tests::everyLayoutIsAsStated(); }
TEST(BiggestObjectRemover, InPlace) { Tests::inPlace(); }
TEST(BiggestObjectRemover, AnOutputThatOverwritesLabelsAhead) { Tests::anOutputThatOverwritesLabelsAhead(); }
TEST(BiggestObjectRemover, AnOutputThatOverwritesTheInputAhead) { Tests::anOutputThatOverwritesTheInputAhead(); }
TEST(BiggestObjectRemover, AnOutputOfAnotherSizeIsResizedAndReused) {
  Tests::anOutputOfAnotherSizeIsResizedAndReused();
}
TEST(BiggestObjectRemover, AProtectedLabelBeyondTheLargestHasNoEffect) {
  Tests::aProtectedLabelBeyondTheLargestHasNoEffect();
}
TEST(BiggestObjectRemover, ALabelThatIsNotProtectedMayBeOfAnyType) { Tests::aLabelThatIsNotProtectedMayBeOfAnyType(); }
TEST(BiggestObjectRemover, AnEmptyVolumeGivesAnEmptyOne) { Tests::anEmptyVolumeGivesAnEmptyOne(); }
TEST(BiggestObjectRemover, ProgressEndsAtOne) { Tests::progressEndsAtOne(); }

TEST(BiggestObjectRemoverFailure, AWrongParameterObject) { Tests::wrongParameterObject(); }
TEST(BiggestObjectRemoverFailure, NoInputOrLabelsOrThoseOfAnotherClass) { Tests::noInputOrLabels(); }
TEST(BiggestObjectRemoverFailure, SizesThatDiffer) { Tests::sizesThatDiffer(); }
TEST(BiggestObjectRemoverFailure, MissingOrWrongValues) { Tests::missingOrWrongValues(); }
TEST(BiggestObjectRemoverFailure, AnOutputOfAnotherClassOrAnInputWithoutAnInstance) { Tests::outputOfAnotherClass(); }
TEST(BiggestObjectRemoverFailure, OneHugeLabelThatNoMemoryHolds) { Tests::oneHugeLabel(); }
TEST(BiggestObjectRemoverFailure, AnyAllocationThatFailsSurfaces) { Tests::allocationsThatFail(); }

TEST(BiggestObjectRemoverAbort, BeforeTheFirstSliceRemovesNothing) { Tests::abortBeforeTheFirstSlice(); }
TEST(BiggestObjectRemoverAbort, ReturnsNormallyAndTheNextRunIsWhole) { Tests::abortFromAnotherThread(); }

TEST(BiggestObjectRemover, AVolumeOfTheProtectedLabelOnlyIsRemovedWhole) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3}, {4, 4, 4}, uint8{4}, 0, 9)), (std::vector<uint8>{9, 9, 9}));
}

TEST(BiggestObjectRemover, ObjectsThatShareTheLargestSizeAllGo) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4, 5}, {1, 1, 2, 2, 3}, {}, 0, 9)),
            (std::vector<uint8>{9, 9, 9, 9, 5}));
}

TEST(BiggestObjectRemover, WithoutProtectionLabel0TakesPart) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4}, {0, 0, 1, 0}, {}, 0, 9)), (std::vector<uint8>{9, 9, 3, 9}));
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4}, {0, 0, 1, 0}, uint8{0}, 0, 9)),
            (std::vector<uint8>{1, 2, 9, 4}));
}

}  // namespace
}  // namespace NORV::Tests
