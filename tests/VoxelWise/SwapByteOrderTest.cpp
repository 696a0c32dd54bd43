#include "VoxelWise/VoxelRule.hpp"

#include <DLL/SwapByteOrder.hpp>
#include <SwapByteOrder.hpp>

#include <algorithm>
#include <cstring>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::SwapByteOrder;
using Frame = TaviOperators::DLL::SwapByteOrder::Operator;

template <class T>
T swapped(T x) {
  unsigned char bytes[sizeof(T)];
  std::memcpy(bytes, &x, sizeof(T));
  std::reverse(bytes, bytes + sizeof(T));
  std::memcpy(&x, bytes, sizeof(T));
  return x;
}

template <class Body>
void forEachIntegerType(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    if constexpr (std::is_integral_v<T>) {
      body.template operator()<T>();
    }
  });
}

const auto request = [] { return makeParameter<Typed::Parameter>(); };

template <class T>
std::vector<T> swapRow(const std::vector<T>& voxels) {
  const TestVolume<T> input({voxels.size(), 1, 1});
  input.fill(voxels);
  const auto parameter = request();
  parameter->inputVolume = input;
  Frame().apply(parameter);
  return voxelsOf(Tavi::VolumePtr<T>(parameter->outputVolume.value()));
}

const std::string int16ToInt16 =
    "NORV::TaviOperators::SwapByteOrder::Operator< "
    "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

TEST(SwapByteOrderParameter, KeysStandInTheirOrderWithTheirDefaults) {
  expectKeys("SwapByteOrder", {"inputVolume", "inputNumberOfThreads", "outputVolume"}, {"inputNumberOfThreads"});
}

TEST(SwapByteOrderInstances, TheSixIntegerTypesAreRegisteredEachWithItself) {
  const Frame frame;
  forEachIntegerType([]<class T>() { expectRegistered(typedIdentifier<T, T>("SwapByteOrder")); });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::SwapByteOrder::Operator< "), 6u);
  EXPECT_TRUE(isRegistered(int16ToInt16));
}

TEST(SwapByteOrder, EveryTypeReversesItsBytesInEveryLayout) {
  Frame frame;
  forEachIntegerType([&frame]<class T>() {
    expectRule<T, T>(frame, valuesToTry<T>(), request, &swapped<T>);
    expectFreshOutput<T>(frame, request, &swapped<T>);
    expectResizedOutput<T, T>(frame, request, &swapped<T>);
  });
}

TEST(SwapByteOrder, KnownValues) {
  EXPECT_EQ(swapRow<uint16>({0x1234, 0x00ff, 0}), (std::vector<uint16>{0x3412, 0xff00, 0}));
  EXPECT_EQ(swapRow<int16>({1, -2}), (std::vector<int16>{256, -257}));
  EXPECT_EQ(swapRow<uint32>({0x12345678u}), (std::vector<uint32>{0x78563412u}));
  EXPECT_EQ(swapRow<int32>({1, -1}), (std::vector<int32>{16777216, -1}));
  EXPECT_EQ(swapRow<int8>({-128, 5}), (std::vector<int8>{-128, 5}));
}

TEST(SwapByteOrder, AppliedTwiceItGivesTheOriginal) {
  forEachIntegerType([]<class T>() {
    const std::vector<T> voxels = valuesToTry<T>();
    expectSameVoxels(swapRow(swapRow(voxels)), voxels);
  });
}

TEST(SwapByteOrder, LargeVolumesAreSwappedAtEveryRowAlignment) {
  Frame frame;
  expectRuleOnLargeVolume<uint8, uint8>(frame, valuesToTry<uint8>(), request, &swapped<uint8>);
  expectRuleOnLargeVolume<int16, int16>(frame, valuesToTry<int16>(), request, &swapped<int16>);
  expectRuleOnLargeVolume<uint32, uint32>(frame, valuesToTry<uint32>(), request, &swapped<uint32>);
}

TEST(SwapByteOrder, AnAbortedRunSkipsTheRemainingSlices) {
  Frame frame;
  expectAbort<uint16>(frame, request, false);
}

TEST(SwapByteOrderFailure, WhatIsMissingOrOfTheWrongClass) {
  Frame frame;
  const auto parameter = request();
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  expectRefusals<uint8>(
      frame, int16ToInt16, parameter,
      {"NORV::TaviOperators::DLL::SwapByteOrder::Operator::getOperatorTypeFromParameterObject: invalid parameter "
       "object!",
       "NORV::TaviOperators::DLL::SwapByteOrder::Operator::getOperatorTypeFromParameterObject: inputVolume is NULL!",
       "NORV::TaviOperators::SwapByteOrder::Operator::apply",
       "NORV::TaviOperators::SwapByteOrder::Operator::apply input volume is NULL"});
}

TEST(SwapByteOrderFailure, AThreadCountBeyond32Bits) {
  Frame frame;
  const auto parameter = request();
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  expectThreadCountChecked(frame, parameter);
}

TEST(SwapByteOrderFailure, AnOutputVolumeOfAnotherVoxelType) {
  const auto parameter = request();
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  parameter->outputVolume = TestVolume<uint16>({4, 4, 4});
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::DLL::SwapByteOrder::IOperator::getOperatorTypeFromParameterObject: Voxel types "
                "must be equal!");
}

TEST(SwapByteOrderFailure, FloatingPointVolumesHaveNoInstance) {
  const auto parameter = request();
  parameter->inputVolume = TestVolume<float32>({4, 4, 4});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::SwapByteOrder::Operator< "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
