#include "VoxelWise/PlainConversion.hpp"
#include "VoxelWise/VoxelRule.hpp"

#include <DLL/StaticCast.hpp>
#include <StaticCast.hpp>

#include <Vectors/PlainConversion.hpp>

#include <cmath>
#include <limits>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::StaticCast;
using Frame = TaviOperators::DLL::StaticCast::Operator;
using Tavi::Volume;
using Tavi::VolumePtr;

/// Powers of two and what lies beside them: around each the words of the processor and the targets end.
template <class T>
std::vector<T> castValues() {
  std::vector<T> values = valuesToTry<T>();
  if constexpr (std::is_floating_point_v<T>) {
    for (int exponent = 0; exponent < 70; ++exponent) {
      const T power = std::ldexp(T(1), exponent);
      for (const T x : {power, std::nextafter(power, T(0)), std::nextafter(power, power * 2), power - T(0.5),
                        power + T(0.5), power + power / 4096, power - 1, power + 1, power * T(1.7)}) {
        values.push_back(x);
        values.push_back(-x);
      }
    }
    for (const double x : {3.9, -3.9, 0.99, -0.99, 255.5, 3e9, 5e9, 1e19, 1e25, 1e38, 4294967295.0, 4294967297.0}) {
      values.push_back(static_cast<T>(x));
      values.push_back(static_cast<T>(-x));
    }
    values.push_back(-std::numeric_limits<T>::quiet_NaN());
  }
  return values;
}

const auto request = [] { return makeParameter<Typed::Parameter>(); };

/// One voxel through the frame.
template <class Out, class In>
Out cast(In x) {
  const TestVolume<In> input({1, 1, 1}, {}, x);
  const TestVolume<Out> output({1, 1, 1});
  const auto parameter = request();
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  Frame().apply(parameter);
  return output.at({0, 0, 0});
}

const std::string int16ToUint8 =
    "NORV::TaviOperators::StaticCast::Operator< "
    "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

TEST(StaticCastParameter, KeysStandInTheirOrderWithTheirDefaults) {
  expectKeys("StaticCast", {"inputVolume", "inputNumberOfThreads", "outputVolume"}, {"inputNumberOfThreads"});
}

TEST(StaticCastInstances, EveryPairOfVoxelTypesIsRegisteredUnderItsName) {
  const Frame frame;
  forEachVoxelTypePair([]<class In, class Out>() { expectRegistered(typedIdentifier<In, Out>("StaticCast")); });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::StaticCast::Operator< "), 64u);
  EXPECT_TRUE(isRegistered(int16ToUint8));
}

TEST(StaticCast, EveryPairIsReachedThroughTheFrameAndConvertsEveryValueInEveryLayout) {
  Frame frame;
  forEachVoxelTypePair(
      [&frame]<class In, class Out>() { expectRule<In, Out>(frame, castValues<In>(), request, &converted<In, Out>); });
}

TEST(StaticCast, TheFunctionOnOneValueIsTheSameConversion) {
  forEachVoxelTypePair([]<class In, class Out>() {
    int shown = 0;
    for (const In x : castValues<In>()) {
      if (!isSameValue(TaviOperators::Impl::convertPlainly<Out>(x), converted<In, Out>(x)) && shown++ < 3) {
        ADD_FAILURE() << +x << " becomes " << +TaviOperators::Impl::convertPlainly<Out>(x);
      }
    }
  });
}

TEST(StaticCast, FloatingPointIsTruncatedTowardZero) {
  EXPECT_EQ((cast<uint8>(3.9f)), 3);
  EXPECT_EQ((cast<int8>(-3.9f)), -3);
  EXPECT_EQ((cast<int32>(-0.99)), 0);
  EXPECT_EQ((cast<uint16>(65535.9)), 65535);
  EXPECT_EQ((cast<uint32>(4294967295.9)), 4294967295u);
}

TEST(StaticCast, HighBitsAreCut) {
  EXPECT_EQ((cast<uint8>(int32{300})), 44);
  EXPECT_EQ((cast<int8>(uint16{0x1280})), -128);
  EXPECT_EQ((cast<uint16>(int32{-1})), 65535);
  EXPECT_EQ((cast<int32>(uint32{4294967295u})), -1);
  EXPECT_EQ((cast<uint32>(int8{-2})), 4294967294u);
}

TEST(StaticCast, WhatAFloatTargetCannotHoldIsRounded) {
  EXPECT_EQ((cast<float32>(uint32{16777217})), 16777216.0f);
  EXPECT_EQ((cast<float32>(uint32{16777219})), 16777220.0f);
  EXPECT_EQ((cast<float32>(uint32{4294967295u})), 4294967296.0f);
  EXPECT_EQ((cast<float32>(0.1)), 0.1f);
  EXPECT_EQ((cast<float32>(1e300)), std::numeric_limits<float32>::infinity());
  EXPECT_EQ((cast<float64>(0.1f)), 0.100000001490116119384765625);
}

