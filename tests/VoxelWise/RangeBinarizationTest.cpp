#include "VoxelWise/VoxelRule.hpp"

#include <DLL/RangeBinarization.hpp>
#include <RangeBinarization.hpp>

#include <limits>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::RangeBinarization;
using Frame = TaviOperators::DLL::RangeBinarization::Operator;

/// The 21 pairs.
template <class Body>
void forEachPair(const Body& body) {
  forEachVoxelType([&body]<class In>() {
    if constexpr (!std::is_same_v<In, int32>) {
      body.template operator()<In, uint8>();
      body.template operator()<In, uint16>();
      body.template operator()<In, uint32>();
    }
  });
}

template <class In, class Out>
SmartPointer<Typed::Parameter> request(In minimum, In maximum, Out background, Out foreground) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputMinimumThreshold.setValue(minimum);
  parameter->inputMaximumThreshold.setValue(maximum);
  parameter->inputBackgroundValue.setValue(background);
  parameter->inputForegroundValue.setValue(foreground);
  return parameter;
}

/// A dense row of these voxels through the frame, to 9 and 200.
template <class In>
std::vector<uint8> binariseRow(const std::vector<In>& voxels, In minimum, In maximum) {
  const TestVolume<In> input({voxels.size(), 1, 1});
  input.fill(voxels);
  const TestVolume<uint8> output({voxels.size(), 1, 1});
  const auto parameter = request<In, uint8>(minimum, maximum, 9, 200);
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  Frame().apply(parameter);
  return output.voxels();
}

/// A complete request, for tests of what is wrong with it.
SmartPointer<Typed::Parameter> completeRequest() {
  const auto parameter = request<int16, uint8>(10, 200, 0, 1);
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  parameter->outputVolume = TestVolume<uint8>({4, 4, 4});
  return parameter;
}

const std::string int16ToUint8 =
    "NORV::TaviOperators::RangeBinarization::Operator< "
    "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

TEST(RangeBinarizationParameter, KeysStandInTheirOrderWithTheirDefaults) {
  expectKeys("RangeBinarization",
             {"inputVolume", "outputVolume", "inputMinimumThreshold", "inputMaximumThreshold", "inputBackgroundValue",
              "inputForegroundValue", "inputNumberOfThreads"},
             {"inputNumberOfThreads"});
}

TEST(RangeBinarizationInstances, The21PairsAreRegisteredUnderTheirNames) {
  const Frame frame;
  forEachPair([]<class In, class Out>() { expectRegistered(typedIdentifier<In, Out>("RangeBinarization")); });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::RangeBinarization::Operator< "), 21u);
  EXPECT_TRUE(isRegistered(int16ToUint8));
}

TEST(RangeBinarization, EveryPairThroughTheFrameInEveryLayout) {
  Frame frame;
  forEachPair([&frame]<class In, class Out>() {
    SCOPED_TRACE(Tavi::typeName<Out>);
    const auto check = [&frame](In minimum, In maximum, Out background, Out foreground) {
      expectRule<In, Out>(
          frame, valuesToTry<In>(), [=] { return request<In, Out>(minimum, maximum, background, foreground); },
          [=](In x) {
            if (minimum > x || x > maximum) {
              return background;
            }
            return foreground;
          });
    };
    using Limits = std::numeric_limits<In>;
    const Out top = std::numeric_limits<Out>::max();
    check(In(2), In(100), 0, top);
    check(In(100), In(100), top, Out(3));
    check(In(100), In(99), Out(1), Out(2));
    check(Limits::lowest(), Limits::max(), Out(1), Out(2));
    check(Limits::max(), Limits::lowest(), Out(1), Out(2));
    check(Limits::lowest(), In(0), Out(top - 1), Out(2));
    if constexpr (std::is_floating_point_v<In>) {
      check(Limits::quiet_NaN(), In(1), Out(1), Out(2));
      check(In(1), Limits::quiet_NaN(), Out(1), Out(2));
      check(-Limits::infinity(), Limits::infinity(), Out(1), Out(2));
    }
  });
}

TEST(RangeBinarization, BothLimitsBelongToTheRange) {
  EXPECT_EQ(binariseRow<uint8>({9, 10, 11, 19, 20, 21}, 10, 20), (std::vector<uint8>{9, 200, 200, 200, 200, 9}));
  EXPECT_EQ(binariseRow<float64>({-0.5, -0.25, 0.5, 0.75}, -0.25, 0.5), (std::vector<uint8>{9, 200, 200, 9}));
}

TEST(RangeBinarization, ALowerLimitAboveTheUpperOneLeavesBackgroundOnly) {
  EXPECT_EQ(binariseRow<int8>({-128, 4, 5, 6, 127}, 6, 5), (std::vector<uint8>{9, 9, 9, 9, 9}));
}

