#include "Reconstruction/WatershedRuns.hpp"
#include "support/FailingAllocation.hpp"
#include "support/HostMemory.hpp"

#include <DLL/Saturation.hpp>
#include <Saturation.hpp>

#include <Reconstruction/Immersion.hpp>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <stdexcept>
#include <thread>

/// What is around the labels: volumes that share memory, memory, progress, aborts and failures.
namespace NORV::Tests {
namespace {

using Tavi::VolumePtr;
constexpr const char* inApply = "NORV::TaviOperators::WatershedTransform::Operator::apply";

template <class Out>
std::vector<Out> statedLabels(const std::vector<uint8>& values, const Extents& extents, const Flags& flags = {}) {
  const auto stated = statedBasins<uint8>(values, extents, flags.ignoresHighest, flags.huge);
  return {stated.labels.begin(), stated.labels.end()};
}

/// Basins that do not touch: as many as are asked for, in a row.
std::vector<uint8> rowOfBasins(SizeType basins) {
  std::vector<uint8> values;
  for (SizeType i = 0; i < basins; ++i) {
    values.insert(values.end(), {5, 9});
  }
  return values;
}

}  // namespace

TEST(WatershedTransformVolumes, AnOutputIsMadeOfTheInputsType) {
  forEachVoxelType([]<class T>() {
    if constexpr (std::is_unsigned_v<T>) {
      const TestVolume<T> input({5, 4, 3}, regionLayout);
      input.fill({9, 1, 9, 9, 2, 9});
      const auto parameter = watershedRequest(input, nullptr);
      WatershedFrame frame;
      frame.apply(parameter);
      EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
      const VolumePtr<T> output(parameter->outputVolume.value());
      ASSERT_TRUE(output != nullptr);
      EXPECT_TRUE(output->getAllocatedDimension() == Tavi::Dimension<SizeType>(5, 4, 3));
      const auto stated = statedBasins<T>(input.voxels(), {5, 4, 3});
      expectSameVoxels(voxelsOf(output), std::vector<T>(stated.labels.begin(), stated.labels.end()));
    }
  });
}

TEST(WatershedTransformVolumes, AnOutputOfAnotherSizeIsResizedAndReused) {
  const FloodRelief relief = makeNoiseRelief({7, 6, 5}, 5, 2);
  for (const Layout& layout : someLayouts()) {
    const TestVolume<uint8> input(relief.extents);
    input.fill(relief.values);
    const TestVolume<uint16> output({2, 9, 4}, layout);
    const auto parameter = watershedRequest(input, output);
    WatershedFrame().apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    expectSameVoxels(voxelsOf(output.volume()), statedLabels<uint16>(relief.values, relief.extents));
  }
}

TEST(WatershedTransformVolumes, InPlace) {
  for (const Layout& layout : allLayouts()) {
    for (const Flags& flags : allFlags()) {
      const FloodRelief relief = makeNoiseRelief({11, 6, 5}, 4, 3);
      const TestVolume<uint8> volume(relief.extents, layout);
      volume.fill(relief.values);
      const auto parameter = watershedRequest(volume, volume, flags, 2);
      WatershedFrame().apply(parameter);
      expectSameVoxels(volume.voxels(), statedLabels<uint8>(relief.values, relief.extents, flags));
      volume.expectUntouchedOutside();
    }
  }
}

/// The output lies over the input, moved by some voxels or of another voxel type.
TEST(WatershedTransformVolumes, OutputInTheMemoryOfTheInput) {
  const FloodRelief relief = makeNoiseRelief({11, 6, 5}, 6, 4);
  const SizeType size = relief.values.size();
  const Tavi::Dimension<SizeType> extents(11, 6, 5);
  for (const Flags& flags : allFlags()) {
    for (const SizeType begin : {0u, 1u, 4u, 100u, 330u}) {
      std::vector<uint16> memory(2 * size + 400);
      auto* const bytes = reinterpret_cast<uint8*>(memory.data());
      std::copy(relief.values.begin(), relief.values.end(), bytes + begin);
      const VolumePtr<uint8> input(new Tavi::Volume<uint8>(extents, bytes + begin, {}));
      const VolumePtr<uint16> output(new Tavi::Volume<uint16>(extents, memory.data(), {}));
      WatershedFrame().apply(watershedRequest(input, output, flags));
      expectSameVoxels(voxelsOf(output), statedLabels<uint16>(relief.values, relief.extents, flags));
    }
  }
}

/// The output is a smaller view of the volume that the input is, and gets memory of its own.
TEST(WatershedTransformVolumes, OutputOfOtherExtentsInTheMemoryOfTheInput) {
  const FloodRelief relief = makeNoiseRelief({11, 6, 5}, 6, 5);
  std::vector<uint8> memory = relief.values;
  const VolumePtr<uint8> input(new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(11, 6, 5), memory.data(), {}));
  const VolumePtr<uint8> output(new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(11, 6, 2), memory.data(), {}));
  WatershedFrame().apply(watershedRequest(input, output));
  expectSameVoxels(voxelsOf(output), statedLabels<uint8>(relief.values, relief.extents));
  EXPECT_EQ(memory, relief.values);
}

