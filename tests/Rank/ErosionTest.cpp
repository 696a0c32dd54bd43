#include "Neighbourhoods.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/Erosion.hpp>
#include <Erosion.hpp>
#include <Saturation.hpp>

#include <algorithm>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace Neighbourhoods;
using TaviOperators::Erosion::Parameter;
using Frame = TaviOperators::DLL::Erosion::Operator;
using Tavi::VolumePtr;

TEST(ErosionParameter, KeysStandInTheirOrder) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::Erosion::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::Erosion::Parameter");
  const std::vector<std::string> keys{"inputVolume", "outputVolume", "inputMask", "inputAnchor",
                                      "inputNumberOfThreads"};
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
  }
}

TEST(ErosionInstances, OneForEachVoxelType) {
  forEachVoxelType([]<class T>() {
    const std::string name = typedIdentifier<T, T>("Erosion");
    ASSERT_TRUE(isRegistered(name));
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(name)->getType(), name);
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::Erosion::Operator< "), 8u);
}

TEST(Erosion, EqualsThePlainMinimumForAllVoxelTypesElementsAndLayouts) {
  forEachVoxelType([]<class T>() { checkEverywhere<Frame, Parameter>(mixedValues<T>(20011, 5), minimumOf<T>); });
}

TEST(Erosion, EqualsThePlainMinimumOnVoxelsWithoutNaN) {
  const auto whole = []<class T>() {
    std::vector<T> values;
    for (const int16 number : mixedValues<int16>(20011, 6)) {
      values.push_back(static_cast<T>(number));
    }
    checkEverywhere<Frame, Parameter>(values, minimumOf<T>);
  };
  whole.operator()<float32>();
  whole.operator()<float64>();
}

/// Slices too large for the cache go through in strips, boxes in windows of windows, and slices in threads that each
/// begin anew.
TEST(Erosion, LargeSlicesAndElementsEqualThePlainMinimum) {
  const RuntimeSettings settings;
  const std::vector<int32> values = mixedValues<int32>(20011, 8);
  const std::vector<uint8> bytes = mixedValues<uint8>(20011, 8);
  for (const Element& element : {fullBox({5, 3, 3}, {2, 1, 1}), ball(2), fullBox({17, 1, 2}, {0, 0, 1}),
                                 fullBox({1, 19, 1}, {0, 9, 0}), scattered({5, 4, 3}, {1, 1, 1}, 3, 2)}) {
    for (const Layout& layout : {denseLayout, regionLayout, Layout{{0, 2, 4}, {90, 1, 0}, {40, 0, 1}}}) {
      check<Frame, Parameter>({41, 700, 6}, element, values, layout, {}, {}, 1, minimumOf<int32>);
    }
    check<Frame, Parameter>({41, 700, 7}, element, values, {}, regionLayout, {}, 3, minimumOf<int32>);
  }
  for (const Element& element : {fullBox({1, 1, 11}, {0, 0, 4}), fullBox({9, 10, 33}, {8, 0, 16}), ball(4)}) {
    for (const SizeType threads : {1u, 2u, 7u}) {
      check<Frame, Parameter>({30, 14, 40}, element, bytes, {}, {}, {}, threads, minimumOf<uint8>);
    }
  }
}

TEST(Erosion, OfZerosOfBothSignsTheLastOneInTheElementResults) {
  const auto whole = []<class T>() {
    std::vector<T> values(20011);
    const std::vector<uint8> numbers = mixedValues<uint8>(values.size(), 4);
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = numbers[i] % 5 == 0 ? T(3) : numbers[i] % 2 == 0 ? T(0) : -T(0);
    }
    for (const Element& element : {fullBox({3, 3, 3}, {1, 1, 1}), fullBox({2, 10, 2}, {1, 4, 0}),
                                   fullBox({1, 3, 11}, {0, 1, 4}), ball(3), scattered({5, 4, 3}, {1, 1, 1}, 3, 2)}) {
      check<Frame, Parameter>({37, 13, 14}, element, values, {}, {}, {}, 2, minimumOf<T>);
    }
  };
  whole.operator()<float32>();
  whole.operator()<float64>();
}

