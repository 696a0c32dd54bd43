#include "VoxelWise/VoxelRule.hpp"

#include <DLL/Round.hpp>
#include <Round.hpp>

#include <math.h>

#include <limits>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::Round;
using Frame = TaviOperators::DLL::Round::Operator;

SmartPointer<Typed::Parameter> request(SizeType places) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputDecimalPlaces = places;
  return parameter;
}

SmartPointer<Typed::Parameter> completeRequest() {
  const auto parameter = request(2);
  parameter->inputVolume = TestVolume<float32>({4, 4, 4});
  parameter->outputVolume = TestVolume<float32>({4, 4, 4});
  return parameter;
}

float32 rounded(float32 x, SizeType places) {
  const float32 scale = ::powf(10.0f, static_cast<float32>(places));
  const float32 scaled = scale * x;
  return ::floorf(scaled + 0.5f) / scale;
}
float64 rounded(float64 x, SizeType places) {
  const float64 scale = ::pow(10.0, static_cast<float64>(places));
  const float64 scaled = scale * x;
  return ::floor(scaled + 0.5) / scale;
}

template <class T>
std::vector<T> roundRow(const std::vector<T>& voxels, SizeType places) {
  const TestVolume<T> volume({voxels.size(), 1, 1});
  volume.fill(voxels);
  const auto parameter = request(places);
  parameter->inputVolume = volume;
  parameter->outputVolume = volume;
  Frame().apply(parameter);
  return volume.voxels();
}

/// Of which NaN it is, only that it is one counts: which of two operands gives its sign depends on the instruction.
template <class T>
std::vector<T> valuesToRound() {
  std::vector<T> values = mixedValues<T>(3001);
  for (int i = -4000; i < 4000; ++i) {
    values.push_back(static_cast<T>(i) / T(8));
    values.push_back(static_cast<T>(i) / T(1000));
  }
  std::erase_if(values, [](T x) { return std::isnan(x); });
  return values;
}

const std::string ofFloat32 =
    "NORV::TaviOperators::Round::Operator< "
    "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

TEST(RoundParameter, KeysStandInTheirOrderWithTheirDefaults) {
  expectKeys("Round", {"inputVolume", "inputDecimalPlaces", "inputNumberOfThreads", "outputVolume"},
             {"inputDecimalPlaces", "inputNumberOfThreads"});
}

TEST(RoundInstances, TheFloatingPointTypesAreRegisteredEachWithItself) {
  const Frame frame;
  expectRegistered(typedIdentifier<float32, float32>("Round"));
  expectRegistered(typedIdentifier<float64, float64>("Round"));
  EXPECT_EQ(countRegistered("NORV::TaviOperators::Round::Operator< "), 2u);
  EXPECT_TRUE(isRegistered(ofFloat32));
}

TEST(Round, EveryNumberOfPlacesThatTheTypeHasInEveryLayout) {
  Frame frame;
  for (const SizeType places : {0u, 1u, 2u, 3u, 7u, 15u}) {
    SCOPED_TRACE(places);
    expectRule<float32, float32>(
        frame, valuesToRound<float32>(), [=] { return request(places); },
        [=](float32 x) { return rounded(x, places); });
    expectRule<float64, float64>(
        frame, valuesToRound<float64>(), [=] { return request(places); },
        [=](float64 x) { return rounded(x, places); });
  }
}

TEST(Round, HalvesGoUpAlsoBelowZero) {
  EXPECT_EQ(roundRow<float32>({2.5f, -2.5f, 0.5f, -0.5f, 1.49f, -1.51f}, 0),
            (std::vector<float32>{3.0f, -2.0f, 1.0f, 0.0f, 1.0f, -2.0f}));
  EXPECT_EQ(roundRow<float64>({2.5, -2.5, 0.25, -0.75}, 0), (std::vector<float64>{3.0, -2.0, 0.0, -1.0}));
  EXPECT_EQ(roundRow<float64>({0.25, -0.25, 0.75}, 1), (std::vector<float64>{0.3, -0.2, 0.8}));
}

TEST(Round, ADecimalFractionGivesWhatTheArithmeticOfItsTypeGives) {
  EXPECT_EQ(roundRow<float32>({1.005f}, 2), (std::vector<float32>{1.01f}));
  EXPECT_EQ(roundRow<float64>({1.005}, 2), (std::vector<float64>{1.0}));
  // The half is added in float32: beyond 2^23 the sum is a tie between even neighbours.
  EXPECT_EQ(roundRow<float32>({8388609.0f, 0.49999997f}, 0), (std::vector<float32>{8388610.0f, 1.0f}));
}