TEST(WatershedTransformVolumes, AnOperatorIsReusable) {
  const auto op = createTyped(typedWatershed<uint8, uint16>());
  for (unsigned run = 0; run < 6; ++run) {
    const FloodRelief relief = makeNoiseRelief({9, 8, 4 + run % 2}, 4 + run, run);
    const TestVolume<uint8> input(relief.extents);
    const TestVolume<uint16> output(relief.extents);
    input.fill(relief.values);
    op->apply(watershedRequest(input, output, allFlags()[run % 4]));
    expectSameVoxels(output.voxels(), statedLabels<uint16>(relief.values, relief.extents, allFlags()[run % 4]));
  }
}

/// Offsets of 64 bits are for volumes that no test can hold: the same code over small ones.
TEST(WatershedTransformOffsets, Of64BitsGiveTheSameLabels) {
  using namespace TaviOperators::Impl;
  class Nobody final : public TaviOperators::OperatorBase {
    void apply(SmartPointer<IComposite>) override {}
  } nobody;
  for (const uint64 levels : {5u, 3000u, 4000000000u}) {
    const Extents extents{19, 11, 7};
    std::mt19937_64 random(levels);
    std::vector<uint32> values(extents[0] * extents[1] * extents[2]);
    std::generate(values.begin(), values.end(), [&] { return static_cast<uint32>(random() % levels) + 1; });
    values[500] = 0;
    const Tavi::Dimension<SizeType> dimension(extents[0], extents[1], extents[2]);
    const View<const uint32> view{values.data(), extents[0], extents[1], extents[2], 1, 19, 19 * 11};
    PaddedVolume<uint32> labels(dimension);
    std::fill_n(labels.data(), labels.size(), 0u);
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    LevelOrder<uint64> order(nobody, 2, view, labels.strides(), *low, *high);
    EXPECT_EQ(order.size(), values.size() - 1);
    labels.interior().at(500 % 19, 500 / 19 % 11, 500 / 209) = FloodWords<uint32>::waiting;
    Immersion<uint32, uint64> immersion(nobody, 2, labels, 9, 1000000);
    immersion.floodWaiting();
    for (SizeType begin = 0; begin < order.size();) {
      const SizeType end = order.levelEnd(begin);
      immersion.floodLevel(order.begin() + begin, end - begin);
      begin = end;
    }
    labels.showInterior();
    const auto stated = statedBasins<uint32>(values, extents);
    expectSameVoxels(voxelsOf(labels.volume()), std::vector<uint32>(stated.labels.begin(), stated.labels.end()));
    EXPECT_EQ(immersion.lastLabel() + 1, stated.number);
  }
}