TEST(Erosion, TakesANaNUntilTheNextVoxelReplacesIt) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  const auto erode = [](const std::vector<float32>& values) {
    const TestVolume<float32> input({values.size(), 1, 1});
    input.fill(values);
    const auto parameter = request<Parameter>(input, fullBox({values.size(), 1, 1}, {0, 0, 0}).mask(), {0, 0, 0});
    Frame().apply(parameter);
    return voxelsOf(VolumePtr<float32>(parameter->outputVolume.value()))[0];
  };
  EXPECT_EQ(erode({1, nan, 3, 4}), 3);
  EXPECT_EQ(erode({nan, 5, 6}), 5);
  EXPECT_TRUE(isSameValue(erode({1, 2, nan}), nan));
}

/// Slices with a NaN under the element are eroded in another way than those beside them.
TEST(Erosion, SlicesWithANaNBetweenSlicesWithoutEqualThePlainMinimum) {
  const Extents size{70, 9, 24};
  const auto checkNaN = [&]<class T>() {
    std::vector<T> values;
    for (const int16 value : mixedValues<int16>(size[0] * size[1] * size[2], 5)) {
      values.push_back(static_cast<T>(value));
    }
    const SizeType slice = size[0] * size[1];
    for (const SizeType place :
         {5 * slice + 17, 5 * slice + 18, 11 * slice + slice - 1, 12 * slice, 23 * slice + 300}) {
      values[place] = std::numeric_limits<T>::quiet_NaN();
    }
    for (const Element& element : {fullBox({3, 3, 3}, {1, 1, 1}), fullBox({5, 5, 5}, {0, 4, 2}), ball(2)}) {
      for (const SizeType threads : {1u, 2u, 5u}) {
        check<Frame, Parameter>(size, element, values, {}, {}, {}, threads, minimumOf<T>);
      }
    }
  };
  checkNaN.operator()<float32>();
  checkNaN.operator()<float64>();
}

/// Larger than the caches, where rows are stored past them. The minimum under a box is that of minimums along the axes.
TEST(Erosion, LargeOutputsEqualTheMinimumAlongEachAxis) {
  const Extents size{171, 165, 160};
  const TestVolume<float32> input(size), output(size, {}, 9);
  const SizeType count = size[0] * size[1] * size[2];
  ASSERT_GE((size[0] - 2) * (size[1] - 2) * (size[2] - 2) * sizeof(float32), SizeType{16} << 20);
  std::vector<float32> expected(count);
  for (SizeType i = 0; i < count; ++i) {
    expected[i] = static_cast<float32>(i * 2654435761u >> 11 & 0xffff);
  }
  input.fill(expected);
  for (const SizeType stride : {SizeType{1}, size[0], size[0] * size[1]}) {
    const std::vector<float32> before = expected;
    for (SizeType i = stride; i + stride < count; ++i) {
      expected[i] = std::min({before[i - stride], before[i], before[i + stride]});
    }
  }
  Frame().apply(request<Parameter>(input, fullBox({3, 3, 3}, {1, 1, 1}).mask(), {1, 1, 1}, output, 2));
  const std::vector<float32> voxels = output.voxels();
  SizeType differences = 0, place = 0;
  const auto isInside = [](SizeType x, SizeType extent) { return x > 0 && x + 1 < extent; };
  for (SizeType z = 0; z < size[2]; ++z) {
    for (SizeType y = 0; y < size[1]; ++y) {
      for (SizeType x = 0; x < size[0]; ++x, ++place) {
        const bool isWritten = isInside(x, size[0]) && isInside(y, size[1]) && isInside(z, size[2]);
        differences += voxels[place] != (isWritten ? expected[place] : 9.0F) ? 1U : 0U;
      }
    }
  }
  EXPECT_EQ(differences, 0u);
}