TEST(Round, MorePlacesThanTheTypeHasMakeTheScaleInfiniteAndEveryVoxelNaN) {
  for (const SizeType places : {SizeType{400}, SizeType{1} << 40, ~SizeType{0}}) {
    for (const float32 x : roundRow<float32>({0.0f, 1.5f, -3.0f, 1e30f}, places)) {
      EXPECT_TRUE(std::isnan(x)) << x;
    }
    for (const float64 x : roundRow<float64>({0.0, 1.5, -3.0, 1e300}, places)) {
      EXPECT_TRUE(std::isnan(x)) << x;
    }
  }
  EXPECT_DOUBLE_EQ(roundRow<float64>({1.5}, 39)[0], 1.5);
  EXPECT_TRUE(std::isnan(roundRow<float32>({1.5f}, 39)[0]));
}

TEST(Round, NaNStaysNaNAndInfinityInfinite) {
  const float64 infinity = std::numeric_limits<float64>::infinity();
  const std::vector<float64> found = roundRow<float64>({std::nan(""), infinity, -infinity}, 1);
  EXPECT_TRUE(std::isnan(found[0]));
  EXPECT_EQ(found[1], infinity);
  EXPECT_EQ(found[2], -infinity);
}

TEST(Round, AnOutputOfAnotherSizeIsResizedAndReused) {
  Frame frame;
  const TestVolume<float32> output({2, 9, 4}, regionLayout);
  const auto parameter = completeRequest();
  parameter->inputVolume = TestVolume<float32>({7, 3, 5}, {}, 1.236f);
  parameter->outputVolume = output;
  frame.apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  expectSameVoxels(voxelsOf(output.volume()), std::vector<float32>(105, 1.24f));
}

TEST(Round, ATypedOperatorMakesTheOutputThatIsMissing) {
  const auto parameter = completeRequest();
  parameter->outputVolume = SmartPointer<IVolume>();
  const SmartPointer<IOperator> op = createTyped(ofFloat32);
  op->apply(parameter);
  EXPECT_EQ(voxelsOf(Tavi::VolumePtr<float32>(parameter->outputVolume.value())), std::vector<float32>(64, 77.0f));
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
}

TEST(Round, LargeVolumesAreRoundedAtEveryRowAlignment) {
  Frame frame;
  expectRuleOnLargeVolume<float32, float32>(
      frame, valuesToRound<float32>(), [] { return request(1); }, [](float32 x) { return rounded(x, 1); });
}

TEST(Round, AnAbortedRunSkipsTheRemainingSlices) {
  Frame frame;
  expectAbort<float64>(
      frame, [] { return request(1); }, true);
}

TEST(RoundFailure, WhatIsMissingOrOfTheWrongClass) {
  Frame frame;
  const Refusals texts{
      "NORV::TaviOperators::DLL::Round::Operator::getOperatorTypeFromParameterObject: invalid parameter object!",
      "NORV::TaviOperators::DLL::Round::Operator::getOperatorTypeFromParameterObject: inputVolume or outputVolume is "
      "NULL!",
      "NORV::TaviOperators::Round::Operator< "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator > >::apply parameter is NULL",
      "NORV::TaviOperators::Round::Operator< "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator > > input volume is NULL"};
  expectRefusals<float64>(frame, ofFloat32, completeRequest(), texts);
  const auto parameter = completeRequest();
  parameter->outputVolume = SmartPointer<IVolume>();
  expectRefusal([&] { frame.apply(parameter); }, texts.missingVolumeInFrame);
}

TEST(RoundFailure, AThreadCountBeyond32BitsComesBeforeAMissingVolume) {
  Frame frame;
  expectThreadCountChecked(frame, completeRequest());
  const auto parameter = completeRequest();
  parameter->inputVolume = SmartPointer<IVolume>();
  parameter->inputNumberOfThreads = SizeType{1} << 31;
  expectStandard<std::overflow_error>(
      [&] { createTyped(ofFloat32)->apply(parameter); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

TEST(RoundFailure, IntegerVolumesHaveNoInstance) {
  const auto parameter = completeRequest();
  parameter->inputVolume = TestVolume<uint8>({4, 4, 4});
  parameter->outputVolume = TestVolume<uint8>({4, 4, 4});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::Round::Operator< "
      "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
