#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"
#include "support/HostMemory.hpp"
#include "support/Operators.hpp"
#include "support/Threads.hpp"
#include "support/Volumes.hpp"

#include <DLL/Saturation.hpp>
#include <DLL/SwitchLabelsRandom.hpp>
#include <Saturation.hpp>
#include <SwitchLabelsRandom.hpp>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <numeric>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::SwitchLabelsRandom;
using Frame = TaviOperators::DLL::SwitchLabelsRandom::Operator;
using Tavi::Volume;
using Tavi::VolumePtr;

template <class Body>
void forEachUnsignedLabel(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    if constexpr (std::is_unsigned_v<T>) {
      body.template operator()<T>();
    }
  });
}

SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& output,
                                       uint64 labels) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  parameter->inputNumberOfLabels = labels;
  return parameter;
}

const std::string uint8ToUint8 =
    "NORV::TaviOperators::SwitchLabelsRandom::Operator< "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

/// The rule, as it is stated, on the sequence of `rand` as it comes.
std::vector<uint64> shuffled(uint64 count) {
  std::vector<uint64> table(count);
  std::iota(table.begin(), table.end(), 0);
  if (count == 2) {
    return table;
  }
  for (uint64 i = 1; i < count; ++i) {
    uint64 j = 0;
    do {
      j = static_cast<uint64>(std::rand()) % (count - 1);
    } while (j == 0);
    std::swap(table[i], table[j]);
  }
  return table;
}

/// All labels from 0 on through the frame.
template <class T>
std::vector<T> run(uint64 count, SizeType length) {
  const TestVolume<T> input({length, 1, 1});
  std::vector<T> labels(length);
  std::iota(labels.begin(), labels.end(), T(0));
  input.fill(labels);
  const auto parameter = request(input, nullptr, count);
  Frame().apply(parameter);
  return voxelsOf(VolumePtr<T>(parameter->outputVolume.value()));
}

TEST(SwitchLabelsRandomParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::SwitchLabelsRandom::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::SwitchLabelsRandom::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter->getKey(0), "inputVolume");
  EXPECT_EQ(parameter->getKey(1), "inputNumberOfLabels");
  EXPECT_EQ(parameter->getKey(2), "outputVolume");
  EXPECT_EQ(SmartPointer<Typed::Parameter>(parameter)->inputNumberOfLabels.value(), 0u);
}

TEST(SwitchLabelsRandomInstances, EveryUnsignedTypeIsRegistered) {
  forEachUnsignedLabel([]<class T>() { EXPECT_TRUE(isRegistered(typedIdentifier<T, T>("SwitchLabelsRandom"))); });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::SwitchLabelsRandom::Operator< "), 3u);
}

TEST(SwitchLabelsRandom, FollowsTheSequenceOfRand) {
  for (const uint64 count : {1u, 2u, 3u, 4u, 5u, 17u, 200u}) {
    for (unsigned seed = 1; seed < 6; ++seed) {
      std::srand(seed);
      const auto expected = shuffled(count);
      const int next = std::rand();
      std::srand(seed);
      EXPECT_EQ((run<uint8>(count, count)), std::vector<uint8>(expected.begin(), expected.end()));
      EXPECT_EQ(std::rand(), next) << "another number of draws";
    }
  }
}

TEST(SwitchLabelsRandom, EveryTypeAndLayoutIsAsStated) {
  forEachUnsignedLabel([]<class T>() {
    std::vector<T> values = mixedValues<T>(105);
    for (T& value : values) {
      value = static_cast<T>(value % 40);
    }
    for (const Layout& inputLayout : allLayouts()) {
      for (const Layout& outputLayout : someLayouts()) {
        const TestVolume<T> input({7, 3, 5}, inputLayout);
        const TestVolume<T> output({7, 3, 5}, outputLayout);
        input.fill(values);
        std::srand(3);
        const auto table = shuffled(40);
        std::srand(3);
        const auto parameter = request(input, output, 40);
        Frame().apply(parameter);
        std::vector<T> expected;
        for (const T value : values) {
          expected.push_back(static_cast<T>(table[value]));
        }
        EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
        expectSameVoxels(output.voxels(), expected);
        output.expectUntouchedOutside();
        input.expectUntouchedOutside();
      }
    }
  });
}