TEST(Erosion, OneVoxelAtTheAnchorCopiesTheInput) {
  forEachVoxelType([]<class T>() {
    const TestVolume<T> input({37, 5, 4}, regionLayout);
    input.fill(mixedValues<T>(740));
    const auto parameter = request<Parameter>(input, single({3, 3, 3}, {1, 2, 0}, {1, 2, 0}).mask(), {1, 2, 0});
    Frame().apply(parameter);
    expectSameVoxels(voxelsOf(VolumePtr<T>(parameter->outputVolume.value())), input.voxels());
  });
}

/// The positions that a run with a full 3 x 3 x 3 element writes, as a box.
void expectWritten(const Extents& anchor, const Extents& first, const Extents& size) {
  const TestVolume<uint8> input({8, 7, 6}, {}, 1), output({8, 7, 6}, {}, 200);
  Frame().apply(request<Parameter>(input, fullBox({3, 3, 3}, anchor).mask(), anchor, output));
  for (SizeType z = 0; z < 6; ++z) {
    for (SizeType y = 0; y < 7; ++y) {
      for (SizeType x = 0; x < 8; ++x) {
        const bool written = x - first[0] < size[0] && y - first[1] < size[1] && z - first[2] < size[2];
        EXPECT_EQ(output.at({x, y, z}), written ? 1 : 200) << x << " " << y << " " << z;
      }
    }
  }
}

TEST(Erosion, ACentredElementLeavesTheOutermostShell) { expectWritten({1, 1, 1}, {1, 1, 1}, {6, 5, 4}); }
TEST(Erosion, AnAnchorAtTheOriginLeavesTheLastTwoPlanes) { expectWritten({0, 0, 0}, {0, 0, 0}, {6, 5, 4}); }
TEST(Erosion, AnAnchorAtTheEndLeavesTheFirstTwoPlanes) { expectWritten({2, 2, 2}, {2, 2, 2}, {6, 5, 4}); }

TEST(Erosion, FloatsOfWholeNumbersAreTheSameInBothForms) {
  const Element element = ball(2);
  const Layout reversed{{1, 2, 4}};
  const TestVolume<float32> forward({45, 9, 8}), output({45, 9, 8}), backward({45, 9, 8}, reversed),
      other({45, 9, 8}, reversed);
  for (int i = 0; i < 2; ++i) {
    std::vector<float32> values;
    for (const uint8 value : mixedValues<uint8>(45 * 9 * 8)) {
      values.push_back(value);
    }
    (i == 0 ? forward : backward).fill(values);
  }
  Frame().apply(request<Parameter>(forward, element.mask(), element.anchor, output));
  Frame().apply(request<Parameter>(backward, element.mask(), element.anchor, other));
  expectSameVoxels(output.voxels(), other.voxels());
}

TEST(Erosion, MakesAnOutputOfTheSizeOfTheView) {
  const TestVolume<int32> input({7, 5, 4}, regionLayout);
  const auto parameter = request<Parameter>(input, ball(1).mask(), {1, 1, 1});
  Frame().apply(parameter);
  const VolumePtr<int32> made(parameter->outputVolume.value());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->getDimension(), (Tavi::Dimension<SizeType>(7, 5, 4)));
}

TEST(Erosion, ResizesTheOutputGivenAndKeepsTheObject) {
  const TestVolume<uint8> input({7, 5, 4}), output({2, 2, 2});
  input.fill(mixedValues<uint8>(140));
  const auto parameter = request<Parameter>(input, single({1, 1, 1}, {0, 0, 0}, {0, 0, 0}).mask(), {0, 0, 0}, output);
  Frame().apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  expectSameVoxels(voxelsOf(output.volume()), input.voxels());
}

