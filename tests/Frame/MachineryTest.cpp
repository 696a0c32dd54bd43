#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/ExtremeValueCalculation.hpp>
#include <DLL/Maximum.hpp>
#include <DLL/Minimum.hpp>
#include <DLL/Saturation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/Names.hpp>
#include <Saturation.hpp>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <type_traits>

namespace NORV::Tests {
namespace {

namespace Impl = TaviOperators::Impl;
using Impl::Pair;
using Impl::TypeList;

TEST(Names, BeginIdentifiersAndFailureTexts) {
  constexpr Impl::Names names{"Inversion"};
  EXPECT_EQ(names.operatorType(), "NORV::TaviOperators::Inversion::Operator");
  EXPECT_EQ(names.parameterType(), "NORV::TaviOperators::Inversion::Parameter");
  EXPECT_EQ(names.inApply(), "NORV::TaviOperators::Inversion::Operator::apply");
  EXPECT_EQ(names.inApply(" text"), "NORV::TaviOperators::Inversion::Operator::apply text");
  EXPECT_EQ(names.inFrame("text"),
            "NORV::TaviOperators::DLL::Inversion::Operator::getOperatorTypeFromParameterObject: text");
  EXPECT_EQ(names.inFrame("text", "IOperator"),
            "NORV::TaviOperators::DLL::Inversion::IOperator::getOperatorTypeFromParameterObject: text");
}

TEST(Instances, ListsAreCombinedAndFiltered) {
  using Two = TypeList<int8, float32>;
  static_assert(std::is_same_v<Impl::Concat<Two, TypeList<uint8>>, TypeList<int8, float32, uint8>>);
  static_assert(std::is_same_v<Impl::Same<Two>, TypeList<Pair<int8, int8>, Pair<float32, float32>>>);
  static_assert(
      std::is_same_v<Impl::Pairs<Two, Two>,
                     TypeList<Pair<int8, int8>, Pair<int8, float32>, Pair<float32, int8>, Pair<float32, float32>>>);
  static_assert(std::is_same_v<Impl::Filter<std::is_integral, Two>, TypeList<int8>>);
  int voxelTypes = 0, pairs = 0;
  Impl::forEachType(Impl::AllVoxelTypes(), [&]<class T>() { ++voxelTypes; });
  Impl::forEachType(Impl::Pairs<Impl::AllVoxelTypes, Impl::AllVoxelTypes>(), [&]<class P>() { ++pairs; });
  EXPECT_EQ(voxelTypes, 8);
  EXPECT_EQ(pairs, 64);
}

TEST(Dispatch, IdentifiersHaveABlankBeforeTheCommaOfAVolumeAndNoneBetweenVolumes) {
  constexpr Impl::Names names{"Op"};
  EXPECT_EQ((Impl::typedIdentifier<Tavi::VolumePtr<int8>>(names)),
            "NORV::TaviOperators::Op::Operator< "
            "NORV::Tavi::Volume< NORV::int8 , NORV::Tavi::Allocator::SingleBlockAllocator > >");
  EXPECT_EQ((Impl::typedIdentifier<Tavi::VolumePtr<float64>, Tavi::VolumePtr<uint16>>(names)),
            "NORV::TaviOperators::Op::Operator< "
            "NORV::Tavi::Volume< NORV::float64 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
            "NORV::Tavi::Volume< NORV::uint16 , NORV::Tavi::Allocator::SingleBlockAllocator > >");
}

TEST(Dispatch, TheGivenVolumeOrTheOther) {
  const SmartPointer<IVolume> a = TestVolume<int8>({1, 1, 1}), b = TestVolume<int8>({1, 1, 1}), none;
  EXPECT_TRUE(Impl::orElse(a, b) == a);
  EXPECT_TRUE(Impl::orElse(none, b) == b);
}

TEST(DispatchFailure, EachStepThrowsTheTextGiven) {
  using Parameter = TaviOperators::Saturation::Parameter;
  const SmartPointer<IVolume> a = TestVolume<int8>({1, 1, 1}), b = TestVolume<uint8>({1, 1, 1}), none;
  expectRefusal([&] { Impl::castParameter<Parameter>(nullptr, "cast"); }, "cast");
  expectRefusal([&] { Impl::require(false, "condition"); }, "condition");
  expectRefusal([&] { Impl::requireGiven(none, "given"); }, "given");
  expectRefusal([&] { Impl::requireSameVoxelType(*a, b, "types"); }, "types");
  Impl::require(true, "");
  Impl::requireGiven(a, "");
  Impl::requireSameVoxelType(*a, a, "");
  Impl::requireSameVoxelType(*a, none, "");
  expectStandard<std::invalid_argument>([] { Impl::createByIdentifier("no such class"); },
                                        "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the "
                                        "identifier no such class is registered");
}

/// Whatever volumes a frame lets pass, the operator it names exists.
TEST(Dispatch, EveryIdentifierThatAFrameCanComposeIsRegistered) {
  forEachVoxelType([]<class T>() {
    for (const char* op : {"Saturation", "Minimum", "Maximum"}) {
      EXPECT_TRUE(isRegistered(typedIdentifier<T, T>(op))) << typedIdentifier<T, T>(op);
    }
    EXPECT_TRUE(isRegistered(typedIdentifier<T>("ExtremeValueCalculation")));
  });
}

TEST(Dispatch, OperatorsAreRegisteredInTheirNumbers) {
  const std::map<std::string, SizeType> expected{
      {"NORV::TaviOperators::Saturation::", 65},  // the parameter class included
      {"NORV::TaviOperators::Minimum::", 9},
      {"NORV::TaviOperators::Maximum::", 9},
      {"NORV::TaviOperators::ExtremeValueCalculation::", 9},
      {"NORV::TaviOperators::Fill::", 2},
      {"NORV::TaviOperators::BorderInitialization::", 4},
      {"NORV::Tavi::Copy::", 33},
      {"NORV::Tavi::ArithmeticOperators::Subtraction::UncheckedSubtraction::", 1},
  };
  for (const auto& [beginning, count] : expected) {
    EXPECT_EQ(countRegistered(beginning), count) << beginning;
  }
}

/// A frame's constructor makes a temporary of every instance; whatever a host does with frames, none is left.
TEST(Dispatch, FramesAreMadeCopiedAndAssigned) {
  TaviOperators::DLL::Saturation::Operator saturation, another(saturation);
  another = saturation;
  TaviOperators::DLL::Minimum::Operator minimum, anotherMinimum(minimum);
  anotherMinimum = minimum;
  TaviOperators::DLL::Maximum::Operator maximum, anotherMaximum(maximum);
  anotherMaximum = maximum;
  TaviOperators::DLL::ExtremeValueCalculation::Operator extremes, anotherExtremes(extremes);
  anotherExtremes = extremes;
  EXPECT_EQ(another.getProgress().getProgress(), 0.0);
  TaviOperators::DLL::Saturation outer, moved;
  moved = outer;
  moved = TaviOperators::DLL::Saturation();
}

}  // namespace
}  // namespace NORV::Tests