TEST(WatershedTransformMemory, IsAtMost16BytesPerVoxelBeyondInputAndOutput) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const auto check = [&]<class In, class Out>(const Extents& extents, uint64 levels, uint64 step, const Flags& flags) {
    const TestVolume<In> input(extents);
    const TestVolume<Out> output(extents);
    const SizeType size = extents[0] * extents[1] * extents[2];
    std::mt19937_64 random(4);
    std::vector<In> values(size);
    std::generate(values.begin(), values.end(), [&] { return static_cast<In>(random() % levels * step); });
    input.fill(values);
    const auto parameter = watershedRequest(input, output, flags, 2);
    const RuntimeSettings settings;
    const auto extra = extraBytesOf([&] { WatershedFrame().apply(parameter); });
    constexpr SizeType objects = 16384;  // parameter objects, counters of 256 levels, texts
    EXPECT_LE(static_cast<SizeType>(extra), 16 * size + objects)
        << Tavi::typeName<In> << " to " << Tavi::typeName<Out> << ", " << levels << " levels, in bytes per voxel "
        << static_cast<double>(extra) / static_cast<double>(size);
  };
  for (const Flags& flags : allFlags()) {
    for (const Extents& extents : {Extents{60, 50, 40}, Extents{3, 3, 9000}, Extents{300, 200, 1}, Extents{2, 1, 30000},
                                   Extents{60000, 1, 1}, Extents{1, 1, 60000}}) {
      check.operator()<uint8, uint32>(extents, 3, 1, flags);
      check.operator()<uint8, uint32>(extents, 200, 1, flags);
      check.operator()<uint16, uint16>(extents, 60000, 1, flags);
      check.operator()<uint32, uint32>(extents, 4, 1000000000, flags);
      check.operator()<uint32, uint32>(extents, 4000000000, 1, flags);
    }
  }
}

TEST(WatershedTransformProgress, NeverGoesBackAndEndsWithTheNestedOperatorsThatRan) {
  const FloodRelief relief = makeNoiseRelief({60, 50, 40}, 200, 1);
  const TestVolume<uint8> input(relief.extents);
  input.fill(relief.values);
  for (const bool huge : {false, true}) {
    const auto op = createTyped(typedWatershed<uint8, uint32>());
    EXPECT_EQ(op->getProgress().getProgress(), 0.0);
    std::atomic<bool> ended{false};
    bool wentBack = false;
    std::thread observer([&] {
      for (double last = 0.0; !ended;) {
        const double now = op->getProgress().getProgress();
        wentBack = wentBack || now < last;
        last = now;
      }
    });
    op->apply(watershedRequest(input, TestVolume<uint32>(relief.extents), {false, huge}));
    ended = true;
    observer.join();
    EXPECT_FALSE(wentBack);
    // Its own steps and three nested operators count alike; the components are numbered only in a huge minimum.
    EXPECT_EQ(op->getProgress().getProgress(), huge ? 1.0 : 0.75);
  }
}

TEST(WatershedTransformProgress, HasNoStepsWithoutALevel) {
  const TestVolume<uint8> input({3, 2, 2});
  input.fill({4});
  const auto op = createTyped(typedWatershed<uint8, uint32>());
  op->apply(watershedRequest(input, TestVolume<uint32>({3, 2, 2}), {true, false}));
  EXPECT_EQ(op->getProgress().getProgress(), 0.5) << "two nested operators of four shares";
}

TEST(WatershedTransformAbort, WhileTheOutputIsResizedLeavesTheResultsUnset) {
  for (const Flags& flags : allFlags()) {
    const FloodRelief relief = makeNoiseRelief({9, 5, 4}, 5, 1);
    const TestVolume<uint8> input(relief.extents);
    input.fill(relief.values);
    std::vector<uint16> memory(3, 7);
    const auto op = createTyped(typedWatershed<uint8, uint16>());
    const auto output = hostVolume<uint16>(memory, [op] { op->abort(); });
    const auto parameter = watershedRequest(input, output, flags);
    parameter->outputNumberOfLabels = 77;
    op->apply(parameter);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 77u);
    op->apply(parameter);
    expectSameVoxels(voxelsOf(output), statedLabels<uint16>(relief.values, relief.extents, flags));
  }
}

