#include "Labelling/SelectionTests.hpp"

#include <BiggestObjectKeeper.hpp>
#include <DLL/BiggestObjectKeeper.hpp>

namespace NORV::Tests {
namespace {

struct OnlyBiggest {
  using Parameter = TaviOperators::BiggestObjectKeeper::Parameter;
  using Frame = TaviOperators::DLL::BiggestObjectKeeper::Operator;

  static constexpr bool hasThreshold = false;
  static constexpr SelectionTexts texts{
      "BiggestObjectKeeper",
      "NORV::TaviOperators::BiggestObjectKeeper::Parameter",
      "NORV::TaviOperators::DLL::BiggestObjectKeeper::Operator::getOperatorTypeFromParameterObject: invalid parameter "
      "object!",
      "NORV::TaviOperators::DLL::BiggestObjectKeeper::Operator::getOperatorTypeFromParameterObject: inputVolume is "
      "NULL!",
      "NORV::TaviOperators::BiggestObjectKeeper::Operator::apply",
      "NORV::TaviOperators::BiggestObjectKeeper::Operator::apply input volume is NULL",
      "NORV::TaviOperators::BiggestObjectKeeper::Operator::apply input volume have different size",
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::BiggestObjectKeeper::Operator< NORV::float32, NORV::uint8, NORV::float32 > is registered"};

  static std::vector<bool> stated(const std::vector<uint64>& counts, std::optional<std::size_t> protectedLabel,
                                  uint64) {
    uint64 most = 0;
    for (std::size_t label = 0; label < counts.size(); ++label) {
      most = label == protectedLabel ? most : std::max(most, counts[label]);
    }
    std::vector<bool> isRemoved;
    for (std::size_t label = 0; label < counts.size(); ++label) {
      isRemoved.push_back(label != protectedLabel && counts[label] < most);
    }
    return isRemoved;
  }
};
using Tests = SelectionTests<OnlyBiggest>;

TEST(BiggestObjectKeeperParameter, KeysStandInTheirOrderWithTheirDefaults) { Tests::keysStandInTheirOrder(); }
TEST(BiggestObjectKeeperInstances, EveryPairIsRegistered) { Tests::everyPairIsRegistered(); }
TEST(BiggestObjectKeeper, EveryPairIsAsStated) { Tests::everyPairIsAsStated(); }
TEST(BiggestObjectKeeper, AnyNumberOfThreadsIsAsStated) { Tests::anyNumberOfThreadsIsAsStated(); }
TEST(BiggestObjectKeeper, EveryLayoutIsAsStated) { Tests::everyLayoutIsAsStated(); }
TEST(BiggestObjectKeeper, InPlace) { Tests::inPlace(); }
TEST(BiggestObjectKeeper, AnOutputThatOverwritesLabelsAhead) { Tests::anOutputThatOverwritesLabelsAhead(); }
TEST(BiggestObjectKeeper, AnOutputThatOverwritesTheInputAhead) { Tests::anOutputThatOverwritesTheInputAhead(); }
TEST(BiggestObjectKeeper, AnOutputOfAnotherSizeIsResizedAndReused) { Tests::anOutputOfAnotherSizeIsResizedAndReused(); }
TEST(BiggestObjectKeeper, AProtectedLabelBeyondTheLargestHasNoEffect) {
  Tests::aProtectedLabelBeyondTheLargestHasNoEffect();
}
TEST(BiggestObjectKeeper, ALabelThatIsNotProtectedMayBeOfAnyType) { Tests::aLabelThatIsNotProtectedMayBeOfAnyType(); }
TEST(BiggestObjectKeeper, AnEmptyVolumeGivesAnEmptyOne) { Tests::anEmptyVolumeGivesAnEmptyOne(); }
TEST(BiggestObjectKeeper, ProgressEndsAtOne) { Tests::progressEndsAtOne(); }

TEST(BiggestObjectKeeperFailure, AWrongParameterObject) { Tests::wrongParameterObject(); }
TEST(BiggestObjectKeeperFailure, NoInputOrLabelsOrThoseOfAnotherClass) { Tests::noInputOrLabels(); }
TEST(BiggestObjectKeeperFailure, SizesThatDiffer) { Tests::sizesThatDiffer(); }
TEST(BiggestObjectKeeperFailure, MissingOrWrongValues) { Tests::missingOrWrongValues(); }
TEST(BiggestObjectKeeperFailure, AnOutputOfAnotherClassOrAnInputWithoutAnInstance) { Tests::outputOfAnotherClass(); }
TEST(BiggestObjectKeeperFailure, OneHugeLabelThatNoMemoryHolds) { Tests::oneHugeLabel(); }
TEST(BiggestObjectKeeperFailure, AnyAllocationThatFailsSurfaces) { Tests::allocationsThatFail(); }

TEST(BiggestObjectKeeperAbort, BeforeTheFirstSliceRemovesNothing) { Tests::abortBeforeTheFirstSlice(); }
TEST(BiggestObjectKeeperAbort, ReturnsNormallyAndTheNextRunIsWhole) { Tests::abortFromAnotherThread(); }

TEST(BiggestObjectKeeper, AVolumeOfTheProtectedLabelOnlyIsCopied) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3}, {4, 4, 4}, uint8{4}, 0, 9)), (std::vector<uint8>{1, 2, 3}));
}

TEST(BiggestObjectKeeper, ObjectsThatShareTheLargestSizeAllStay) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4, 5}, {1, 1, 2, 2, 3}, {}, 0, 9)),
            (std::vector<uint8>{1, 2, 3, 4, 9}));
}

TEST(BiggestObjectKeeper, WithoutProtectionLabel0TakesPart) {
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4}, {0, 0, 1, 0}, {}, 0, 9)), (std::vector<uint8>{1, 2, 9, 4}));
  EXPECT_EQ((Tests::select<uint8, uint8>({1, 2, 3, 4}, {0, 0, 1, 2}, uint8{0}, 0, 9)),
            (std::vector<uint8>{1, 2, 3, 4}));
}

}  // namespace
}  // namespace NORV::Tests