TEST(Erosion, InPlaceReadsTheVoxelsAsTheyWere) {
  const RuntimeSettings settings;
  for (const Layout& layout : someLayouts()) {
    for (const SizeType threads : {1u, 2u}) {
      SCOPED_TRACE(layout.name());
      const TestVolume<uint16> volume({40, 6, 5}, layout);
      volume.fill(mixedValues<uint16>(1200));
      const Element element = scattered({3, 3, 2}, {1, 1, 0}, 4);
      const std::vector<uint16> expected =
          plainlyFiltered(volume, {40, 6, 5}, element, volume.voxels(), minimumOf<uint16>);
      Frame().apply(request<Parameter>(volume, element.mask(), element.anchor, volume, threads));
      expectSameVoxels(volume.voxels(), expected);
      volume.expectUntouchedOutside();
    }
  }
}

TEST(Erosion, CountsTheSlicesOfTheInteriorAsSteps) {
  const TestVolume<uint8> input({7, 5, 4});
  const auto op = createTyped(typedIdentifier<uint8, uint8>("Erosion"));
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  for (int run = 0; run < 2; ++run) {
    op->apply(request<Parameter>(input, ball(1).mask(), {1, 1, 1}));
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  }
}

TEST(Erosion, AnAbortEndsTheRunAtTheNextSliceAndReturnsNormally) {
  const TestVolume<uint8> input({400, 200, 200}, {}, 1), output({400, 200, 200}, {}, 200);
  const auto op = createTyped(typedIdentifier<uint8, uint8>("Erosion"));
  const Element element = fullBox({15, 15, 15}, {7, 7, 7});
  const auto parameter = request<Parameter>(input, element.mask(), element.anchor, output, 1);
  std::thread stopper([&op] {
    while (op->getProgress().getProgress() == 0.0) {
      std::this_thread::yield();
    }
    op->abort();
  });
  op->apply(parameter);
  stopper.join();
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  EXPECT_EQ(output.at({7, 7, 7}), 1);
  if (op->getProgress().getProgress() < 1.0) {  // the run may end before the abort is seen
    EXPECT_EQ(output.at({200, 100, 192}), 200);
  }
  op->apply(parameter);
  EXPECT_EQ(output.at({200, 100, 192}), 1);
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
}

struct ErosionFailures : testing::Test {
  TestVolume<uint8> input{{7, 5, 4}};
  TestVolume<uint8> mask = fullBox({3, 3, 3}, {1, 1, 1}).mask();

  /// Both ways in must refuse; a given output stays as it is.
  template <class Refusal>
  void expectInBoth(const SmartPointer<Parameter>& parameter, const Refusal& refusal) const {
    const TestVolume<uint8> output({2, 3, 4});
    parameter->outputVolume = output;
    refusal([&] { Frame().apply(parameter); });
    refusal([&] { createTyped(typedIdentifier<uint8, uint8>("Erosion"))->apply(parameter); });
    EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    expectSameVoxels(voxelsOf(output.volume()), std::vector<uint8>(24, 77));
  }
};

TEST_F(ErosionFailures, AnotherParameterObjectOrNone) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  const auto op = createTyped(typedIdentifier<uint8, uint8>("Erosion"));
  expectRefusal([] { Frame().apply({}); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::Erosion::Operator::getOperatorTypeFromParameterObject: invalid parameter "
                "object!");
  expectRefusal([&] { op->apply(other); }, "NORV::TaviOperators::Erosion::Operator::apply");
  expectRefusal([&] { op->apply({}); }, "NORV::TaviOperators::Erosion::Operator::apply");
}

