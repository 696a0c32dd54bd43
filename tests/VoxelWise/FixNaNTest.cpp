#include "VoxelWise/VoxelRule.hpp"

#include <DLL/FixNaN.hpp>
#include <FixNaN.hpp>

#include <limits>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::FixNaN;
using Frame = TaviOperators::DLL::FixNaN::Operator;

template <class T>
SmartPointer<Typed::Parameter> request(T replacement) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputReplacementValue.setValue(replacement);
  return parameter;
}

SmartPointer<Typed::Parameter> completeRequest() {
  const auto parameter = request<float32>(1.0f);
  parameter->inputVolume = TestVolume<float32>({4, 4, 4});
  parameter->outputVolume = TestVolume<float32>({4, 4, 4});
  return parameter;
}

const std::string ofFloat32 =
    "NORV::TaviOperators::FixNaN::Operator< "
    "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

template <class T>
void expectRepairs(IOperator& frame, T replacement) {
  expectRule<T, T>(
      frame, mixedValues<T>(3001), [=] { return request<T>(replacement); },
      [=](T x) { return std::isnan(x) ? replacement : x; });
}

TEST(FixNaNParameter, KeysStandInTheirOrderWithTheirDefaults) {
  expectKeys("FixNaN", {"inputVolume", "inputReplacementValue", "inputNumberOfThreads", "outputVolume"},
             {"inputNumberOfThreads"});
}

TEST(FixNaNInstances, TheFloatingPointTypesAreRegisteredEachWithItself) {
  const Frame frame;
  expectRegistered(typedIdentifier<float32, float32>("FixNaN"));
  expectRegistered(typedIdentifier<float64, float64>("FixNaN"));
  EXPECT_EQ(countRegistered("NORV::TaviOperators::FixNaN::Operator< "), 2u);
  EXPECT_TRUE(isRegistered(ofFloat32));
}

TEST(FixNaN, NaNIsReplacedAndAllElseCopiedInEveryLayout) {
  Frame frame;
  expectRepairs<float32>(frame, -1.5f);
  expectRepairs<float32>(frame, std::numeric_limits<float32>::infinity());
  expectRepairs<float64>(frame, 1e300);
  expectRepairs<float64>(frame, -0.0);
  expectResizedOutput<float32, float32>(
      frame, [] { return request<float32>(2.0f); }, [](float32 x) { return std::isnan(x) ? 2.0f : x; });
}

TEST(FixNaN, InfinitiesZerosAndTheSmallestNumbersStay) {
  using Limits = std::numeric_limits<float32>;
  const TestVolume<float32> input({6, 1, 1});
  input.fill({Limits::quiet_NaN(), -Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), -0.0f,
              Limits::denorm_min()});
  const auto parameter = request<float32>(5.0f);
  parameter->inputVolume = input;
  parameter->outputVolume = input;
  Frame().apply(parameter);
  expectSameVoxels(input.voxels(), {5.0f, 5.0f, Limits::infinity(), -Limits::infinity(), -0.0f, Limits::denorm_min()});
}

TEST(FixNaN, ATypedOperatorMakesTheOutputThatIsMissing) {
  const SmartPointer<IOperator> op = createTyped(ofFloat32);
  expectFreshOutput<float32>(
      *op, [] { return request<float32>(2.0f); }, [](float32 x) { return std::isnan(x) ? 2.0f : x; });
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
}

TEST(FixNaN, LargeVolumesAreRepairedAtEveryRowAlignment) {
  Frame frame;
  expectRuleOnLargeVolume<float64, float64>(
      frame, mixedValues<float64>(3001), [] { return request<float64>(2.0); },
      [](float64 x) { return std::isnan(x) ? 2.0 : x; });
}

TEST(FixNaN, AnAbortedRunSkipsTheRemainingSlices) {
  Frame frame;
  expectAbort<float32>(
      frame, [] { return request<float32>(2.0f); }, true);
}

TEST(FixNaNFailure, WhatIsMissingOrOfTheWrongClass) {
  Frame frame;
  const Refusals texts{
      "NORV::TaviOperators::DLL::FixNaN::Operator::getOperatorTypeFromParameterObject: invalid parameter object!",
      "NORV::TaviOperators::DLL::FixNaN::Operator::getOperatorTypeFromParameterObject: inputVolume or outputVolume is "
      "NULL!",
      "NORV::TaviOperators::FixNaN::Operator< "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator > >::apply parameter is NULL",
      "NORV::TaviOperators::FixNaN::Operator< "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator > > input volume is NULL"};
  expectRefusals<float64>(frame, ofFloat32, completeRequest(), texts);
  const auto parameter = completeRequest();
  parameter->outputVolume = SmartPointer<IVolume>();
  expectRefusal([&] { frame.apply(parameter); }, texts.missingVolumeInFrame);
}

TEST(FixNaNFailure, TheReplacementMustBeGivenAndFitBeforeTheVolumesAreLookedAt) {
  const auto parameter = completeRequest();
  parameter->inputVolume = SmartPointer<IVolume>();
  parameter->inputNumberOfThreads = SizeType{1} << 31;
  const SmartPointer<IOperator> op = createTyped(ofFloat32);
  parameter->inputReplacementValue.setValue(1.0);
  expectWrongValueType<float32>([&] { op->apply(parameter); });
  parameter->inputReplacementValue = SmartPointer<IComposite>();
  expectMissingValue([&] { op->apply(parameter); });
  parameter->inputReplacementValue.setValue(1.0f);
  expectStandard<std::overflow_error>(
      [&] { op->apply(parameter); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

TEST(FixNaNFailure, AThreadCountBeyond32Bits) {
  Frame frame;
  expectThreadCountChecked(frame, completeRequest());
}

TEST(FixNaNFailure, VolumesOfDifferentTypesHaveNoInstance) {
  const auto parameter = completeRequest();
  parameter->outputVolume = TestVolume<float64>({4, 4, 4});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::FixNaN::Operator< "
      "NORV::Tavi::Volume< NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::float64 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
