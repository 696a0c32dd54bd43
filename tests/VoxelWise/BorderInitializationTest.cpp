#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <BorderInitialization.hpp>
#include <Saturation.hpp>

#include <algorithm>
#include <atomic>
#include <limits>
#include <thread>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Border = TaviOperators::BorderInitialization;
using Tavi::RegionOfInterest;
using Tavi::Volume;
using Tavi::VolumePtr;

constexpr Extents extents{5, 4, 6};

/// A region without the checks of its extents, as a host can also build one.
RegionOfInterest region(const Extents& size, const Extents& origin) {
  Tavi::Dimension<SizeType> dimension;
  dimension.prim = size[0];
  dimension.sec = size[1];
  dimension.tert = size[2];
  return RegionOfInterest(dimension, Tavi::Position<SizeType>(origin[0], origin[1], origin[2]));
}

template <class T>
SmartPointer<Border::Parameter> request(const SmartPointer<IVolume>& volume, const RegionOfInterest& kept, T value) {
  const auto parameter = makeParameter<Border::Parameter>();
  parameter->modifyVolume = volume;
  parameter->inputExclusionRoi = kept;
  parameter->inputBorderValue.setValue(value);
  return parameter;
}

template <class T>
SmartPointer<IOperator> typed() {
  return createTyped(typedIdentifier<T>("BorderInitialization"));
}

/// Every voxel outside the box takes the value.
template <class T>
std::vector<T> withBorder(std::vector<T> voxels, const Extents& size, const Extents& origin, T value) {
  std::size_t index = 0;
  for (SizeType z = 0; z < extents[2]; ++z) {
    for (SizeType y = 0; y < extents[1]; ++y) {
      for (SizeType x = 0; x < extents[0]; ++x) {
        const bool inside = x >= origin[0] && x - origin[0] < size[0] && y >= origin[1] && y - origin[1] < size[1] &&
                            z >= origin[2] && z - origin[2] < size[2];
        voxels[index] = inside ? voxels[index] : value;
        ++index;
      }
    }
  }
  return voxels;
}

template <class Body>
void forEachInstance(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    if constexpr (std::is_integral_v<T> && std::is_unsigned_v<T>) {
      body.template operator()<T>();
    }
  });
}

TEST(BorderInitializationParameter, KeysStandInTheirOrder) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::BorderInitialization::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::BorderInitialization::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter->getKey(0), "modifyVolume");
  EXPECT_EQ(parameter->getKey(1), "inputExclusionRoi");
  EXPECT_EQ(parameter->getKey(2), "inputBorderValue");
}

TEST(BorderInitializationInstances, AreTheThreeUnsignedTypes) {
  forEachInstance([]<class T>() {
    const std::string identifier = typedIdentifier<T>("BorderInitialization");
    ASSERT_TRUE(isRegistered(identifier));
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
  });
  EXPECT_TRUE(
      isRegistered("NORV::TaviOperators::BorderInitialization::Operator< "
                   "NORV::Tavi::Volume< NORV::uint32 , NORV::Tavi::Allocator::SingleBlockAllocator > >"));
  EXPECT_EQ(countRegistered("NORV::TaviOperators::BorderInitialization::Operator< "), 3u);
}

TEST(BorderInitialization, EveryBoxInEveryPlaceKeepsItsVoxels) {
  for (SizeType width = 1; width <= extents[0]; width += 2) {
    for (SizeType height = 1; height <= extents[1]; ++height) {
      for (SizeType depth = 1; depth <= extents[2]; depth += 2) {
        const Extents size{width, height, depth};
        for (unsigned corner = 0; corner < 27; ++corner) {  // low, middle and high on each axis
          const Extents free{extents[0] - width, extents[1] - height, extents[2] - depth};
          const Extents origin{free[0] * (corner % 3) / 2, free[1] * (corner / 3 % 3) / 2, free[2] * (corner / 9) / 2};
          const TestVolume<uint8> volume(extents);
          volume.fill(mixedValues<uint8>(120));
          const std::vector<uint8> expected = withBorder<uint8>(volume.voxels(), size, origin, 200);
          typed<uint8>()->apply(request<uint8>(volume, region(size, origin), 200));
          expectSameVoxels(volume.voxels(), expected);
        }
      }
    }
  }
}

TEST(BorderInitialization, AllLayoutsOfEveryInstanceKeepTheirRegionsAndWhatLiesOutside) {
  forEachInstance([]<class T>() {
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      const TestVolume<T> volume(extents, layout);
      volume.fill(mixedValues<T>(120));
      const Extents size{2, 1, 3}, origin{2, 1, 0};
      const std::vector<T> expected = withBorder<T>(volume.voxels(), size, origin, T(7));
      const auto regions = volume.volume()->getRoiStack();
      typed<T>()->apply(request<T>(volume, region(size, origin), T(7)));
      expectSameVoxels(volume.voxels(), expected);
      volume.expectUntouchedOutside();
      EXPECT_TRUE(volume.volume()->getRoiStack() == regions);
    }
  });
}

TEST(BorderInitialization, ABoxEqualToTheVolumeChangesNothing) {
  const TestVolume<uint16> volume(extents, regionLayout);
  volume.fill(mixedValues<uint16>(120));
  const std::vector<uint16> before = volume.voxels();
  typed<uint16>()->apply(request<uint16>(volume, region(extents, {0, 0, 0}), 9));
  expectSameVoxels(volume.voxels(), before);
}

