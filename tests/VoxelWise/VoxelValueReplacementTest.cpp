#include "VoxelWise/VoxelRule.hpp"

#include <DLL/VoxelValueReplacement.hpp>
#include <VoxelValueReplacement.hpp>

#include <limits>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::VoxelValueReplacement;
using Frame = TaviOperators::DLL::VoxelValueReplacement::Operator;

template <class T>
SmartPointer<Typed::Parameter> request(T changingValue, T newValue) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputChangingValue.setValue(changingValue);
  parameter->inputNewValue.setValue(newValue);
  return parameter;
}

template <class T>
std::vector<T> replaceRow(const std::vector<T>& voxels, T changingValue, T newValue) {
  const TestVolume<T> input({voxels.size(), 1, 1});
  input.fill(voxels);
  const auto parameter = request<T>(changingValue, newValue);
  parameter->inputVolume = input;
  Frame().apply(parameter);
  return voxelsOf(Tavi::VolumePtr<T>(parameter->outputVolume.value()));
}

SmartPointer<Typed::Parameter> completeRequest() {
  const auto parameter = request<int16>(77, 5);
  parameter->inputVolume = TestVolume<int16>({4, 4, 4});
  return parameter;
}

const std::string ofInt16 =
    "NORV::TaviOperators::VoxelValueReplacement::Operator< "
    "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

TEST(VoxelValueReplacementParameter, KeysStandInTheirOrderWithTheirDefaults) {
  expectKeys("VoxelValueReplacement", {"inputVolume", "inputChangingValue", "inputNewValue", "outputVolume"}, {});
}

TEST(VoxelValueReplacementInstances, EveryVoxelTypeIsRegisteredWithItself) {
  const Frame frame;
  forEachVoxelType([]<class T>() { expectRegistered(typedIdentifier<T, T>("VoxelValueReplacement")); });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::VoxelValueReplacement::Operator< "), 8u);
  EXPECT_TRUE(isRegistered(ofInt16));
}

TEST(VoxelValueReplacement, EveryTypeReplacesEveryKindOfValueInEveryLayout) {
  Frame frame;
  forEachVoxelType([&frame]<class T>() {
    for (const T changingValue : specialValues<T>()) {
      SCOPED_TRACE(+changingValue);
      const T newValue = changingValue == T(2) ? std::numeric_limits<T>::lowest() : T(2);
      const auto rule = [=](T x) { return x == changingValue ? newValue : x; };
      expectRule<T, T>(
          frame, valuesToTry<T>(), [=] { return request<T>(changingValue, newValue); }, rule);
    }
    const auto rule = [](T x) { return x == T(1) ? T(9) : x; };
    expectFreshOutput<T>(
        frame, [] { return request<T>(T(1), T(9)); }, rule);
    expectResizedOutput<T, T>(
        frame, [] { return request<T>(T(1), T(9)); }, rule);
  });
}

TEST(VoxelValueReplacement, EveryThreadCountOfTheRuntimeGivesTheSameVoxels) {
  const RuntimeSettings settings;
  for (const int threads : {1, 2, 4, 7, 100}) {
    omp_set_num_threads(threads);
    const TestVolume<uint16> input({5, 4, 10}, regionLayout);
    input.fill(mixedValues<uint16>(200));
    const auto parameter = request<uint16>(100, 3);
    parameter->inputVolume = input;
    Frame().apply(parameter);
    EXPECT_EQ(omp_get_max_threads(), threads);
    expectSameVoxels(voxelsOf(Tavi::VolumePtr<uint16>(parameter->outputVolume.value())),
                     mapped<uint16, uint16>(input.voxels(), [](uint16 x) { return x == 100 ? uint16{3} : x; }));
  }
}

TEST(VoxelValueReplacement, TheComparisonOfFloatingPointIsExact) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  expectSameVoxels(replaceRow<float32>({0.1f, std::nextafter(0.1f, 1.0f), -0.1f}, 0.1f, 7.0f),
                   {7.0f, std::nextafter(0.1f, 1.0f), -0.1f});
  expectSameVoxels(replaceRow<float32>({0.0f, -0.0f, 1.0f}, -0.0f, 7.0f), {7.0f, 7.0f, 1.0f});
  expectSameVoxels(replaceRow<float32>({nan, 1.0f}, nan, 7.0f), {nan, 1.0f});
  expectSameVoxels(replaceRow<float32>({nan, 1.0f}, 1.0f, nan), {nan, nan});
}

TEST(VoxelValueReplacement, LargeVolumesAreWalkedAtEveryRowAlignment) {
  Frame frame;
  expectRuleOnLargeVolume<int16, int16>(
      frame, mixedValues<int16>(3001), [] { return request<int16>(-1, 3); },
      [](int16 x) { return x == -1 ? int16{3} : x; });
}

TEST(VoxelValueReplacement, TheProgressEndsAtOne) {
  const SmartPointer<IOperator> op = createTyped(ofInt16);
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  op->apply(completeRequest());
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  const auto wrong = completeRequest();
  wrong->inputVolume = SmartPointer<IVolume>();
  EXPECT_THROW(op->apply(wrong), IOperator::InvalidParameterObjectException);
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
}

TEST(VoxelValueReplacement, AnAbortedRunLeavesTheOutputUnset) {
  Frame frame;
  expectAbort<uint8>(
      frame, [] { return request<uint8>(1, 3); }, false);
}

TEST(VoxelValueReplacementFailure, WhatIsMissingOrOfTheWrongClass) {
  Frame frame;
  expectRefusals<uint8>(
      frame, ofInt16, completeRequest(),
      {"NORV::TaviOperators::DLL::VoxelValueReplacement::Operator::getOperatorTypeFromParameterObject: invalid "
       "parameter object!",
       "NORV::TaviOperators::DLL::VoxelValueReplacement::Operator::getOperatorTypeFromParameterObject: inputVolume is "
       "NULL!",
       "NORV::TaviOperators::VoxelValueReplacement::Operator< "
       "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
       "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator > >::apply parameter is NULL",
       "NORV::TaviOperators::VoxelValueReplacement::Operator< "
       "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
       "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator > > input volume is NULL"});
}

TEST(VoxelValueReplacementFailure, BothValuesMustBeGivenAndFitBeforeTheVolumesAreLookedAt) {
  const auto parameter = completeRequest();
  parameter->inputVolume = SmartPointer<IVolume>();
  const SmartPointer<IOperator> op = createTyped(ofInt16);
  parameter->inputNewValue = SmartPointer<IComposite>();
  parameter->inputChangingValue.setValue(uint16{1});
  expectWrongValueType<int16>([&] { op->apply(parameter); });
  parameter->inputChangingValue = SmartPointer<IComposite>();
  expectMissingValue([&] { op->apply(parameter); });
  parameter->inputChangingValue.setValue(int16{1});
  expectMissingValue([&] { op->apply(parameter); });
  parameter->inputNewValue.setValue(1.0);
  expectWrongValueType<int16>([&] { op->apply(parameter); });
}

TEST(VoxelValueReplacementFailure, AnOutputVolumeOfAnotherVoxelTypeHasNoInstance) {
  const auto parameter = completeRequest();
  parameter->outputVolume = TestVolume<uint16>({4, 4, 4});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::VoxelValueReplacement::Operator< "
      "NORV::Tavi::Volume< NORV::int16 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::uint16 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