TEST(SwitchLabelsRandom, AnyNumberOfThreadsIsAsStated) {
  const Extents extents{67, 41, 101};
  constexpr uint64 count = 5003;
  std::vector<uint16> values = mixedValues<uint16>(67 * 41 * 101), expected;
  std::srand(11);
  const auto table = shuffled(count);
  for (uint16& value : values) {
    value = static_cast<uint16>(value % count);
    expected.push_back(static_cast<uint16>(table[value]));
  }
  const TestVolume<uint16> input(extents, regionLayout);
  input.fill(values);
  forEachThreadCount([&] {
    const TestVolume<uint16> output(extents);
    std::srand(11);
    Frame().apply(request(input, output, count));
    expectSameVoxels(output.voxels(), expected);
    input.at({66, 40, 100}) = count;
    EXPECT_THROW(Frame().apply(request(input, output, count)), Exceptions::IndexOutOfRange);
    input.at({66, 40, 100}) = values.back();
  });
}

TEST(SwitchLabelsRandom, OneLabelIsACopyWithoutADraw) { EXPECT_EQ((run<uint16>(1, 1)), std::vector<uint16>{0}); }

TEST(SwitchLabelsRandom, TwoLabelsAreACopyAndEnd) { EXPECT_EQ((run<uint16>(2, 2)), (std::vector<uint16>{0, 1})); }

TEST(SwitchLabelsRandom, Label0StaysForEveryNumberOfLabels) {
  for (uint64 count = 1; count < 200; ++count) {
    EXPECT_EQ((run<uint32>(count, count))[0], 0u);
  }
}

TEST(SwitchLabelsRandom, TheMappingIsAPermutation) {
  for (uint64 count = 1; count < 200; ++count) {
    const auto labels = run<uint32>(count, count);
    const std::set<uint32> different(labels.begin(), labels.end());
    EXPECT_EQ(different.size(), count);
    EXPECT_EQ(*different.rbegin(), count - 1);
  }
}

TEST(SwitchLabelsRandom, TheInputItselfMayBeTheOutput) {
  const TestVolume<uint8> volume({7, 3, 5});
  volume.fill({0, 1, 2, 3, 4});
  std::srand(9);
  const auto table = shuffled(5);
  std::srand(9);
  Frame().apply(request(volume, volume, 5));
  for (SizeType i = 0; i < 7; ++i) {
    EXPECT_EQ(volume.at({i, 0, 0}), table[i % 5]);
  }
}

TEST(SwitchLabelsRandom, AnOutputOfAnotherSizeIsResizedAndReused) {
  const TestVolume<uint8> input({2, 2, 2}, denseLayout, 0);
  const TestVolume<uint8> output({5, 1, 3}, regionLayout);
  const auto parameter = request(input, output, 3);
  Frame().apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  EXPECT_EQ(voxelsOf(output.volume()), std::vector<uint8>(8, 0));
}

TEST(SwitchLabelsRandom, AnEmptyVolumeGivesAnEmptyOne) {
  const auto parameter = request(VolumePtr<uint8>(new Volume<uint8>()), nullptr, 4);
  Frame().apply(parameter);
  ASSERT_TRUE(parameter->outputVolume.value() != nullptr);
  EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
}

TEST(SwitchLabelsRandom, ProgressIsOneStepPerSlice) {
  const TestVolume<uint8> input({2, 2, 5}, denseLayout, 0);
  const auto op = createTyped(uint8ToUint8);
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  op->apply(request(input, nullptr, 4));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
}

TEST(SwitchLabelsRandomFailure, ALabelBeyondTheNumberOfLabelsIsFoundBeforeAVoxelIsWritten) {
  forEachUnsignedLabel([]<class T>() {
    for (const Layout& layout : someLayouts()) {
      const TestVolume<T> input({4, 3, 2}, layout, T(200));  // what lies outside the region does not count
      const TestVolume<T> output({4, 3, 2});
      input.fill({0, 1, 2, 3});
      input.at({3, 2, 1}) = 4;
      const auto parameter = request(input, output, 4);
      expectFailure<Exceptions::IndexOutOfRange>([&] { Frame().apply(parameter); },
                                                 "The index 4 is out of the valid range (0 to 3)!", "Array::at");
      EXPECT_EQ(output.voxels(), std::vector<T>(24, 77));
      parameter->inputNumberOfLabels = 5;
      Frame().apply(parameter);
    }
  });
}