TEST(BorderInitialization, AnEmptyBoxFillsTheWholeVolumeWhereverItLies) {
  for (const Extents& origin : {Extents{0, 0, 0}, Extents{2, 1, 3}, Extents{5, 4, 6}}) {
    const TestVolume<uint32> volume(extents, regionLayout);
    typed<uint32>()->apply(request<uint32>(volume, region({0, 0, 0}, origin), 4000000000u));
    expectSameVoxels(volume.voxels(), std::vector<uint32>(120, 4000000000u));
    volume.expectUntouchedOutside();
  }
}

TEST(BorderInitialization, ABoxThatIsFlatOnOneAxisKeepsNothing) {
  for (const Extents& size : {Extents{0, 2, 2}, Extents{2, 0, 2}, Extents{2, 2, 0}}) {
    const TestVolume<uint8> volume(extents);
    typed<uint8>()->apply(request<uint8>(volume, region(size, {1, 1, 1}), 3));
    expectSameVoxels(volume.voxels(), std::vector<uint8>(120, 3));
  }
}

TEST(BorderInitialization, AnEmptyVolumeStaysEmpty) {
  const VolumePtr<uint8> volume(new Volume<uint8>());
  typed<uint8>()->apply(request<uint8>(volume, RegionOfInterest(), 1));
  EXPECT_EQ(volume->getSize(), 0u);
}

TEST(BorderInitializationFailure, AWrongParameterObject) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  expectRefusal([&] { typed<uint8>()->apply(other); }, "NORV::TaviOperators::BorderInitialization::Operator::apply");
  expectRefusal([&] { typed<uint8>()->apply(nullptr); }, "NORV::TaviOperators::BorderInitialization::Operator::apply");
}

TEST(BorderInitializationFailure, NoVolumeOrOneOfAnotherType) {
  const std::string text = "NORV::TaviOperators::BorderInitialization::Operator::apply volume is NULL";
  expectRefusal([&] { typed<uint8>()->apply(request<uint8>(nullptr, RegionOfInterest(), 1)); }, text);
  expectRefusal([&] { typed<uint8>()->apply(request<uint8>(TestVolume<uint16>(extents), RegionOfInterest(), 1)); },
                text);
}

TEST(BorderInitializationFailure, ABoxThatLeavesTheVolumeOnAnyAxis) {
  constexpr SizeType huge = std::numeric_limits<SizeType>::max();
  const TestVolume<uint8> volume(extents);
  volume.fill(mixedValues<uint8>(120));
  const std::vector<uint8> before = volume.voxels();
  for (unsigned axis = 0; axis < 3; ++axis) {
    for (const auto& [size, origin] : std::vector<std::pair<SizeType, SizeType>>{
             {extents[axis] + 1, 0}, {1, extents[axis]}, {extents[axis], 1}, {huge, 1}, {1, huge}, {huge, huge}}) {
      Extents sizes{1, 1, 1}, origins{0, 0, 0};
      sizes[axis] = size;
      origins[axis] = origin;
      const auto parameter = request<uint8>(volume, region(sizes, origins), 1);
      expectRefusal([&] { typed<uint8>()->apply(parameter); },
                    "NORV::TaviOperators::BorderInitialization::Operator::apply exclusion roi not in volume");
    }
  }
  expectSameVoxels(volume.voxels(), before);
}

TEST(BorderInitializationFailure, AMissingValueOrOneOfAnotherType) {
  const TestVolume<uint8> volume(extents);
  const auto parameter = request<uint8>(volume, RegionOfInterest(), 1);
  parameter->inputBorderValue = SmartPointer<IComposite>();
  expectMissingValue([&] { typed<uint8>()->apply(parameter); });
  parameter->inputBorderValue.setValue(int8{1});
  expectWrongValueType<uint8>([&] { typed<uint8>()->apply(parameter); });
  expectSameVoxels(volume.voxels(), std::vector<uint8>(120, 77));
}

TEST(BorderInitializationFailure, AnyAllocationThatFailsTakesItsRegionBack) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const RuntimeSettings settings;
  omp_set_num_threads(1);
  const TestVolume<uint8> volume(extents, regionLayout);
  const auto regions = volume.volume()->getRoiStack();
  const auto op = typed<uint8>();
  const auto parameter = request<uint8>(volume, region({1, 1, 1}, {1, 1, 1}), 3);
  const int failures = failEachAllocation([&] { op->apply(parameter); },
                                          [&] { EXPECT_TRUE(volume.volume()->getRoiStack() == regions); });
  EXPECT_GT(failures, 2);
  EXPECT_TRUE(volume.volume()->getRoiStack() == regions);
}

TEST(BorderInitializationAbort, TakesItsRegionsBack) {
  const SizeType count = SizeType{512} * 512 * 64;
  const VolumePtr<uint8> volume(new Volume<uint8>(Tavi::Dimension<SizeType>(512, 512, 64)));
  const auto op = typed<uint8>();
  bool seen = false;
  for (int attempt = 0; attempt < 50 && !seen; ++attempt) {
    std::fill_n(volume->getData(), count, uint8{77});
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        op->abort();
      }
    });
    op->apply(request<uint8>(volume, region({1, 1, 1}, {255, 255, 60}), 1));
    ended = true;
    other.join();
    EXPECT_EQ(volume->getRoiStack().size(), 1u);
    EXPECT_TRUE(volume->getDimension() == Tavi::Dimension<SizeType>(512, 512, 64));
    seen = std::count(volume->getData(), volume->getData() + count, uint8{77}) > 1;
  }
  EXPECT_TRUE(seen);
}

}  // namespace
}  // namespace NORV::Tests
