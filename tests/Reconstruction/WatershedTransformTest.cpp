#include "Reconstruction/WatershedRuns.hpp"

#include <Tavi/Types.hpp>

#include <cstdlib>
#include <fstream>

namespace NORV::Tests {
namespace {

constexpr SizeType threadCountsOfRule[] = {1, 2, 5, 33};

/// The labels of a volume with uint16 labels; they must be those of the restatement.
std::vector<uint16> labelsOf(const std::vector<uint8>& values, const Extents& extents, const Flags& flags = {}) {
  return expectStated<uint8, uint16>(values, extents, flags, 1);
}

}  // namespace

TEST(WatershedTransformParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::WatershedTransform::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::WatershedTransform::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 6u);
  EXPECT_EQ(parameter->getKey(0), "inputVolume");
  EXPECT_EQ(parameter->getKey(1), "inputIgnoreHighestGrayValue");
  EXPECT_EQ(parameter->getKey(2), "inputHugeMinimum");
  EXPECT_EQ(parameter->getKey(3), "inputNumberOfThreads");
  EXPECT_EQ(parameter->getKey(4), "outputVolume");
  EXPECT_EQ(parameter->getKey(5), "outputNumberOfLabels");
  const SmartPointer<WatershedParameter> typed(parameter);
  EXPECT_TRUE(typed->inputVolume.value() == nullptr);
  EXPECT_TRUE(typed->outputVolume.value() == nullptr);
  EXPECT_FALSE(typed->inputIgnoreHighestGrayValue.value());
  EXPECT_FALSE(typed->inputHugeMinimum.value());
  EXPECT_EQ(typed->inputNumberOfThreads.value(), 0u);
  EXPECT_EQ(typed->outputNumberOfLabels.value(), 0u);
}