TEST(RangeBinarization, ANaNIsForeground) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  EXPECT_EQ(binariseRow<float32>({nan, 0.0f, 3.0f, -nan}, 1.0f, 2.0f), (std::vector<uint8>{200, 9, 9, 200}));
}

TEST(RangeBinarization, AnOutputOfAnotherSizeIsResizedAndReused) {
  Frame frame;
  expectResizedOutput<float32, uint16>(
      frame, [] { return request<float32, uint16>(0.0f, 90.0f, 7, 1000); },
      [](float32 x) { return 0.0f > x || x > 90.0f ? uint16{7} : uint16{1000}; });
}

TEST(RangeBinarization, ATypedOperatorMakesTheOutputThatIsMissing) {
  const auto parameter = request<int16, uint8>(10, 200, 0, 1);
  parameter->inputVolume = TestVolume<int16>({4, 3, 2}, regionLayout, int16{50});
  const SmartPointer<IOperator> op = createTyped(int16ToUint8);
  op->apply(parameter);
  EXPECT_EQ(voxelsOf(Tavi::VolumePtr<uint8>(parameter->outputVolume.value())), std::vector<uint8>(24, 1));
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
}

TEST(RangeBinarization, LargeVolumesAreBinarisedAtEveryRowAlignment) {
  Frame frame;
  expectRuleOnLargeVolume<uint16, uint8>(
      frame, valuesToTry<uint16>(), [] { return request<uint16, uint8>(1000, 50000, 3, 4); },
      [](uint16 x) { return 1000 > x || x > 50000 ? uint8{3} : uint8{4}; });
  expectRuleOnLargeVolume<uint8, uint32>(
      frame, valuesToTry<uint8>(), [] { return request<uint8, uint32>(10, 50, 3, 4000000000u); },
      [](uint8 x) { return 10 > x || x > 50 ? 3u : 4000000000u; });
}

TEST(RangeBinarization, AnAbortedRunSkipsTheRemainingSlices) {
  Frame frame;
  expectAbort<uint8>(
      frame, [] { return request<uint8, uint8>(1, 2, 3, 4); }, true);
}

TEST(RangeBinarizationFailure, WhatIsMissingOrOfTheWrongClass) {
  Frame frame;
  const Refusals texts{
      "NORV::TaviOperators::DLL::RangeBinarization::Operator::getOperatorTypeFromParameterObject: invalid parameter "
      "object!",
      "NORV::TaviOperators::DLL::RangeBinarization::Operator::getOperatorTypeFromParameterObject: inputVolume or "
      "outputVolume is NULL!",
      "NORV::TaviOperators::RangeBinarization::Operator::apply",
      "NORV::TaviOperators::RangeBinarization::Operator::apply the input volume is NULL"};
  expectRefusals<float32>(frame, int16ToUint8, completeRequest(), texts);
  const auto parameter = completeRequest();
  parameter->outputVolume = SmartPointer<IVolume>();
  expectRefusal([&] { frame.apply(parameter); }, texts.missingVolumeInFrame);
}

TEST(RangeBinarizationFailure, EachValueMustBeGivenAndFitItsVolumeBeforeTheVolumesAreLookedAt) {
  const auto parameter = completeRequest();
  parameter->inputVolume = SmartPointer<IVolume>();
  parameter->inputNumberOfThreads = SizeType{1} << 31;
  const SmartPointer<IOperator> op = createTyped(int16ToUint8);
  const auto wrong = [&]<class Wanted, class Other>(auto& property, Wanted value) {
    property.setValue(Other(1));
    expectWrongValueType<Wanted>([&] { op->apply(parameter); });
    property = SmartPointer<IComposite>();
    expectMissingValue([&] { op->apply(parameter); });
    property.setValue(value);
  };
  wrong.operator()<int16, uint8>(parameter->inputMinimumThreshold, int16{1});
  wrong.operator()<int16, int32>(parameter->inputMaximumThreshold, int16{1});
  wrong.operator()<uint8, int16>(parameter->inputBackgroundValue, uint8{1});
  wrong.operator()<uint8, float32>(parameter->inputForegroundValue, uint8{1});
  expectStandard<std::overflow_error>(
      [&] { op->apply(parameter); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

TEST(RangeBinarizationFailure, AThreadCountBeyond32Bits) {
  Frame frame;
  expectThreadCountChecked(frame, completeRequest());
}

TEST(RangeBinarizationFailure, PairsWithoutAnInstance) {
  const auto parameter = completeRequest();
  parameter->outputVolume = TestVolume<float32>({4, 4, 4});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::RangeBinarization::Operator< "
      "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
  parameter->inputVolume = TestVolume<int32>({4, 4, 4});
  parameter->outputVolume = TestVolume<uint8>({4, 4, 4});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::RangeBinarization::Operator< "
      "NORV::Tavi::Volume< NORV::int32 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