TEST(SwitchLabelsRandomFailure, AWrongParameterObject) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  expectRefusal([&] { Frame().apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::SwitchLabelsRandom::Operator::getOperatorTypeFromParameterObject: invalid "
                "parameter object!");
  const std::string text = uint8ToUint8 + "::apply parameter is NULL";
  expectRefusal([&] { createTyped(uint8ToUint8)->apply(other); }, text);
  expectRefusal([&] { createTyped(uint8ToUint8)->apply(nullptr); }, text);
}

TEST(SwitchLabelsRandomFailure, NoInputOrOneOfAnotherClass) {
  expectRefusal([&] { Frame().apply(request(nullptr, nullptr, 4)); },
                "NORV::TaviOperators::DLL::SwitchLabelsRandom::Operator::getOperatorTypeFromParameterObject: "
                "inputVolume is NULL!");
  constexpr auto text = "NORV::TaviOperators::SwitchLabelsRandom::Operator::apply input volume is NULL";
  expectRefusal([&] { createTyped(uint8ToUint8)->apply(request(nullptr, nullptr, 0)); }, text);
  expectRefusal([&] { createTyped(uint8ToUint8)->apply(request(TestVolume<uint16>({2, 2, 2}), nullptr, 4)); }, text);
}

TEST(SwitchLabelsRandomFailure, AnOutputOfAnotherVoxelType) {
  const auto parameter = request(TestVolume<uint8>({2, 2, 2}), TestVolume<uint16>({2, 2, 2}), 0);
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::SwitchLabelsRandom::Operator< "
      "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::uint16 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
  expectRefusal([&] { createTyped(uint8ToUint8)->apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(SwitchLabelsRandomFailure, NoNumberOfLabels) {
  const auto parameter = request(TestVolume<uint8>({2, 2, 2}), nullptr, 0);
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::SwitchLabelsRandom::Operator::apply Number of labels was not provided");
}

TEST(SwitchLabelsRandomFailure, MoreLabelsThan32BitsHold) {
  const auto parameter = request(TestVolume<uint8>({2, 2, 2}), nullptr, (uint64{1} << 32) + 1);
  expectStandard<std::overflow_error>(
      [&] { Frame().apply(parameter); },
      "Couldn't cast 4294967296 (64 bit unsigned integer) to 32 bit unsigned integer without loss of data!");
  parameter->inputNumberOfLabels = ~uint64{0};
  expectStandard<std::overflow_error>(
      [&] { Frame().apply(parameter); },
      "Couldn't cast 18446744073709551614 (64 bit unsigned integer) to 32 bit unsigned integer without loss of data!");
}

TEST(SwitchLabelsRandomFailure, AnyAllocationThatFailsSurfaces) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const TestVolume<uint8> input({2, 2, 2}, denseLayout, 0);
  const auto parameter = request(input, nullptr, 4);
  Frame frame;
  const int failures = failEachAllocation([&] { frame.apply(parameter); },
                                          [&] { EXPECT_TRUE(parameter->outputVolume.value() == nullptr); });
  EXPECT_GT(failures, 3);
}

TEST(SwitchLabelsRandomAbort, ReturnsNormallyAndTheNextRunIsWhole) {
  const VolumePtr<uint8> input(new Volume<uint8>(Tavi::Dimension<SizeType>(256, 256, 64)));
  std::fill_n(input->getData(), input->getSize(), uint8{0});
  Frame frame;
  bool seen = false;
  for (int attempt = 0; attempt < 1000 && !seen; ++attempt) {
    const auto parameter = request(input, nullptr, 4);
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        frame.abort();
      }
    });
    frame.apply(parameter);
    ended = true;
    other.join();
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    seen = parameter->outputVolume.value() == nullptr;
  }
  EXPECT_TRUE(seen);
  const auto parameter = request(input, nullptr, 4);
  frame.apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value() != nullptr);
}

}  // namespace
}  // namespace NORV::Tests
