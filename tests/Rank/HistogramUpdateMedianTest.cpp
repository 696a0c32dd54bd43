#include "HistogramUpdateTest.hpp"

#include <DLL/HistogramUpdateMedian.hpp>
#include <HistogramUpdateMedian.hpp>

namespace NORV::Tests {
namespace {

using namespace HistogramUpdate;
using TaviOperators::HistogramUpdateMedian::Parameter;
using Frame = TaviOperators::DLL::HistogramUpdateMedian::Operator;
using Tavi::VolumePtr;

const std::string op = "HistogramUpdateMedian";

template <class T>
T pick(const std::vector<T>& values) {
  return medianOf(values);
}

TEST(HistogramUpdateMedianParameter, KeysStandInTheirOrder) {
  expectKeys<Parameter>("NORV::TaviOperators::HistogramUpdateMedian::Parameter");
}

TEST(HistogramUpdateMedianInstances, OneForEachUnsignedTypeOf8And16Bits) {
  EXPECT_TRUE(isRegistered(identifier<uint8>(op)));
  EXPECT_TRUE(isRegistered(identifier<uint16>(op)));
  EXPECT_EQ(countRegistered("NORV::TaviOperators::HistogramUpdateMedian::Operator< "), 2u);
}

TEST(HistogramUpdateMedian, EqualsThePlainMedianForAllVoxelTypesElementsAndLayouts) {
  checkAll<Frame, Parameter, uint8>(pick<uint8>);
  checkAll<Frame, Parameter, uint16>(pick<uint16>);
}

/// Neighbouring positions share sorted parts of boxes; rows are longer and shorter than the strips that they are cut
/// to.
TEST(HistogramUpdateMedian, BoxesEqualThePlainMedian) {
  const auto checkBox = []<class T>(const Extents& size, const Extents& extents, const Layout& layout,
                                    SizeType threads) {
    const Element box = fullBox(extents, {extents[0] / 2, extents[1] - 1, 0});
    check<Frame, Parameter>(size, box, mixedValues<T>(20011, 5), layout, layout, {}, threads, pick<T>);
  };
  const std::vector<Extents> boxes{{5, 5, 5}, {4, 4, 4}, {2, 9, 6}, {5, 5, 3}, {3, 5, 5}, {6, 3, 7},
                                   {7, 7, 1}, {9, 1, 7}, {5, 5, 4}, {6, 5, 5}, {7, 7, 7}, {9, 7, 8}};
  for (const Extents& box : boxes) {
    SCOPED_TRACE(std::to_string(box[0]) + " x " + std::to_string(box[1]) + " x " + std::to_string(box[2]));
    for (const SizeType threads : {1u, 2u, 5u}) {
      checkBox.operator()<uint8>({79, 11, 10}, box, {}, threads);
      checkBox.operator()<uint16>({79, 11, 10}, box, {}, threads);
    }
    checkBox.operator()<uint8>({300, 10, 9}, box, regionLayout, 2);
    checkBox.operator()<uint16>({131, 10, 9}, box, regionLayout, 2);
  }
}

/// Under large boxes thresholds are tried tile by tile; the second element has more voxels in a plane than 8 bits
/// count.
TEST(HistogramUpdateMedian, LargeBoxesEqualThePlainMedian) {
  for (const SizeType threads : {1u, 2u, 5u}) {
    check<Frame, Parameter>({139, 11, 20}, fullBox({9, 9, 9}, {4, 8, 0}), mixedValues<uint8>(20011, 5), {}, {}, {},
                            threads, pick<uint8>);
    check<Frame, Parameter>({139, 11, 20}, fullBox({9, 9, 9}, {4, 8, 0}), mixedValues<uint16>(20011, 5), {}, {}, {},
                            threads, pick<uint16>);
  }
  check<Frame, Parameter>({12, 27, 12}, fullBox({9, 10, 9}, {4, 8, 0}), mixedValues<uint16>(20011, 5), {}, {}, {}, 1,
                          pick<uint16>);
  check<Frame, Parameter>({31, 22, 21}, fullBox({11, 17, 18}, {0, 3, 4}), mixedValues<uint8>(20011, 7), {}, {}, {}, 2,
                          pick<uint8>);
  check<Frame, Parameter>({40, 22, 21}, fullBox({9, 13, 11}, {8, 3, 4}), mixedValues<uint8>(20011, 7), regionLayout,
                          regionLayout, {}, 2, pick<uint8>);
  check<Frame, Parameter>({40, 18, 19}, fullBox({12, 10, 12}, {8, 3, 4}), std::vector<uint8>(20011, 200), {}, {}, {}, 2,
                          pick<uint8>);
}

/// Rows shorter than a vector are ranked together.
TEST(HistogramUpdateMedian, ShortRowsEqualThePlainMedian) {
  for (const SizeType length : {3u, 5u, 9u, 14u, 16u, 17u, 31u, 40u}) {
    for (const Layout& layout : {denseLayout, regionLayout}) {
      check<Frame, Parameter>({length, 13, 7}, fullBox({3, 3, 3}, {1, 1, 1}), mixedValues<uint8>(20011, 5), layout, {},
                              {}, 2, pick<uint8>);
      check<Frame, Parameter>({length, 13, 7}, scattered({3, 3, 3}, {2, 0, 1}, 5), mixedValues<uint16>(20011, 5),
                              layout, layout, {}, 1, pick<uint16>);
    }
  }
}

TEST(HistogramUpdateMedian, ABoxInsideALargerMaskEqualsThePlainMedian) {
  Element element = fullBox({7, 6, 6}, {4, 3, 0});
  for (SizeType i = 0; i < element.voxels.size(); ++i) {
    const bool isInside = i % 7 >= 1 && i % 7 < 6 && i / 7 % 6 < 5 && i / 42 >= 1;
    element.voxels[i] = isInside ? 1 : 0;
  }
  check<Frame, Parameter>({150, 9, 9}, element, mixedValues<uint8>(20011, 5), {}, {}, {}, 2, pick<uint8>);
  check<Frame, Parameter>({150, 9, 9}, element, mixedValues<uint16>(20011, 5), {}, {}, {}, 2, pick<uint16>);
}

TEST(HistogramUpdateMedian, ElementsAndAnchorsOutsideTheVolumeAreNotRefusedAndTouchNothingElse) {
  checkOversized<Frame, Parameter, uint8>(pick<uint8>);
  checkOversized<Frame, Parameter, uint16>(pick<uint16>);
}

TEST(HistogramUpdateMedian, OneVoxelAtTheAnchorCopiesTheInput) {
  checkCopiesWithOneVoxelAtTheAnchor<Frame, Parameter, uint8>();
  checkCopiesWithOneVoxelAtTheAnchor<Frame, Parameter, uint16>();
}

TEST(HistogramUpdateMedian, ACentredElementLeavesTheOutermostShell) {
  expectWritten<Frame, Parameter>({1, 1, 1}, {1, 1, 1}, {6, 5, 4});
}
TEST(HistogramUpdateMedian, AnAnchorAtTheOriginLeavesTheLastTwoPlanes) {
  expectWritten<Frame, Parameter>({0, 0, 0}, {0, 0, 0}, {6, 5, 4});
}

TEST(HistogramUpdateMedian, InPlaceReadsTheVoxelsAsTheyWere) { checkInPlace<Frame, Parameter>(pick<uint16>); }
TEST(HistogramUpdateMedian, CountsTheSlicesOfTheInteriorAsSteps) { checkProgress<Frame, Parameter>(op); }
TEST(HistogramUpdateMedian, AnAbortEndsTheRunAtTheNextSliceAndReturnsNormally) { checkAbort<Parameter>(op); }

TEST(HistogramUpdateMedian, AnEmptyVolumeGivesAnEmptyOutput) {
  const auto parameter = request<Parameter>(VolumePtr<uint8>(new Tavi::Volume<uint8>), ball(1).mask(), {1, 1, 1});
  Frame().apply(parameter);
  ASSERT_NE(parameter->outputVolume.value(), nullptr);
  EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
}

TEST(HistogramUpdateMedian, AnEvenElementOfOnesAndTwosGivesOne) {
  const TestVolume<uint8> input({6, 1, 1}), output({6, 1, 1});
  input.fill({1, 2, 1, 2, 2, 1});
  Frame().apply(request<Parameter>(input, fullBox({2, 1, 1}, {0, 0, 0}).mask(), {0, 0, 0}, output));
  expectSameVoxels(output.voxels(), std::vector<uint8>{1, 1, 1, 2, 1, 77});
}

struct HistogramUpdateMedianFailures : testing::Test {
  TestVolume<uint8> input{{7, 5, 4}};
  TestVolume<uint8> mask = fullBox({3, 3, 3}, {1, 1, 1}).mask();
};

TEST_F(HistogramUpdateMedianFailures, AnotherParameterObjectOrNone) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  const auto typed = createTyped(identifier<uint8>(op));
  expectRefusal([] { Frame().apply({}); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::HistogramUpdateMedian::Operator::getOperatorTypeFromParameterObject: "
                "invalid parameter object!");
  expectRefusal([&] { typed->apply(other); }, "NORV::TaviOperators::HistogramUpdateMedian::Operator::apply");
  expectRefusal([&] { typed->apply({}); }, "NORV::TaviOperators::HistogramUpdateMedian::Operator::apply");
}

TEST_F(HistogramUpdateMedianFailures, NoInputOrNoMaskInTheFrame) {
  expectRefused<Frame>(request<Parameter>({}, mask, {1, 1, 1}),
                       "NORV::TaviOperators::DLL::HistogramUpdateMedian::Operator::getOperatorTypeFromParameterObject: "
                       "inputVolume or inputMask is NULL!");
  expectRefused<Frame>(request<Parameter>({}, {}, {1, 1, 1}),
                       "NORV::TaviOperators::DLL::HistogramUpdateMedian::Operator::getOperatorTypeFromParameterObject: "
                       "inputVolume or inputMask is NULL!");
  expectRefused<Frame>(request<Parameter>(input, {}, {1, 1, 1}),
                       "NORV::TaviOperators::DLL::HistogramUpdateMedian::Operator::getOperatorTypeFromParameterObject: "
                       "inputVolume or inputMask is NULL!");
}

TEST_F(HistogramUpdateMedianFailures, NoInputOrNoMaskInTheTypedOperator) {
  const auto typed = createTyped(identifier<uint8>(op));
  expectRefusal(
      [&] {
        typed->apply(request<Parameter>({}, {}, {1, 1, 1}));
      },
      "NORV::TaviOperators::HistogramUpdateMedian::Operator::apply input volume is NULL");
  expectRefusal(
      [&] {
        typed->apply(request<Parameter>(TestVolume<uint16>({7, 5, 4}), mask, {1, 1, 1}));
      },
      "NORV::TaviOperators::HistogramUpdateMedian::Operator::apply input volume is NULL");
  expectRefusal(
      [&] {
        typed->apply(request<Parameter>(input, {}, {1, 1, 1}));
      },
      "NORV::TaviOperators::HistogramUpdateMedian::Operator::apply the inputMask is NULL");
}

TEST_F(HistogramUpdateMedianFailures, AMaskOfAnotherTypeIsMissing) {
  expectRefused<Frame>(request<Parameter>(input, TestVolume<int8>({3, 3, 3}), {1, 1, 1}),
                       "NORV::TaviOperators::HistogramUpdateMedian::Operator::apply the inputMask is NULL");
}

TEST_F(HistogramUpdateMedianFailures, AMaskOfZerosOrWithoutAVoxel) {
  mask.fill({0});
  for (const SmartPointer<IVolume>& none :
       {SmartPointer<IVolume>(mask.volume()), SmartPointer<IVolume>(VolumePtr<uint8>(new Tavi::Volume<uint8>))}) {
    expectRefused<Frame>(request<Parameter>(input, none, {1, 1, 1}),
                         "NORV::TaviOperators::HistogramUpdateMedian::Operator::apply the inputMask has no voxel set");
  }
}

TEST_F(HistogramUpdateMedianFailures, AnOutputOfAnotherVoxelType) {
  const TestVolume<uint16> output({2, 3, 4});
  const auto parameter = request<Parameter>(input, mask, {1, 1, 1}, output);
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::DLL::HistogramUpdateMedian::Operator::getOperatorTypeFromParameterObject: Voxel "
                "types must be equal!");
  expectRefusal([&] { createTyped(identifier<uint8>(op))->apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  expectSameVoxels(voxelsOf(output.volume()), std::vector<uint16>(24, 77));
}

TEST_F(HistogramUpdateMedianFailures, AThreadCountBeyond32Bits) {
  Frame frame;
  expectThreadCountChecked(frame, request<Parameter>(input, mask, {1, 1, 1}));
}

TEST_F(HistogramUpdateMedianFailures, AVoxelTypeWithoutInstance) {
  expectStandard<std::invalid_argument>(
      [&] {
        Frame().apply(request<Parameter>(TestVolume<float32>({7, 5, 4}), mask, {1, 1, 1}));
      },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::HistogramUpdateMedian::Operator< NORV::Tavi::Volume< NORV::float32 , "
      "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::float32 , "
      "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::uint8 , "
      "NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
