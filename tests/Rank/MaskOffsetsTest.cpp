#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Tavi/MaskOffsets.hpp>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <vector>

namespace NORV::Tests {
namespace {

using Tavi::Dimension;
using Tavi::Position;
using Tavi::VolumePtr;
using Offsets = Tavi::Iterating::MaskOffsets<VolumePtr<uint8>>;

constexpr const char* origin = "NORV::Tavi::Iterating::MaskOffsets::MaskFunktor()";

Position<SizeType> position(const Extents& at) { return {at[0], at[1], at[2]}; }

TestVolume<uint8> makeMask(const Extents& extents, const std::vector<uint8>& voxels, const Layout& layout = {}) {
  TestVolume<uint8> mask(extents, layout);
  mask.fill(voxels);
  return mask;
}

void expectBox(const Offsets& offsets, const Extents& size, const Extents& first) {
  EXPECT_EQ(offsets.interiorSize(), (Dimension<SizeType>(size[0], size[1], size[2])));
  EXPECT_EQ(offsets.interiorOrigin(), position(first));
}

TEST(MaskOffsets, FindsTheVoxelsOfTheElementInMaskOrderInAllLayoutsOfVolumeAndMask) {
  std::mt19937 random(3);
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    for (const Extents& maskExtents : {Extents{3, 2, 4}, Extents{1, 1, 1}, Extents{5, 1, 2}}) {
      const TestVolume<int16> volume({6, 5, 4}, layout);
      std::vector<uint8> voxels(maskExtents[0] * maskExtents[1] * maskExtents[2]);
      for (uint8& voxel : voxels) {
        voxel = static_cast<uint8>(random() % 2 * (random() % 256));
      }
      voxels[random() % voxels.size()] = 9;
      const auto mask = makeMask(maskExtents, voxels, someLayouts()[random() % someLayouts().size()]);
      const Extents anchor{random() % maskExtents[0], random() % maskExtents[1], random() % maskExtents[2]};
      const Offsets offsets(volume, mask.volume(), position(anchor));

      Extents low = anchor, high = anchor;
      const auto base = &volume.at(anchor);
      SizeType entry = 0, index = 0;
      for (SizeType z = 0; z < maskExtents[2]; ++z) {
        for (SizeType y = 0; y < maskExtents[1]; ++y) {
          for (SizeType x = 0; x < maskExtents[0]; ++x, ++index) {
            if (voxels[index] == 0) {
              continue;
            }
            const Extents at{x, y, z};
            ASSERT_LT(entry, offsets.count());
            EXPECT_EQ(offsets.offsets()[entry], &volume.at(at) - base);
            EXPECT_EQ(offsets.values()[entry], voxels[index]);
            ++entry;
            for (unsigned i = 0; i < 3; ++i) {
              low[i] = std::min(low[i], at[i]);
              high[i] = std::max(high[i], at[i]);
            }
          }
        }
      }
      EXPECT_EQ(offsets.count(), entry);
      expectBox(offsets, {6 - (high[0] - low[0]), 5 - (high[1] - low[1]), 4 - (high[2] - low[2])},
                {anchor[0] - low[0], anchor[1] - low[1], anchor[2] - low[2]});
    }
  }
}

TEST(MaskOffsets, AnAnchorAtTheMaskDimensionOnAnyAxisIsRejectedAndTheOriginOfASingleVoxelAccepted) {
  const TestVolume<uint8> volume({6, 5, 4});
  const auto mask = makeMask({3, 2, 1}, {1});
  for (const Extents& anchor :
       {Extents{3, 0, 0}, Extents{0, 2, 0}, Extents{0, 0, 1}, Extents{~SizeType{0}, 0, 0}, Extents{0, 7, 0}}) {
    expectFailure<Exceptions::InvalidArg>([&] { const Offsets offsets(volume, mask.volume(), position(anchor)); },
                                          "Anchor is not inside of mask_!", origin);
  }
  const auto single = makeMask({1, 1, 1}, {1});
  EXPECT_EQ(Offsets(volume, single.volume(), position({0, 0, 0})).count(), 1u);
}

TEST(MaskOffsets, AMaskThatIsLongerThanTheVolumeOnAnyAxisIsRejectedAndOneOfEqualSizeAccepted) {
  const TestVolume<uint8> volume({6, 5, 4});
  for (const Extents& extents : {Extents{7, 5, 4}, Extents{6, 6, 4}, Extents{6, 5, 5}}) {
    const auto mask = makeMask(extents, {1});
    expectFailure<Exceptions::InvalidArg>(
        [&] {
          const Offsets offsets(volume, mask.volume(), position({0, 0, 0}));
        },
        "Mask is bigger than volume!", origin);
    // The anchor is looked at first.
    expectFailure<Exceptions::InvalidArg>(
        [&] {
          const Offsets offsets(volume, mask.volume(), position({9, 0, 0}));
        },
        "Anchor is not inside of mask_!", origin);
  }
  const auto equal = makeMask({6, 5, 4}, {1});
  EXPECT_EQ(Offsets(volume, equal.volume(), position({0, 0, 0})).count(), 120u);
}

TEST(MaskOffsets, AMissingMaskIsAnInvalidArgument) {
  const TestVolume<uint8> volume({6, 5, 4});
  expectStandard<std::invalid_argument>(
      [&] {
        const Offsets offsets(volume, {}, position({0, 0, 0}));
      },
      "NORV::Tavi::Iterating::MaskOffsets::MaskFunktor::MaskFunktor() mask_ is NULL");
}

TEST(MaskOffsets, AMissingVolumeIsANullPointer) {
  const auto mask = makeMask({1, 1, 1}, {1});
  expectFailure<Exceptions::NULLPointer>(
      [&] {
        const Offsets offsets({}, mask.volume(), position({0, 0, 0}));
      },
      "The pointer variable 'volume_' is a NULL pointer", origin);
}

TEST(MaskOffsets, AFullMaskOfTheVolumesSizeHasOneInteriorPositionAtTheAnchor) {
  const TestVolume<float32> volume({6, 5, 4});
  const auto mask = makeMask({6, 5, 4}, {1});
  expectBox(Offsets(volume, mask.volume(), position({2, 4, 0})), {1, 1, 1}, {2, 4, 0});
}

TEST(MaskOffsets, ASingleVoxelAtTheAnchorHasTheWholeVolumeAsInterior) {
  const TestVolume<float32> volume({6, 5, 4});
  auto mask = makeMask({3, 3, 3}, {0});
  mask.at({1, 2, 0}) = 200;
  const Offsets offsets(volume, mask.volume(), position({1, 2, 0}));
  ASSERT_EQ(offsets.count(), 1u);
  EXPECT_EQ(offsets.offsets()[0], 0);
  EXPECT_EQ(offsets.values()[0], 200);
  expectBox(offsets, {6, 5, 4}, {0, 0, 0});
}

TEST(MaskOffsets, AnAnchorOnAZeroVoxelShrinksTheInteriorAsIfItWereInTheElement) {
  const TestVolume<float32> volume({6, 5, 4});
  auto mask = makeMask({3, 3, 3}, {0});
  mask.at({2, 0, 1}) = 1;
  const Offsets offsets(volume, mask.volume(), position({0, 2, 1}));
  ASSERT_EQ(offsets.count(), 1u);
  EXPECT_EQ(offsets.offsets()[0], 2 - 2 * 6);
  expectBox(offsets, {4, 3, 4}, {0, 2, 0});
}

TEST(MaskOffsets, AMaskOfZerosHasNoListsAndTheWholeVolumeAsInterior) {
  const TestVolume<float32> volume({6, 5, 4});
  const auto mask = makeMask({3, 3, 3}, {0});
  const Offsets offsets(volume, mask.volume(), position({1, 1, 1}));
  EXPECT_EQ(offsets.count(), 0u);
  EXPECT_EQ(offsets.offsets(), nullptr);
  EXPECT_EQ(offsets.values(), nullptr);
  expectBox(offsets, {6, 5, 4}, {0, 0, 0});
}

TEST(MaskOffsets, KeepsNeitherVolumeNorMask) {
  const VolumePtr<uint8> volume(new Tavi::Volume<uint8>(Dimension<SizeType>(2, 2, 2)));
  const auto mask = makeMask({2, 1, 1}, {5});
  const Offsets offsets(volume, mask.volume(), position({0, 0, 0}));
  mask.fill({0});
  EXPECT_EQ(offsets.values()[1], 5);
}

}  // namespace
}  // namespace NORV::Tests