TEST(WatershedTransformInstances, AllNinePairsAreRegistered) {
  forEachUnsignedPair([]<class In, class Out>() {
    const std::string identifier = typedWatershed<In, Out>();
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    EXPECT_EQ(SmartPointer<IComposite>(createTyped(identifier))->getType(), identifier);
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::WatershedTransform::Operator< "), 9u);
}

TEST(WatershedTransform, EveryPairIsAsStated) {
  for (const FloodRelief& relief : floodReliefs({9, 7, 5})) {
    for (const Flags& flags : allFlags()) {
      SCOPED_TRACE(relief.name);
      forEachUnsignedPair([&]<class In, class Out>() {
        std::vector<In> values(relief.values.begin(), relief.values.end());
        expectStated<In, Out>(values, relief.extents, flags, 2);
      });
    }
  }
}

TEST(WatershedTransform, EveryReliefIsAsStatedWithAnyNumberOfThreads) {
  for (const Extents& extents : {Extents{24, 17, 9}, Extents{40, 31, 1}, Extents{90, 1, 1}, Extents{1, 1, 90},
                                 Extents{1, 30, 20}, Extents{2, 2, 60}, Extents{21, 1, 20}}) {
    for (const FloodRelief& relief : floodReliefs(extents)) {
      SCOPED_TRACE(relief.name);
      for (const Flags& flags : allFlags()) {
        for (const SizeType threads : threadCountsOfRule) {
          expectStated<uint8, uint32>(relief.values, extents, flags, threads);
        }
      }
    }
  }
}

TEST(WatershedTransform, AnyNoiseIsAsStated) {
  std::mt19937 random(3);
  for (unsigned run = 0; run < 800; ++run) {
    const Extents extents{1 + random() % 20, 1 + random() % 12, 1 + random() % 9};
    const FloodRelief relief = makeNoiseRelief(extents, 1 + random() % 12, run);
    expectStated<uint8, uint16>(relief.values, extents, allFlags()[run % 4], 1 + run % 3);
  }
}

/// Levels of several batches, which the threads share.
TEST(WatershedTransform, LevelsOfManyVoxelsAreAsStated) {
  const Extents extents{80, 61, 37};
  std::vector<FloodRelief> large{makeNoiseRelief(extents, 2, 4), makeNoiseRelief(extents, 4, 5)};
  large.push_back(makeFloodRelief("planes", extents, [](uint64, uint64, uint64 z) { return z % 3; }));
  large.push_back(makeFloodRelief("far from the minimum", extents,
                                  [](uint64 x, uint64 y, uint64 z) { return x + y + z == 0 ? 0u : 1u; }));
  large.push_back(makeFloodRelief("grains in a plateau", extents, [](uint64 x, uint64 y, uint64 z) {
    return (x * 31 + y * 17 + z * 101) % 997 == 0 ? (x + y) % 3 : 5;
  }));
  for (const FloodRelief& relief : large) {
    SCOPED_TRACE(relief.name);
    expectStated<uint8, uint32>(relief.values, extents, {}, 2);
    expectStated<uint8, uint32>(relief.values, extents, {false, true}, 5);
  }
}

TEST(WatershedTransform, EveryLayoutIsAsStated) {
  const Extents extents{9, 6, 5};
  for (const uint64 levels : {3u, 60u}) {
    const FloodRelief relief = makeNoiseRelief(extents, levels, 9);
    const std::vector<uint16> values(relief.values.begin(), relief.values.end());
    for (const Layout& inputLayout : allLayouts()) {
      for (const Layout& outputLayout : someLayouts()) {
        expectStated<uint16, uint32>(values, extents, {}, 1, inputLayout, outputLayout);
        expectStated<uint16, uint32>(values, extents, {true, true}, 2, outputLayout, inputLayout);
      }
    }
  }
}

TEST(WatershedTransform, ValuesOfBillionsAreAsStated) {
  std::mt19937 random(6);
  for (unsigned run = 0; run < 60; ++run) {
    const Extents extents{3 + random() % 30, 1 + random() % 30, 1 + random() % 9};
    const uint64 step = run % 3 == 0 ? 1 : run % 3 == 1 ? 1000003 : 16843009;
    const uint32 base = run % 2 == 0 ? 0 : 3000000000u;
    std::vector<uint32> values(extents[0] * extents[1] * extents[2]);
    for (uint32& value : values) {
      value = base + static_cast<uint32>(random() % (run % 4 == 0 ? 1000 : 60) * step);
    }
    values[values.size() / 2] = run % 5 == 0 ? 4294967295u : base;
    values[0] = run % 7 == 0 ? 0u : values[0];
    for (const Flags& flags : allFlags()) {
      expectStated<uint32, uint32>(values, extents, flags, 1 + run % 3);
    }
  }
}

TEST(WatershedTransform, WideValuesOfUint16AreAsStated) {
  const Extents extents{31, 20, 7};
  std::mt19937 random(8);
  std::vector<uint16> values(extents[0] * extents[1] * extents[2]);
  for (const unsigned range : {65536u, 1100u, 300u}) {
    for (uint16& value : values) {
      value = static_cast<uint16>(65535 - random() % range);
    }
    for (const Flags& flags : allFlags()) {
      expectStated<uint16, uint16>(values, extents, flags, 2);
    }
  }
}

TEST(WatershedTransform, AConstantVolumeIsOneBasin) {
  for (const uint8 value : {uint8{0}, uint8{7}, uint8{255}}) {
    for (const bool huge : {false, true}) {
      const auto labels = labelsOf(std::vector<uint8>(60, value), {5, 4, 3}, {false, huge});
      EXPECT_EQ(labels, std::vector<uint16>(60, 1));
    }
  }
}

TEST(WatershedTransform, OfAConstantVolumeWithoutItsHighestValueOnlyThatOfZerosIsFlooded) {
  EXPECT_EQ(labelsOf(std::vector<uint8>(60, 0), {5, 4, 3}, {true, false}), std::vector<uint16>(60, 1));
  EXPECT_EQ(labelsOf(std::vector<uint8>(60, 9), {5, 4, 3}, {true, false}), std::vector<uint16>(60, 0));
  EXPECT_EQ(labelsOf(std::vector<uint8>(60, 9), {5, 4, 3}, {true, true}), std::vector<uint16>(60, 1))
      << "the components of the lowest value are numbered all the same";
}

TEST(WatershedTransform, TheLevelAtTheLargestValueIsFloodedAndTheRunEnds) {
  EXPECT_EQ(labelsOf({0, 255, 255, 255, 3}, {5, 1, 1}), (std::vector<uint16>{1, 1, 1, 2, 2}));
  EXPECT_EQ((expectStated<uint16, uint8>({65535, 65535}, {2, 1, 1}, {}, 1)), (std::vector<uint8>{1, 1}));
  EXPECT_EQ((expectStated<uint32, uint8>({4294967295u, 0, 4294967295u}, {3, 1, 1}, {}, 1)),
            (std::vector<uint8>{1, 1, 1}));
}

TEST(WatershedTransform, ARidgeBetweenTwoMinimaTakesTheLabelOfTheFirstNeighbourAtEqualCounts) {
  EXPECT_EQ(labelsOf({1, 5, 1}, {3, 1, 1}), (std::vector<uint16>{1, 1, 2}));
  EXPECT_EQ(labelsOf({1, 1, 1, 5, 5, 5, 1, 1, 1}, {3, 3, 1}), (std::vector<uint16>{1, 1, 1, 1, 1, 1, 2, 2, 2}));
  EXPECT_EQ(labelsOf({1, 5, 1, 1, 5, 1, 9, 5, 1}, {3, 3, 1}), (std::vector<uint16>{1, 1, 2, 1, 2, 2, 2, 2, 2}))
      << "most neighbours decide before the first";
}

TEST(WatershedTransform, APlateauIsDividedHalfWay) {
  EXPECT_EQ(labelsOf({0, 4, 4, 4, 4, 4, 1}, {7, 1, 1}), (std::vector<uint16>{1, 1, 1, 1, 2, 2, 2}));
}

TEST(WatershedTransform, WithoutTheHighestValueItsVoxelsAreZeroAndNoOtherChanges) {
  const FloodRelief relief = makeNoiseRelief({12, 9, 7}, 6, 21);
  const auto all = labelsOf(relief.values, relief.extents);
  const auto some = labelsOf(relief.values, relief.extents, {true, false});
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(some[i], relief.values[i] == 5 ? 0 : all[i]) << i;
  }
}

TEST(WatershedTransform, InASingleSliceEightNeighboursCount) {
  EXPECT_EQ(labelsOf({1, 9, 9, 9, 1, 9, 9, 9, 1}, {3, 3, 1}), std::vector<uint16>(9, 1));
}

TEST(WatershedTransform, InTwoSlices26NeighboursCount) {
  EXPECT_EQ(labelsOf({1, 9, 9, 9, 9, 9, 9, 1}, {2, 2, 2}), std::vector<uint16>(8, 1));
}

TEST(WatershedTransform, AHugeMinimumOfTwoPlateausGivesTheLabelsOfFlooding) {
  const std::vector<uint8> values{0, 3, 0, 0, 3, 0, 9, 5, 0};
  const std::vector<uint16> expected{1, 1, 2, 1, 2, 2, 2, 2, 2};
  EXPECT_EQ(labelsOf(values, {3, 3, 1}, {false, false}), expected);
  EXPECT_EQ(labelsOf(values, {3, 3, 1}, {false, true}), expected);
}

TEST(WatershedTransform, OneVoxelAndEmptyVolumes) {
  for (const Flags& flags : allFlags()) {
    EXPECT_EQ(labelsOf({3}, {1, 1, 1}, flags), std::vector<uint16>(1, flags.ignoresHighest && !flags.huge ? 0 : 1));
    const Tavi::VolumePtr<uint8> empty(new Tavi::Volume<uint8>());
    const auto parameter = watershedRequest(empty, nullptr, flags);
    WatershedFrame().apply(parameter);
    EXPECT_EQ(parameter->outputNumberOfLabels.value(), 1u);
    ASSERT_TRUE(parameter->outputVolume.value() != nullptr);
    EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
  }
}

/// A part of a scan that is named in the environment; without one there is nothing to test.
TEST(WatershedTransform, ARealScanIsAsStated) {
  const char* const name = std::getenv("TAVI_BENCHMARK_SCAN");
  std::ifstream file(name != nullptr ? name : "", std::ios::binary);
  constexpr SizeType edge = 256, part = 72;
  std::vector<uint8> scan(edge * edge * 128);
  file.seekg(2048);
  if (!file.read(reinterpret_cast<char*>(scan.data()), static_cast<std::streamsize>(scan.size()))) {
    GTEST_SKIP() << "TAVI_BENCHMARK_SCAN names no scan of 256 x 256 x 128 voxels";
  }
  const FloodRelief relief = makeFloodRelief("scan", {part, part, part}, [&](uint64 x, uint64 y, uint64 z) {
    return scan[x + 90 + edge * (y + 90 + edge * (z + 30))];
  });
  for (const Flags& flags : allFlags()) {
    expectStated<uint8, uint32>(relief.values, relief.extents, flags, 2);
  }
}

}  // namespace NORV::Tests