/// At each share of the progress: in the nested operators, while levels are flooded and while a plateau is.
TEST(WatershedTransformAbort, AtAnyPointReturnsNormallyAndTheNextRunIsWhole) {
  std::vector<FloodRelief> all{makeNoiseRelief({50, 40, 30}, 100, 1), makeNoiseRelief({50, 40, 30}, 2, 1)};
  all.push_back(makeFloodRelief("spiral", {60, 59, 21}, [](uint64 x, uint64 y, uint64 z) {
    return x + y + z == 0 ? 0 : corridorAt(x, y, z, {60, 59, 21});
  }));
  int aborted = 0;
  for (const FloodRelief& relief : all) {
    const TestVolume<uint8> input(relief.extents);
    input.fill(relief.values);
    for (unsigned run = 0; run < 40; ++run) {
      const auto op = createTyped(typedWatershed<uint8, uint32>());
      const TestVolume<uint32> output(relief.extents);
      const auto parameter = watershedRequest(input, output, allFlags()[run % 4], 1 + run % 2);
      parameter->outputVolume = SmartPointer<IVolume>();
      std::atomic<bool> ended{false};
      std::thread other([&] {
        while (!ended && op->getProgress().getProgress() < 0.025 * run) {
        }
        op->abort();
      });
      op->apply(parameter);
      ended = true;
      other.join();
      const bool isSet = parameter->outputNumberOfLabels.value() != 0;
      EXPECT_EQ(isSet, parameter->outputVolume.value() != nullptr);
      aborted += isSet ? 0 : 1;
      if (run % 10 == 9) {
        op->apply(parameter);
        expectSameVoxels(voxelsOf(VolumePtr<uint32>(parameter->outputVolume.value())),
                         statedLabels<uint32>(relief.values, relief.extents, allFlags()[run % 4]));
      }
    }
  }
  EXPECT_GT(aborted, 10);
}

TEST(WatershedTransformFailure, TheBasinAfterTheLastLabelOverflowsBeforeTheOutputIsWritten) {
  for (const bool huge : {false, true}) {
    expectStated<uint8, uint8>(rowOfBasins(255), {510, 1, 1}, {false, huge}, 1);
  }
  const auto values = rowOfBasins(256);
  const TestVolume<uint8> input({512, 1, 1});
  const TestVolume<uint8> output({512, 1, 1});
  input.fill(values);
  output.fill({44});
  const auto parameter = watershedRequest(input, output);
  parameter->outputNumberOfLabels = 3;
  expectFailure<Exceptions::NumericalOverflow>([&] { WatershedFrame().apply(parameter); }, "Numercial overflow!",
                                               inApply);
  EXPECT_EQ(parameter->outputNumberOfLabels.value(), 3u);
  EXPECT_EQ(output.voxels(), std::vector<uint8>(512, 44));
  EXPECT_EQ(input.voxels(), values);
  parameter->inputHugeMinimum = true;
  expectFailure<Exceptions::NumericalOverflow>([&] { WatershedFrame().apply(parameter); }, "Numercial overflow!",
                                               "ConnectedComponentAnalysis::ExecuteLinear");
  expectStated<uint8, uint16>(values, {512, 1, 1}, {}, 1);
}

TEST(WatershedTransformFailure, BasinsOfLaterLevelsOverflowToo) {
  std::vector<uint8> values = rowOfBasins(256);
  values[300] = 7;
  const TestVolume<uint8> input({512, 1, 1});
  input.fill(values);
  for (const bool huge : {false, true}) {
    expectFailure<Exceptions::NumericalOverflow>(
        [&] {
          WatershedFrame().apply(watershedRequest(input, nullptr, {false, huge}));
        },
        "Numercial overflow!", inApply);
  }
  const std::vector<uint8> deep = rowOfBasins(65536);
  const TestVolume<uint8> wide({131072, 1, 1});
  wide.fill(deep);
  expectFailure<Exceptions::NumericalOverflow>(
      [&] {
        WatershedFrame().apply(watershedRequest(wide, TestVolume<uint16>({131072, 1, 1})));
      },
      "Numercial overflow!", inApply);
}