TEST_F(ErosionFailures, NoInputOrAnInputOfAnotherType) {
  const auto op = createTyped(typedIdentifier<uint8, uint8>("Erosion"));
  expectRefusal(
      [&] {
        Frame().apply(request<Parameter>({}, mask, {1, 1, 1}));
      },
      "NORV::TaviOperators::DLL::Erosion::Operator::getOperatorTypeFromParameterObject: inputVolume is "
      "NULL!");
  expectRefusal(
      [&] {
        op->apply(request<Parameter>({}, {}, {1, 1, 1}));
      },
      "NORV::TaviOperators::Erosion::Operator::apply input volume is NULL");
  expectRefusal(
      [&] {
        op->apply(request<Parameter>(TestVolume<int8>({7, 5, 4}), mask, {1, 1, 1}));
      },
      "NORV::TaviOperators::Erosion::Operator::apply input volume is NULL");
}

TEST_F(ErosionFailures, NoMaskOrAMaskOfAnotherType) {
  const auto refusal = [](const auto& act) {
    expectRefusal(act, "NORV::TaviOperators::Erosion::Operator::apply the inputMask is NULL");
  };
  expectInBoth(request<Parameter>(input, {}, {1, 1, 1}), refusal);
  expectInBoth(request<Parameter>(input, TestVolume<int8>({3, 3, 3}), {1, 1, 1}), refusal);
}

TEST_F(ErosionFailures, AMaskOfZeros) {
  mask.fill({0});
  expectInBoth(request<Parameter>(input, mask, {1, 1, 1}), [](const auto& act) {
    expectRefusal(act, "NORV::TaviOperators::Erosion::Operator::apply the inputMask has no voxel set");
  });
}

TEST_F(ErosionFailures, AnAnchorOutsideTheMask) {
  for (const Extents& anchor : {Extents{3, 0, 0}, Extents{0, 3, 0}, Extents{0, 0, 3}, Extents{~SizeType{0}, 0, 0}}) {
    expectInBoth(request<Parameter>(input, mask, anchor), [](const auto& act) {
      expectFailure<Exceptions::InvalidArg>(act, "Anchor is not inside of mask_!",
                                            "NORV::Tavi::Iterating::MaskOffsets::MaskFunktor()");
    });
  }
}

TEST_F(ErosionFailures, AMaskLargerThanTheVolumeAndAnyMaskOnAnEmptyVolume) {
  const auto refusal = [](const auto& act) {
    expectFailure<Exceptions::InvalidArg>(act, "Mask is bigger than volume!",
                                          "NORV::Tavi::Iterating::MaskOffsets::MaskFunktor()");
  };
  expectInBoth(request<Parameter>(input, fullBox({1, 6, 1}, {0, 0, 0}).mask(), {0, 0, 0}), refusal);
  expectInBoth(request<Parameter>(VolumePtr<uint8>(new Tavi::Volume<uint8>), mask, {0, 0, 0}), refusal);
}

TEST_F(ErosionFailures, AnOutputOfAnotherVoxelType) {
  const TestVolume<int8> output({2, 3, 4});
  const auto parameter = request<Parameter>(input, mask, {1, 1, 1}, output);
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  expectSameVoxels(voxelsOf(output.volume()), std::vector<int8>(24, 77));
}

TEST_F(ErosionFailures, AThreadCountBeyond32Bits) {
  Frame frame;
  expectThreadCountChecked(frame, request<Parameter>(input, mask, {1, 1, 1}));
}

TEST_F(ErosionFailures, AnInputInSeveralBlocksIsNoInstance) {
  using Multi = Tavi::Allocator::MultiBlockAllocator;
  const VolumePtr<uint8, Multi> volume(new Tavi::Volume<uint8, Multi>(Tavi::Dimension<SizeType>(3, 3, 3)));
  expectStandard<std::invalid_argument>(
      [&] {
        Frame().apply(request<Parameter>(volume, mask, {1, 1, 1}));
      },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::Erosion::Operator< NORV::Tavi::Volume< NORV::uint8 , "
      "NORV::Tavi::Allocator::MultiBlockAllocator >, NORV::Tavi::Volume< NORV::uint8 , "
      "NORV::Tavi::Allocator::MultiBlockAllocator > > is registered");
}

}  // namespace
}  // namespace NORV::Tests
