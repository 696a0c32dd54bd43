#include "HistogramUpdateTest.hpp"

#include <DLL/Erosion.hpp>
#include <DLL/HistogramUpdateErosion.hpp>
#include <Erosion.hpp>
#include <HistogramUpdateErosion.hpp>

namespace NORV::Tests {
namespace {

using namespace HistogramUpdate;
using TaviOperators::HistogramUpdateErosion::Parameter;
using Frame = TaviOperators::DLL::HistogramUpdateErosion::Operator;
using Tavi::VolumePtr;

const std::string op = "HistogramUpdateErosion";

template <class T>
T pick(const std::vector<T>& values) {
  return minimumOf(values);
}

TEST(HistogramUpdateErosionParameter, KeysStandInTheirOrder) {
  expectKeys<Parameter>("NORV::TaviOperators::HistogramUpdateErosion::Parameter");
}

TEST(HistogramUpdateErosionInstances, OneForEachIntegerTypeOf8And16Bits) {
  EXPECT_TRUE(isRegistered(identifier<int8>(op)));
  EXPECT_TRUE(isRegistered(identifier<uint8>(op)));
  EXPECT_TRUE(isRegistered(identifier<int16>(op)));
  EXPECT_TRUE(isRegistered(identifier<uint16>(op)));
  EXPECT_EQ(countRegistered("NORV::TaviOperators::HistogramUpdateErosion::Operator< "), 4u);
}

TEST(HistogramUpdateErosion, EqualsThePlainMinimumForAllVoxelTypesElementsAndLayouts) {
  checkAll<Frame, Parameter, int8>(pick<int8>);
  checkAll<Frame, Parameter, uint8>(pick<uint8>);
  checkAll<Frame, Parameter, int16>(pick<int16>);
  checkAll<Frame, Parameter, uint16>(pick<uint16>);
}

TEST(HistogramUpdateErosion, ElementsAndAnchorsOutsideTheVolumeAreNotRefusedAndTouchNothingElse) {
  checkOversized<Frame, Parameter, uint8>(pick<uint8>);
  checkOversized<Frame, Parameter, uint16>(pick<uint16>);
}

TEST(HistogramUpdateErosion, OneVoxelAtTheAnchorCopiesTheInput) {
  checkCopiesWithOneVoxelAtTheAnchor<Frame, Parameter, int8>();
  checkCopiesWithOneVoxelAtTheAnchor<Frame, Parameter, uint8>();
  checkCopiesWithOneVoxelAtTheAnchor<Frame, Parameter, int16>();
  checkCopiesWithOneVoxelAtTheAnchor<Frame, Parameter, uint16>();
}

TEST(HistogramUpdateErosion, ACentredElementLeavesTheOutermostShell) {
  expectWritten<Frame, Parameter>({1, 1, 1}, {1, 1, 1}, {6, 5, 4});
}
TEST(HistogramUpdateErosion, AnAnchorAtTheOriginLeavesTheLastTwoPlanes) {
  expectWritten<Frame, Parameter>({0, 0, 0}, {0, 0, 0}, {6, 5, 4});
}

TEST(HistogramUpdateErosion, InPlaceReadsTheVoxelsAsTheyWere) { checkInPlace<Frame, Parameter>(pick<uint16>); }
TEST(HistogramUpdateErosion, CountsTheSlicesOfTheInteriorAsSteps) { checkProgress<Frame, Parameter>(op); }
TEST(HistogramUpdateErosion, AnAbortEndsTheRunAtTheNextSliceAndReturnsNormally) { checkAbort<Parameter>(op); }

TEST(HistogramUpdateErosion, AnEmptyVolumeGivesAnEmptyOutput) {
  const auto parameter = request<Parameter>(VolumePtr<uint8>(new Tavi::Volume<uint8>), ball(1).mask(), {1, 1, 1});
  Frame().apply(parameter);
  ASSERT_NE(parameter->outputVolume.value(), nullptr);
  EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
}

TEST(HistogramUpdateErosion, StepsUpWhenTheMinimumLeavesTheElementAndAHigherVoxelRemains) {
  const TestVolume<uint16> input({6, 1, 1});
  input.fill({2, 40000, 50000, 50000, 3, 65535});
  const auto parameter = request<Parameter>(input, fullBox({2, 1, 1}, {0, 0, 0}).mask(), {0, 0, 0});
  parameter->outputVolume = TestVolume<uint16>({6, 1, 1});
  Frame().apply(parameter);
  expectSameVoxels(voxelsOf(VolumePtr<uint16>(parameter->outputVolume.value())),
                   std::vector<uint16>{2, 40000, 50000, 3, 3, 77});
}

TEST(HistogramUpdateErosion, NegativeVoxelsGiveTheSameAsErosion) {
  const TestVolume<int8> input({40, 9, 8});
  input.fill(mixedValues<int8>(2880));
  const Element element = ball(2);
  const TestVolume<int8> one({40, 9, 8}), other({40, 9, 8});
  Frame().apply(request<Parameter>(input, element.mask(), element.anchor, one));
  TaviOperators::DLL::Erosion::Operator().apply(
      request<TaviOperators::Erosion::Parameter>(input, element.mask(), element.anchor, other));
  expectSameVoxels(one.voxels(), other.voxels());
}

struct HistogramUpdateErosionFailures : testing::Test {
  TestVolume<uint8> input{{7, 5, 4}};
  TestVolume<uint8> mask = fullBox({3, 3, 3}, {1, 1, 1}).mask();
};

TEST_F(HistogramUpdateErosionFailures, AnotherParameterObjectOrNone) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  const auto typed = createTyped(identifier<uint8>(op));
  expectRefusal([] { Frame().apply({}); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal(
      [&] { Frame().apply(other); },
      "NORV::TaviOperators::DLL::Erosion::Operator::getOperatorTypeFromParameterObject: invalid parameter object!");
  expectRefusal([&] { typed->apply(other); }, "NORV::TaviOperators::HistogramUpdateErosion::Operator::apply");
  expectRefusal([&] { typed->apply({}); }, "NORV::TaviOperators::HistogramUpdateErosion::Operator::apply");
}

TEST_F(HistogramUpdateErosionFailures, NoInputOrNoMaskInTheFrame) {
  expectRefused<Frame>(
      request<Parameter>({}, mask, {1, 1, 1}),
      "NORV::TaviOperators::DLL::Erosion::Operator::getOperatorTypeFromParameterObject: inputVolume is NULL!");
  expectRefused<Frame>(
      request<Parameter>({}, {}, {1, 1, 1}),
      "NORV::TaviOperators::DLL::Erosion::Operator::getOperatorTypeFromParameterObject: inputVolume is NULL!");
  expectRefused<Frame>(
      request<Parameter>(input, {}, {1, 1, 1}),
      "NORV::TaviOperators::DLL::Erosion::Operator::getOperatorTypeFromParameterObject: inputMask is NULL!");
}

TEST_F(HistogramUpdateErosionFailures, NoInputOrNoMaskInTheTypedOperator) {
  const auto typed = createTyped(identifier<uint8>(op));
  expectRefusal(
      [&] {
        typed->apply(request<Parameter>({}, {}, {1, 1, 1}));
      },
      "NORV::TaviOperators::HistogramUpdateErosion::Operator::apply input volume is NULL");
  expectRefusal(
      [&] {
        typed->apply(request<Parameter>(TestVolume<uint16>({7, 5, 4}), mask, {1, 1, 1}));
      },
      "NORV::TaviOperators::HistogramUpdateErosion::Operator::apply input volume is NULL");
  expectRefusal(
      [&] {
        typed->apply(request<Parameter>(input, {}, {1, 1, 1}));
      },
      "NORV::TaviOperators::HistogramUpdateErosion::Operator::apply the inputMask is NULL");
}

TEST_F(HistogramUpdateErosionFailures, AMaskOfAnotherTypeIsMissing) {
  expectRefused<Frame>(request<Parameter>(input, TestVolume<int8>({3, 3, 3}), {1, 1, 1}),
                       "NORV::TaviOperators::HistogramUpdateErosion::Operator::apply the inputMask is NULL");
}

TEST_F(HistogramUpdateErosionFailures, AMaskOfZerosOrWithoutAVoxel) {
  mask.fill({0});
  for (const SmartPointer<IVolume>& none :
       {SmartPointer<IVolume>(mask.volume()), SmartPointer<IVolume>(VolumePtr<uint8>(new Tavi::Volume<uint8>))}) {
    expectRefused<Frame>(request<Parameter>(input, none, {1, 1, 1}),
                         "NORV::TaviOperators::HistogramUpdateErosion::Operator::apply the inputMask has no voxel set");
  }
}

TEST_F(HistogramUpdateErosionFailures, AnOutputOfAnotherVoxelType) {
  const TestVolume<uint16> output({2, 3, 4});
  const auto parameter = request<Parameter>(input, mask, {1, 1, 1}, output);
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  expectRefusal([&] { createTyped(identifier<uint8>(op))->apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  expectSameVoxels(voxelsOf(output.volume()), std::vector<uint16>(24, 77));
}

TEST_F(HistogramUpdateErosionFailures, AThreadCountBeyond32Bits) {
  Frame frame;
  expectThreadCountChecked(frame, request<Parameter>(input, mask, {1, 1, 1}));
}

TEST_F(HistogramUpdateErosionFailures, AVoxelTypeWithoutInstance) {
  expectStandard<std::invalid_argument>(
      [&] {
        Frame().apply(request<Parameter>(TestVolume<float32>({7, 5, 4}), mask, {1, 1, 1}));
      },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::HistogramUpdateErosion::Operator< NORV::Tavi::Volume< NORV::float32 , "
      "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::float32 , "
      "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::uint8 , "
      "NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