TEST(WatershedTransformFailure, AWrongParameterObject) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  WatershedFrame frame;
  expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { frame.apply(other); },
                "NORV::TaviOperators::DLL::WatershedTransform::Operator::getOperatorTypeFromParameterObject: invalid "
                "parameter object!");
  const auto op = createTyped(typedWatershed<uint8, uint8>());
  expectRefusal([&] { op->apply(other); }, inApply);
  expectRefusal([&] { op->apply(nullptr); }, inApply);
}

TEST(WatershedTransformFailure, NoInputOrOneOfAnotherClass) {
  const TestVolume<uint8> output({2, 2, 2});
  expectRefusal([&] { WatershedFrame().apply(watershedRequest(nullptr, output)); },
                "NORV::TaviOperators::DLL::WatershedTransform::Operator::getOperatorTypeFromParameterObject: "
                "inputVolume is NULL!");
  const auto op = createTyped(typedWatershed<uint8, uint8>());
  const std::string text = std::string(inApply) + " inputVolume is NULL";
  expectRefusal([&] { op->apply(watershedRequest(nullptr, output)); }, text);
  expectRefusal([&] { op->apply(watershedRequest(TestVolume<uint16>({2, 2, 2}), output)); }, text);
}

TEST(WatershedTransformFailure, AnOutputOfAnotherClass) {
  const TestVolume<uint8> input({2, 2, 2});
  expectRefusal(
      [&] {
        createTyped(typedWatershed<uint8, uint16>())->apply(watershedRequest(input, TestVolume<uint32>({2, 2, 2})));
      },
      "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(WatershedTransformFailure, OtherVoxelTypesHaveNoInstance) {
  const std::string text = "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier ";
  const std::string op = "NORV::TaviOperators::WatershedTransform::Operator< ";
  expectStandard<std::invalid_argument>(
      [&] {
        WatershedFrame().apply(watershedRequest(TestVolume<float32>({2, 2, 2}), nullptr));
      },
      text + op + "NORV::float32 , NORV::float32 > is registered");
  expectStandard<std::invalid_argument>(
      [&] {
        WatershedFrame().apply(watershedRequest(TestVolume<uint8>({2, 2, 2}), TestVolume<int16>({2, 2, 2})));
      },
      text + op + "NORV::uint8 , NORV::int16 > is registered");
}

TEST(WatershedTransformFailure, AThreadCountThat32BitsDoNotHold) {
  const TestVolume<uint8> input({3, 3, 3});
  input.fill({1, 2, 3});
  WatershedFrame frame;
  expectThreadCountChecked(frame, watershedRequest(input, nullptr));
}

TEST(WatershedTransformFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const FloodRelief relief = makeNoiseRelief({12, 9, 6}, 7, 3);
  for (const Flags& flags : allFlags()) {
    const TestVolume<uint8> input(relief.extents);
    const TestVolume<uint16> output(relief.extents);
    input.fill(relief.values);
    WatershedFrame frame;
    const auto parameter = watershedRequest(input, output, flags);
    const auto before = blocksInUse();
    const int failures = failEachAllocation([&] { frame.apply(parameter); },
                                            [&] {
                                              EXPECT_EQ(parameter->outputNumberOfLabels.value(), 0u);
                                              EXPECT_LE(blocksInUse(), before);
                                            });
    EXPECT_GT(failures, 5);
    expectSameVoxels(output.voxels(), statedLabels<uint16>(relief.values, relief.extents, flags));
    expectSameVoxels(input.voxels(), relief.values);
  }
}

}  // namespace NORV::Tests
