#include "VoxelWise/VoxelRule.hpp"

#include <BitPatternBinarization.hpp>
#include <DLL/BitPatternBinarization.hpp>

#include <limits>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::BitPatternBinarization;
using Frame = TaviOperators::DLL::BitPatternBinarization::Operator;

/// The 36 pairs.
template <class Body>
void forEachPair(const Body& body) {
  forEachVoxelTypePair([&body]<class In, class Out>() {
    if constexpr (std::is_integral_v<In> && std::is_integral_v<Out>) {
      body.template operator()<In, Out>();
    }
  });
}

template <class In, class Out>
SmartPointer<Typed::Parameter> request(In pattern, Out background, Out foreground) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputBitPattern.setValue(pattern);
  parameter->inputBackgroundValue.setValue(background);
  parameter->inputForegroundValue.setValue(foreground);
  return parameter;
}

/// A dense row of these voxels through the frame, to 9 and 20 of their own type.
template <class T>
std::vector<T> binariseRow(const std::vector<T>& voxels, T pattern) {
  const TestVolume<T> input({voxels.size(), 1, 1});
  input.fill(voxels);
  const auto parameter = request<T, T>(pattern, 9, 20);
  parameter->inputVolume = input;
  Frame().apply(parameter);
  return voxelsOf(Tavi::VolumePtr<T>(parameter->outputVolume.value()));
}

SmartPointer<Typed::Parameter> completeRequest() {
  const auto parameter = request<int16, uint8>(3, 0, 1);
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  parameter->outputVolume = TestVolume<uint8>({4, 4, 4});
  return parameter;
}

const std::string int16ToUint8 =
    "NORV::TaviOperators::BitPatternBinarization::Operator< "
    "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

TEST(BitPatternBinarizationParameter, KeysStandInTheirOrderWithTheirDefaults) {
  expectKeys("BitPatternBinarization",
             {"inputVolume", "inputBitPattern", "inputBackgroundValue", "inputForegroundValue", "inputNumberOfThreads",
              "outputVolume"},
             {"inputNumberOfThreads"});
}

TEST(BitPatternBinarizationInstances, The36PairsOfIntegersAreRegisteredUnderTheirNames) {
  const Frame frame;
  forEachPair([]<class In, class Out>() { expectRegistered(typedIdentifier<In, Out>("BitPatternBinarization")); });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::BitPatternBinarization::Operator< "), 36u);
  EXPECT_TRUE(isRegistered(int16ToUint8));
}

TEST(BitPatternBinarization, EveryPairThroughTheFrameInEveryLayout) {
  Frame frame;
  forEachPair([&frame]<class In, class Out>() {
    SCOPED_TRACE(Tavi::typeName<Out>);
    using Limits = std::numeric_limits<In>;
    const Out low = std::numeric_limits<Out>::min();
    const Out top = std::numeric_limits<Out>::max();
    for (const In pattern : {In(0), In(1), In(0x55), In(-1), Limits::max(), Limits::min(), In(Limits::max() - 1)}) {
      const Out background = pattern == In(1) ? top : low;
      const Out foreground = pattern == In(1) ? Out(-2) : Out(3);
      expectRule<In, Out>(
          frame, valuesToTry<In>(), [=] { return request<In, Out>(pattern, background, foreground); },
          [=](In x) {
            for (unsigned bit = 0; bit < 8 * sizeof(In); ++bit) {
              const uint64 mask = uint64{1} << bit;
              if ((static_cast<uint64>(pattern) & mask) != 0 && (static_cast<uint64>(x) & mask) == 0) {
                return background;
              }
            }
            return foreground;
          });
    }
  });
}

TEST(BitPatternBinarization, AllBitsOfThePatternMustBeSet) {
  EXPECT_EQ(binariseRow<uint8>({0, 1, 2, 3, 4, 7, 255}, 3), (std::vector<uint8>{9, 9, 9, 20, 9, 20, 20}));
  EXPECT_EQ(binariseRow<int16>({-32767 - 1, -1, 0, 32767}, -32767 - 1), (std::vector<int16>{20, 20, 9, 9}));
}

TEST(BitPatternBinarization, ThePatternZeroMakesEveryVoxelForeground) {
  EXPECT_EQ(binariseRow<int32>({0, -1, 5}, 0), (std::vector<int32>{20, 20, 20}));
}

TEST(BitPatternBinarization, APatternOfBitsThatNoVoxelHasMatchesNone) {
  EXPECT_EQ(binariseRow<uint32>({0, 1, 65535}, 0x10001u), (std::vector<uint32>{9, 9, 9}));
}

TEST(BitPatternBinarization, WithoutAnOutputVolumeTheTypeIsThatOfTheInput) {
  Frame frame;
  expectFreshOutput<int16>(
      frame, [] { return request<int16, int16>(4, -5, 6); },
      [](int16 x) { return (x & 4) != 0 ? int16{6} : int16{-5}; });
}

TEST(BitPatternBinarization, AnOutputOfAnotherSizeIsResizedAndReused) {
  Frame frame;
  expectResizedOutput<uint32, int8>(
      frame, [] { return request<uint32, int8>(4, -5, 6); },
      [](uint32 x) { return (x & 4) != 0 ? int8{6} : int8{-5}; });
}

TEST(BitPatternBinarization, LargeVolumesAreBinarisedAtEveryRowAlignment) {
  Frame frame;
  expectRuleOnLargeVolume<int32, uint16>(
      frame, valuesToTry<int32>(), [] { return request<int32, uint16>(3, 5, 60000); },
      [](int32 x) { return (x & 3) == 3 ? uint16{60000} : uint16{5}; });
}

TEST(BitPatternBinarization, AnAbortedRunSkipsTheRemainingSlices) {
  Frame frame;
  expectAbort<uint8>(
      frame, [] { return request<uint8, uint8>(1, 3, 4); }, false);
}

TEST(BitPatternBinarizationFailure, WhatIsMissingOrOfTheWrongClass) {
  Frame frame;
  expectRefusals<float32>(
      frame, int16ToUint8, completeRequest(),
      {"NORV::TaviOperators::DLL::BitPatternBinarization::Operator::getOperatorTypeFromParameterObject: invalid "
       "parameter object!",
       "NORV::TaviOperators::DLL::BitPatternBinarization::Operator::getOperatorTypeFromParameterObject: inputVolume is "
       "NULL!",
       "NORV::TaviOperators::BitPatternBinarization::Operator::apply",
       "NORV::TaviOperators::BitPatternBinarization::Operator::apply input volume is NULL"});
}

TEST(BitPatternBinarizationFailure, EachValueMustBeGivenAndFitItsVolumeBeforeTheVolumesAreLookedAt) {
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
  wrong.operator()<int16, uint16>(parameter->inputBitPattern, int16{1});
  wrong.operator()<uint8, int16>(parameter->inputBackgroundValue, uint8{1});
  wrong.operator()<uint8, int8>(parameter->inputForegroundValue, uint8{1});
  expectStandard<std::overflow_error>(
      [&] { op->apply(parameter); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

TEST(BitPatternBinarizationFailure, AThreadCountBeyond32Bits) {
  Frame frame;
  expectThreadCountChecked(frame, completeRequest());
}

TEST(BitPatternBinarizationFailure, FloatingPointVolumesHaveNoInstance) {
  const auto parameter = completeRequest();
  parameter->outputVolume = TestVolume<float64>({4, 4, 4});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::BitPatternBinarization::Operator< "
      "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::float64 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