TEST(StaticCast, WhatAnIntegerTargetCannotHoldIsTheSameInEveryBuild) {
  constexpr float32 nan = std::numeric_limits<float32>::quiet_NaN();
  constexpr float64 infinity = std::numeric_limits<float64>::infinity();
  EXPECT_EQ((cast<uint32>(-1.0f)), 4294967295u);
  EXPECT_EQ((cast<uint32>(-1.0)), 4294967295u);
  EXPECT_EQ((cast<uint32>(-4294967298.0)), 4294967294u);
  EXPECT_EQ((cast<uint32>(8589934597.0)), 5u);
  EXPECT_EQ((cast<uint32>(1e30)), 0u);
  EXPECT_EQ((cast<uint32>(nan)), 0u);
  EXPECT_EQ((cast<uint32>(infinity)), 0u);
  EXPECT_EQ((cast<int32>(3e9f)), -2147483647 - 1);
  EXPECT_EQ((cast<int32>(nan)), -2147483647 - 1);
  EXPECT_EQ((cast<int32>(-infinity)), -2147483647 - 1);
  EXPECT_EQ((cast<uint8>(300.0f)), 44);
  EXPECT_EQ((cast<uint8>(-1.0f)), 255);
  EXPECT_EQ((cast<int8>(200.0)), -56);
  EXPECT_EQ((cast<uint8>(nan)), 0);
  EXPECT_EQ((cast<int16>(infinity)), 0);
  EXPECT_EQ((cast<uint16>(4294967296.0 + 7.0)), 0);
}

TEST(StaticCast, WithoutAnOutputVolumeTheTypeStays) {
  Frame frame;
  forEachVoxelType([&frame]<class T>() { expectFreshOutput<T>(frame, request, &converted<T, T>); });
}

TEST(StaticCast, AnOutputOfAnotherSizeIsResizedAndReused) {
  Frame frame;
  expectResizedOutput<uint16, float32>(frame, request, &converted<uint16, float32>);
  expectResizedOutput<float64, uint32>(frame, request, &converted<float64, uint32>);
}

TEST(StaticCast, LargeVolumesAreConvertedAtEveryRowAlignment) {
  Frame frame;
  const auto check = [&frame]<class In, class Out>() {
    SCOPED_TRACE(std::string(Tavi::typeName<In>) + " to " + Tavi::typeName<Out>);
    expectRuleOnLargeVolume<In, Out>(frame, castValues<In>(), request, &converted<In, Out>);
  };
  check.operator()<uint8, uint8>();
  check.operator()<int8, uint32>();
  check.operator()<uint16, float32>();
  check.operator()<float32, uint16>();
  check.operator()<float32, uint32>();
  check.operator()<float64, float32>();
  check.operator()<float64, int8>();
}

TEST(StaticCast, AnAbortedRunSkipsTheRemainingSlices) {
  Frame frame;
  expectAbort<uint8>(frame, request, false);
}

TEST(StaticCast, TheProgressStaysZeroUntilTheFrameEnds) {
  const auto parameter = request();
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  const SmartPointer<IOperator> op = createTyped(int16ToUint8);
  op->apply(parameter);
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  EXPECT_EQ(parameter->outputVolume.value()->getVoxelType(), "NORV::uint8");
}

TEST(StaticCastFailure, WhatIsMissingOrOfTheWrongClass) {
  Frame frame;
  const auto parameter = request();
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  parameter->outputVolume = TestVolume<uint8>({4, 4, 4});
  expectRefusals<float32>(
      frame, int16ToUint8, parameter,
      {"NORV::TaviOperators::DLL::StaticCast::Operator::getOperatorTypeFromParameterObject: invalid parameter object!",
       "NORV::TaviOperators::DLL::StaticCast::Operator::getOperatorTypeFromParameterObject: inputVolume is NULL!",
       "NORV::TaviOperators::StaticCast::Operator::apply",
       "NORV::TaviOperators::StaticCast::Operator::apply input volume is NULL"});
}

TEST(StaticCastFailure, AThreadCountBeyond32BitsComesBeforeAMissingVolume) {
  Frame frame;
  const auto parameter = request();
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  expectThreadCountChecked(frame, parameter);
  parameter->inputVolume = SmartPointer<IVolume>();
  parameter->inputNumberOfThreads = SizeType{1} << 31;
  expectStandard<std::overflow_error>(
      [&] { createTyped(int16ToUint8)->apply(parameter); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

TEST(StaticCastFailure, AnOutputVolumeOfAnotherAllocator) {
  const auto parameter = request();
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  parameter->outputVolume = SmartPointer<IVolume>(VolumePtr<uint8, Tavi::Allocator::MultiBlockAllocator>(
      new Volume<uint8, Tavi::Allocator::MultiBlockAllocator>()));
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::StaticCast::Operator< "
      "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::MultiBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
