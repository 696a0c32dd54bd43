#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"

#include <Tavi/Data.hpp>
#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <list>
#include <new>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

using namespace NORV;
using namespace NORV::Tavi;
using NORV::Exceptions::IndexOutOfRange;
using NORV::Exceptions::InvalidArg;
using NORV::Exceptions::NotSupported;
using NORV::Exceptions::NULLPointer;
using NORV::Exceptions::OutOfRange;
using NORV::Tavi::Persistence::Data;
using NORV::Tavi::Persistence::IComposite;

namespace {

using Dim = Dimension<SizeType>;
using Pos = Position<SizeType>;
using Single = Allocator::SingleBlockAllocator;
using External = Allocator::ExternalBufferAllocator<Single>;
using ExternalTwice = Allocator::ExternalBufferAllocator<External>;
using RoiList = Container::List<SmartPointer<RoiComposite>>;

const std::string uint8Volume = "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >";
const std::string outside = "Given position is ouside volume!";
const std::string noRange = "A value is out of the valid range!";

VolumePtr<uint8> numbered(const Dim& dimension) {
  const VolumePtr<uint8> volume(new Volume<uint8>(dimension));
  std::iota(volume->getData(), volume->getData() + volume->getSize(), uint8{0});
  return volume;
}

RegionOfInterest region(const Dim& dimension, const Pos& origin) { return RegionOfInterest(dimension, origin); }

/// A copy of everything that tells how a volume is seen.
struct Seen {
  explicit Seen(const IVolume& volume)
      : dimension(volume.getDimension()),
        allocated(volume.getAllocatedDimension()),
        stack(volume.getRoiStack()),
        orientation(volume.getOrientation()),
        steps{volume.getStepVoxel(), volume.getStepLine(), volume.getStepSlice()},
        roi(volume.getRoi()) {}
  friend bool operator==(const Seen&, const Seen&) = default;

  Dim dimension, allocated;
  std::list<RegionOfInterest> stack;
  Orientation orientation;
  std::vector<int64> steps;
  RegionOfInterest roi;
};

void expectEmpty(const IVolume& volume) {
  EXPECT_EQ(volume.getDimension(), Dim());
  EXPECT_EQ(volume.getAllocatedDimension(), Dim());
  EXPECT_EQ(volume.getSize(), 0u);
  EXPECT_EQ(volume.getRoiStack(), std::list<RegionOfInterest>{RegionOfInterest()});
  EXPECT_EQ(volume.getMemoryRegions(), std::list<RegionOfInterest>{RegionOfInterest()});
  EXPECT_THROW(volume.getOffset(Pos(0, 0, 0)), InvalidArg);
}

/// Memory of a host that counts how often it is given back.
struct HostMemory {
  explicit HostMemory(std::size_t size) : voxels(size) { std::iota(voxels.begin(), voxels.end(), uint8{0}); }
  std::function<void(uint8*)> release() {
    return [this](uint8* data) {
      EXPECT_EQ(data, voxels.data());
      ++released;
    };
  }
  std::vector<uint8> voxels;
  int released = 0;
};

SmartPointer<RoiList> stackOf(const std::vector<RegionOfInterest>& regions) {
  const SmartPointer<RoiList> list(new RoiList);
  for (const RegionOfInterest& each : regions) {
    list->push_back(SmartPointer<RoiComposite>(new RoiComposite(each)));
  }
  return list;
}

template <class T>
void checkVoxelType(const std::string& name) {
  const VolumePtr<T> volume(new Volume<T>(Dim(3, 2, 2)));
  EXPECT_EQ(volume->getVoxelType(), name);
  EXPECT_EQ(volume->getType(), "NORV::Tavi::Volume< " + name + " , NORV::Tavi::Allocator::SingleBlockAllocator >");
  std::iota(volume->getData(), volume->getData() + 12, T(1));
  EXPECT_EQ(volume->getValueAt(Pos(2, 1, 1)), T(12));

  const SmartPointer<IVolume> erased(volume);
  EXPECT_EQ(erased->getVoxelType(), name);
  EXPECT_EQ(erased->getType(), volume->getType()) << "one identifier through both bases";
  EXPECT_TRUE(VolumePtr<T>(erased) == volume);
  EXPECT_TRUE(VolumePtr<T>(SmartPointer<IComposite>(erased)) == volume);
  EXPECT_TRUE((VolumePtr<T, External>(erased) == 0)) << "another allocator is another class";

  const VolumePtr<T, External> view(new Volume<T, External>(volume));
  EXPECT_EQ(view->getType(), "NORV::Tavi::Volume< " + name +
                                 " , NORV::Tavi::Allocator::ExternalBufferAllocator< "
                                 "NORV::Tavi::Allocator::SingleBlockAllocator > >");
  EXPECT_EQ(view->getValueAt(Pos(2, 1, 1)), T(12));
}

}  // namespace

TEST(VolumeTest, EveryVoxelTypeHasItsNamesAndCasts) {
  checkVoxelType<int8>("NORV::int8");
  checkVoxelType<uint8>("NORV::uint8");
  checkVoxelType<int16>("NORV::int16");
  checkVoxelType<uint16>("NORV::uint16");
  checkVoxelType<int32>("NORV::int32");
  checkVoxelType<uint32>("NORV::uint32");
  checkVoxelType<float32>("NORV::float32");
  checkVoxelType<float64>("NORV::float64");
}

TEST(VolumeTest, DefaultVolumeIsEmpty) {
  const Volume<uint8> volume;
  expectEmpty(volume);
  EXPECT_EQ(volume.getData(), nullptr);
  expectEmpty(Volume<uint8, External>());
  const Volume<uint8> none{Dim(0, 0, 0)};
  expectEmpty(none);
}

TEST(VolumeTest, EmptyVolumeMayBeSeenInEveryWay) {
  Volume<uint8> volume;
  volume.setOrientation(Orientation(5, 3, 1));
  volume.setRoi(region(Dim(0, 0, 0), Pos(0, 0, 0)));
  volume.popRoi();
  volume.resetRoi();
  volume.resize(Dim(0, 0, 0));
  EXPECT_EQ(volume.getIterationData().startOffset, 0);
  expectEmpty(volume);
}

TEST(VolumeTest, FreshVolumeIsSeenWhole) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  EXPECT_EQ(volume->getDimension(), Dim(4, 3, 2));
  EXPECT_EQ(volume->getAllocatedDimension(), Dim(4, 3, 2));
  EXPECT_EQ(volume->getAllocatedDimPrim(), 4u);
  EXPECT_EQ(volume->getAllocatedDimSec(), 3u);
  EXPECT_EQ(volume->getAllocatedDimTert(), 2u);
  EXPECT_EQ(volume->getOrientation(), Orientation(0, 2, 4));
  EXPECT_EQ(volume->getRoiStack(), std::list<RegionOfInterest>{RegionOfInterest(Dim(4, 3, 2))});
  EXPECT_EQ(volume->getMemoryRegions(), std::list<RegionOfInterest>{RegionOfInterest(Dim(4, 3, 2))});
  EXPECT_EQ(volume->getStepVoxel(), 1);
  EXPECT_EQ(volume->getStepLine(), 0);
  EXPECT_EQ(volume->getStepSlice(), 0);
}

TEST(VolumeTest, RegionThatFillsTheViewSucceeds) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 1)));
  volume->setRoi(region(Dim(2, 2, 1), Pos(0, 0, 0)));
  EXPECT_EQ(volume->getRoiStack().size(), 3u);
  EXPECT_EQ(volume->getRoi(), region(Dim(2, 2, 1), Pos(1, 1, 1)));
  EXPECT_EQ(volume->getValueAt(Pos(0, 0, 0)), 17);
  EXPECT_EQ(volume->getAllocatedDimension(), Dim(4, 3, 2));
  EXPECT_EQ(volume->getSize(), 4u);
}

TEST(VolumeTest, PoppingTheBottomRegionChangesNothing) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  const Seen before(*volume);
  volume->popRoi();
  EXPECT_EQ(Seen(*volume), before);
  volume->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 1)));
  volume->popRoi();
  volume->popRoi();
  EXPECT_EQ(Seen(*volume), before);
}

TEST(VolumeTest, ResetShowsTheWholeVolumeAndKeepsTheOrientation) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setOrientation(Orientation(3, 0, 4));
  const Seen before(*volume);
  volume->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 1)));
  volume->setRoi(region(Dim(1, 1, 1), Pos(1, 1, 0)));
  volume->resetRoi();
  EXPECT_EQ(Seen(*volume), before);
}

TEST(VolumeTest, SliceRegionsAccumulate) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 5));
  volume->setRoiToSlice(4);
  EXPECT_EQ(volume->getDimTert(), 1u);
  EXPECT_EQ(volume->getRoiOrigin(), Pos(0, 0, 4));
  EXPECT_EQ(volume->getValueAt(Pos(0, 0, 0)), 48);
  volume->setRoiToSlice(0);
  EXPECT_EQ(volume->getRoiOrigin(), Pos(0, 0, 4)) << "relative to the slice";
  EXPECT_EQ(volume->getRoiStack().size(), 3u);
  Tests::expectFailure<OutOfRange>([&] { volume->setRoiToSlice(1); }, noRange,
                                   "NORV::Tavi::Volume::setRoiToSlice(NORV::Tavi::SizeType)");
}

TEST(VolumeTest, SliceOfAFlippedVolumeCountsFromTheOtherEnd) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 5));
  volume->setOrientation(Orientation(0, 2, 5));
  volume->setRoiToSlice(0);
  EXPECT_EQ(volume->getValueAt(Pos(0, 0, 0)), 48);
  volume->popRoi();
  volume->setOrientation(Orientation(4, 2, 0));
  volume->setRoiToSlice(3);
  EXPECT_EQ(volume->getValueAt(Pos(0, 0, 0)), 3);
  EXPECT_EQ(volume->getDimension(), Dim(5, 3, 1));
}

TEST(VolumeTest, ResizeToTheSameDimensionKeepsRegionAndContent) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setOrientation(Orientation(1, 2, 4));
  volume->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 1)));
  const Seen before(*volume);
  const uint8* data = volume->getData();
  volume->resize(Dim(4, 3, 2));
  EXPECT_EQ(Seen(*volume), before);
  EXPECT_EQ(volume->getData(), data);
  EXPECT_EQ(data[23], 23);
}

TEST(VolumeTest, ResizeToAnotherDimensionShowsTheWholeVolumeInTheSameOrientation) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setOrientation(Orientation(3, 0, 4));
  volume->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 1)));
  volume->resize(Dim(2, 5, 7));
  EXPECT_EQ(volume->getAllocatedDimension(), Dim(2, 5, 7));
  EXPECT_EQ(volume->getRoiStack(), std::list<RegionOfInterest>{RegionOfInterest(Dim(2, 5, 7))});
  EXPECT_EQ(volume->getOrientation(), Orientation(3, 0, 4));
  EXPECT_EQ(volume->getDimension(), Dim(5, 2, 7));
  std::fill_n(volume->getData(), 70, uint8{3});
  volume->resize(Dim(0, 0, 0));
  expectEmpty(*volume);
  EXPECT_EQ(volume->getData(), nullptr);
}

TEST(VolumeTest, KeysAreStackAllocatorAndOrientation) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  ASSERT_EQ(volume->getNumberOfKeys(), 3u);
  EXPECT_EQ(volume->getKey(0), "roiStack");
  EXPECT_EQ(volume->getKey(1), "allocator");
  EXPECT_EQ(volume->getKey(2), "orientation");
  EXPECT_EQ(volume->getValue("allocator")->getType(), "NORV::Tavi::Allocator::SingleBlockAllocator");

  volume->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 1)));
  const SmartPointer<RoiList> stack(volume->getValue("roiStack"));
  ASSERT_TRUE(stack != 0);
  ASSERT_EQ(stack->size(), 2u);
  EXPECT_EQ(stack->front()->value(), RegionOfInterest(Dim(4, 3, 2)));
  EXPECT_EQ(stack->back()->value(), region(Dim(2, 2, 1), Pos(1, 1, 1)));

  const SmartPointer<Orientation> copy(volume->getValue("orientation"));
  *copy = Orientation(1, 3, 5);
  EXPECT_EQ(volume->getOrientation(), Orientation(0, 2, 4)) << "a copy is handed out";
}

TEST(VolumeTest, StackOrientationAndAllocatorAreSetByKey) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setValue("orientation", SmartPointer<IComposite>(new Orientation(1, 2, 4)));
  EXPECT_EQ(volume->getStepVoxel(), -1);
  volume->setValue("roiStack", stackOf({RegionOfInterest(Dim(4, 3, 2)), region(Dim(2, 1, 1), Pos(1, 2, 1))}));
  EXPECT_EQ(volume->getDimension(), Dim(2, 1, 1));
  EXPECT_EQ(volume->getValueAt(Pos(0, 0, 0)), 12 + 8 + 2) << "regions of the stack are in storage order";
  volume->popRoi();
  EXPECT_EQ(volume->getDimension(), Dim(4, 3, 2));
  volume->setValue("allocator", volume->getValue("allocator"));
  volume->setValue("allocator", SmartPointer<IComposite>(new Single));
  EXPECT_EQ(volume->getValueAt(Pos(0, 0, 0)), 3);
}

TEST(VolumeTest, StackPassesFromOneVolumeToAnother) {
  const VolumePtr<uint8> from = numbered(Dim(4, 3, 2)), to = numbered(Dim(4, 3, 2));
  from->setOrientation(Orientation(4, 1, 2));
  from->setRoi(region(Dim(1, 2, 3), Pos(1, 0, 0)));
  for (const std::string key : {"orientation", "roiStack"}) {
    to->setValue(key, from->getValue(key));
  }
  EXPECT_EQ(Seen(*to), Seen(*from));
}

TEST(ExternalVolumeTest, ViewSharesVoxelsAndKeepsItsOwnRegions) {
  const VolumePtr<uint8> owner = numbered(Dim(4, 3, 2));
  owner->setRoi(region(Dim(3, 2, 1), Pos(1, 1, 1)));
  owner->setOrientation(Orientation(1, 2, 4));
  const VolumePtr<uint8, External> view(new Volume<uint8, External>(owner));
  EXPECT_EQ(Seen(*view), Seen(*owner)) << "seen as its owner is now";
  view->resetRoi();
  view->setOrientation(Orientation(0, 2, 4));
  EXPECT_EQ(owner->getDimension(), Dim(3, 2, 1));
  view->getData()[0] = 99;
  EXPECT_EQ(owner->getData()[0], 99);
  EXPECT_EQ(view->getMemoryRegions(), owner->getMemoryRegions());
}

TEST(ExternalVolumeTest, OwnerStaysAliveThroughViewsOfViews) {
  HostMemory memory(24);
  VolumePtr<uint8> owner(new Volume<uint8>(Dim(4, 3, 2), memory.voxels.data(), memory.release()));
  VolumePtr<uint8, External> view(new Volume<uint8, External>(owner));
  VolumePtr<uint8, ExternalTwice> viewOfView(new Volume<uint8, ExternalTwice>(view));
  EXPECT_EQ(viewOfView->getType(),
            "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::ExternalBufferAllocator< "
            "NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::SingleBlockAllocator > > >");
  EXPECT_EQ(owner.getNumberOfOwners(), 2u);
  owner = 0;
  view = 0;
  EXPECT_EQ(memory.released, 0);
  viewOfView->setRoi(region(Dim(1, 1, 1), Pos(3, 2, 1)));
  EXPECT_EQ(viewOfView->getValueAt(Pos(0, 0, 0)), 23);
  viewOfView = 0;
  EXPECT_EQ(memory.released, 1);
}

TEST(ExternalVolumeTest, ViewKeepsTheVoxelsThatItsOwnerReplaces) {
  HostMemory memory(24);
  const VolumePtr<uint8> owner(new Volume<uint8>(Dim(4, 3, 2), memory.voxels.data(), memory.release()));
  {
    const Volume<uint8, External> view(owner);
    owner->resize(Dim(1, 1, 1));
    EXPECT_EQ(memory.released, 0);
    EXPECT_EQ(view.getDimension(), Dim(4, 3, 2));
    EXPECT_EQ(view.getValueAt(Pos(3, 2, 1)), 23);
    EXPECT_NE(view.getData(), owner->getData());
  }
  EXPECT_EQ(memory.released, 1);
}

TEST(HostMemoryVolumeTest, HostMemoryIsSeenWithoutACopyUnderTheSameIdentifier) {
  HostMemory memory(24);
  {
    Volume<uint8> volume(Dim(4, 3, 2), memory.voxels.data(), memory.release());
    EXPECT_EQ(volume.getType(), uint8Volume);
    EXPECT_EQ(volume.getData(), memory.voxels.data());
    EXPECT_EQ(volume.getValueAt(Pos(1, 2, 1)), 21);
    EXPECT_EQ(volume.getMemoryRegions(), std::list<RegionOfInterest>{RegionOfInterest(Dim(4, 3, 2))});
    volume.setRoi(region(Dim(1, 1, 1), Pos(0, 0, 0)));
    volume.resize(Dim(4, 3, 2));
    EXPECT_EQ(memory.released, 0);
  }
  EXPECT_EQ(memory.released, 1);
}

TEST(HostMemoryVolumeTest, HostMemoryIsReleasedOnceWithTheLastPointer) {
  HostMemory memory(24);
  VolumePtr<uint8> first(new Volume<uint8>(Dim(4, 3, 2), memory.voxels.data(), memory.release()));
  SmartPointer<IVolume> second(first);
  SmartPointer<IComposite> third(second);
  first = 0;
  second = 0;
  EXPECT_EQ(memory.released, 0);
  third = 0;
  EXPECT_EQ(memory.released, 1);
}

TEST(HostMemoryVolumeTest, ResizeReleasesHostMemoryOnce) {
  HostMemory memory(24);
  {
    Volume<uint8> volume(Dim(4, 3, 2), memory.voxels.data(), memory.release());
    volume.resize(Dim(2, 2, 2));
    EXPECT_EQ(memory.released, 1);
    EXPECT_NE(volume.getData(), memory.voxels.data());
    std::fill_n(volume.getData(), 8, uint8{1});
    volume.resize(Dim(4, 3, 2));
  }
  EXPECT_EQ(memory.released, 1);
}

TEST(HostMemoryVolumeTest, ReleaseFunctionIsNotNeeded) {
  uint8 voxels[2] = {1, 2};
  Volume<uint8> volume(Dim(2, 1, 1), voxels, {});
  EXPECT_EQ(volume.getValueAt(Pos(1, 0, 0)), 2);
  volume.resize(Dim(1, 1, 1));
  const Volume<uint8> none(Dim(0, 0, 0), nullptr, {});
  expectEmpty(none);
}

TEST(VolumeFailures, RegionOneVoxelTooLargeIsRefused) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 1)));
  const Seen before(*volume);
  const auto refuses = [&](const Dim& dimension, const Pos& origin) {
    Tests::expectFailure<OutOfRange>([&] { volume->setRoi(region(dimension, origin)); }, noRange,
                                     "NORV::Tavi::Volume::setRoi");
    EXPECT_EQ(Seen(*volume), before);
  };
  refuses(Dim(3, 2, 1), Pos(0, 0, 0));
  refuses(Dim(2, 3, 1), Pos(0, 0, 0));
  refuses(Dim(2, 2, 2), Pos(0, 0, 0));
  refuses(Dim(2, 2, 1), Pos(1, 0, 0));
  refuses(Dim(1, 1, 1), Pos(2, 0, 0));
}

TEST(VolumeFailures, RegionThatIsNoDimensionIsRefused) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  Dim flat(1, 1, 1);
  flat.sec = 0;
  const Seen before(*volume);
  const RegionOfInterest hostile(flat);
  Tests::expectStandard<std::out_of_range>(
      [&] { volume->setRoi(hostile); },
      "NORV::Tavi::Dimension< NORV::uint64 >::check invalid values detected ( 1 , 0 , 1 ) ");
  EXPECT_THROW(volume->resize(flat), std::out_of_range);
  EXPECT_EQ(Seen(*volume), before);
}

TEST(VolumeFailures, SlicePastTheEndIsRefused) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  const std::string origin = "NORV::Tavi::Volume::setRoiToSlice(NORV::Tavi::SizeType)";
  Tests::expectFailure<OutOfRange>([&] { volume->setRoiToSlice(2); }, noRange, origin);
  Tests::expectFailure<OutOfRange>([&] { volume->setRoiToSlice(~SizeType{0}); }, noRange, origin);
  Volume<uint8> empty;
  Tests::expectFailure<OutOfRange>([&] { empty.setRoiToSlice(0); }, noRange, origin);
  EXPECT_EQ(volume->getRoiStack().size(), 1u);
}

TEST(VolumeFailures, PositionsOutsideTheViewAreRefused) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 0)));
  for (const Pos& position : {Pos(2, 0, 0), Pos(0, 2, 0), Pos(0, 0, 1), Pos(~SizeType{0}, 0, 0)}) {
    Tests::expectFailure<InvalidArg>([&] { volume->getOffset(position); }, outside, "NORV::Tavi::Volume::getOffset");
    Tests::expectFailure<InvalidArg>([&] { volume->getPosOffset(position); }, outside,
                                     "NORV::Tavi::Volume::getPosOffset");
    Tests::expectFailure<InvalidArg>([&] { volume->getValueAt(position); }, outside, "NORV::Tavi::Volume::getValueAt");
  }
  EXPECT_EQ(volume->getValueAt(Pos(1, 1, 0)), 10);
}

TEST(VolumeFailures, KeysAndIndicesThatDoNotExistAreRefused) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  const SmartPointer<IComposite> orientation(new Orientation);
  Tests::expectFailure<IndexOutOfRange>([&] { volume->getValue("roi"); }, uint8Volume + "getValue not such key roi",
                                        "NORV::Tavi::Volume::getValue");
  Tests::expectFailure<IndexOutOfRange>([&] { volume->setValue("roi%s", orientation); },
                                        uint8Volume + "setValue not such key roi%s", "NORV::Tavi::Volume::setValue");
  Tests::expectFailure<IndexOutOfRange>([&] { volume->getKey(3); }, uint8Volume + "setValue not such index",
                                        "NORV::Tavi::Volume::getKey");
}

TEST(VolumeFailures, ValuesOfAnotherClassAreRefused) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  const Seen before(*volume);
  const std::string origin = "NORV::Tavi::Volume::setValue";
  for (const SmartPointer<IComposite>& value : {SmartPointer<IComposite>(), SmartPointer<IComposite>(new Data<uint8>),
                                                SmartPointer<IComposite>(new External)}) {
    Tests::expectFailure<InvalidArg>(
        [&] { volume->setValue("roiStack", value); },
        uint8Volume + "::setValue value is not an NORV::Tavi::Container::ListPtr<NORV::Tavi::RoiRoiCompositePtr>",
        origin);
    Tests::expectFailure<InvalidArg>(
        [&] { volume->setValue("allocator", value); },
        uint8Volume + "setValue value is not an NORV::Tavi::SmartPointer<NORV::Tavi::Allocator::SingleBlockAllocator",
        origin);
    Tests::expectFailure<InvalidArg>([&] { volume->setValue("orientation", value); },
                                     uint8Volume + "setValue value is not an NORV::Tavi::OrientationPtr", origin);
  }
  EXPECT_EQ(Seen(*volume), before);
}

TEST(VolumeFailures, StackNeedsARegion) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  Tests::expectStandard<std::invalid_argument>([&] { volume->setValue("roiStack", stackOf({})); },
                                               uint8Volume + "::setValue we need at least one roi in the roi stack");
  EXPECT_EQ(volume->getRoiStack().size(), 1u);
}

TEST(VolumeFailures, StackThatLeavesTheMemoryIsRefused) {
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setOrientation(Orientation(1, 3, 5));
  const Seen before(*volume);
  const SizeType huge = ~SizeType{0};
  const RegionOfInterest whole(Dim(4, 3, 2));
  for (const RegionOfInterest& hostile :
       {RegionOfInterest(Dim(5, 3, 2)), region(Dim(4, 3, 2), Pos(0, 0, 1)), region(Dim(1, 1, 1), Pos(4, 0, 0)),
        region(Dim(2, 1, 1), Pos(huge, 0, 0)), region(Dim(1, 1, 2), Pos(0, 0, huge)),
        RegionOfInterest(Dim(huge, huge, huge))}) {
    for (const auto& stack : {stackOf({hostile}), stackOf({whole, hostile}), stackOf({hostile, whole})}) {
      Tests::expectFailure<OutOfRange>([&] { volume->setValue("roiStack", stack); }, noRange,
                                       "NORV::Tavi::Volume::setValue");
      EXPECT_EQ(Seen(*volume), before);
    }
  }
  const SmartPointer<RoiList> withNull = stackOf({whole});
  withNull->push_back(0);
  Tests::expectFailure<NULLPointer>([&] { volume->setValue("roiStack", withNull); },
                                    "The pointer variable 'roi' is a NULL pointer", "NORV::Tavi::Volume::setValue");
  EXPECT_EQ(Seen(*volume), before);
}

TEST(VolumeFailures, SizesThatOverflowAreRefusedAndChangeNothing) {
  const SizeType half = SizeType{1} << 32;
  const std::string text =
      "NORV::Tavi::Dimension< NORV::uint64 >::size current size exceeds to boundarys of NORV::uint64";
  Tests::expectStandard<std::overflow_error>([&] { const Volume<uint8> volume(Dim(half, half, 1)); }, text);
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setRoi(region(Dim(1, 1, 1), Pos(3, 2, 1)));
  Tests::expectStandard<std::overflow_error>([&] { volume->resize(Dim(half, half, 1)); }, text);
  EXPECT_EQ(volume->getValueAt(Pos(0, 0, 0)), 23);
}

TEST(VolumeFailures, AllocationThatFailsLeavesAnEmptyVolumeThatCanBeUsed) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const Dim tooLarge(SizeType{1} << 60, 1, 1);
  EXPECT_THROW(Volume<uint8>{tooLarge}, std::bad_alloc);
  EXPECT_THROW((Volume<float64>{Dim(SizeType{1} << 62, 1, 1)}), std::bad_alloc) << "bytes beyond 64 bits";
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  volume->setOrientation(Orientation(1, 2, 4));
  volume->setRoi(region(Dim(1, 1, 1), Pos(0, 0, 0)));
  EXPECT_THROW(volume->resize(tooLarge), std::bad_alloc);
  expectEmpty(*volume);
  EXPECT_EQ(volume->getOrientation(), Orientation(1, 2, 4));
  volume->resize(Dim(2, 2, 1));
  std::iota(volume->getData(), volume->getData() + 4, uint8{5});
  EXPECT_EQ(volume->getValueAt(Pos(0, 0, 0)), 6);
}

TEST(VolumeFailures, EveryAllocationOfAResizeMayFail) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  const int failures = Tests::failEachAllocation([&] { volume->resize(Dim(2, 2, 2)); },
                                                 [&] {
                                                   expectEmpty(*volume);
                                                   EXPECT_EQ(volume->getData(), nullptr);
                                                 });
  EXPECT_GE(failures, 1);
  EXPECT_EQ(volume->getDimension(), Dim(2, 2, 2));
  std::fill_n(volume->getData(), 8, uint8{1});
}

TEST(VolumeFailures, EveryAllocationOfAConstructorMayFailWithoutALeak) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::int64_t before = Tests::blocksInUse();
  EXPECT_GE(Tests::failEachAllocation([] { const Volume<uint16> volume(Dim(3, 2, 2)); }, [] {}), 2);
  EXPECT_EQ(Tests::blocksInUse(), before);
}

TEST(VolumeFailures, RegionThatFindsNoMemoryChangesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const VolumePtr<uint8> volume = numbered(Dim(4, 3, 2));
  const Seen before(*volume);
  const int failures = Tests::failEachAllocation([&] { volume->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 1))); },
                                                 [&] { EXPECT_EQ(Seen(*volume), before); });
  EXPECT_EQ(failures, 1);
  EXPECT_EQ(volume->getDimension(), Dim(2, 2, 1));
}

TEST(HostMemoryVolumeFailures, HostMemoryIsReleasedOnceWhereTheConstructorThrows) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  HostMemory memory(24);
  int failures = 0;
  const SizeType half = SizeType{1} << 32;
  EXPECT_THROW(Volume<uint8>(Dim(half, half, 2), memory.voxels.data(), memory.release()), std::overflow_error);
  EXPECT_EQ(memory.released, 1);
  const std::function<void(uint8*)> release = memory.release();
  memory.released = 0;
  failures = Tests::failEachAllocation([&] { const Volume<uint8> volume(Dim(4, 3, 2), memory.voxels.data(), release); },
                                       [] {});
  EXPECT_GE(failures, 2);
  EXPECT_EQ(memory.released, failures + 1);
}

TEST(HostMemoryVolumeFailures, NullIsNoMemory) {
  Tests::expectFailure<NULLPointer>([] { const Volume<uint8> volume(Dim(4, 3, 2), nullptr, {}); },
                                    "The pointer variable 'data' is a NULL pointer", "NORV::Tavi::Volume::Volume");
}

TEST(ExternalVolumeFailures, ViewsCannotBeResized) {
  const VolumePtr<uint8> owner = numbered(Dim(4, 3, 2));
  const VolumePtr<uint8, External> view(new Volume<uint8, External>(owner));
  Volume<uint8, ExternalTwice> viewOfView(view);
  view->setRoi(region(Dim(2, 2, 1), Pos(1, 1, 1)));
  const Seen before(*view);
  const std::string text = "Function is not supported!";
  const std::string origin = "NORV::Tavi::Allocator::ExternalBufferAllocator::reallocate";
  Tests::expectFailure<NotSupported>([&] { view->resize(Dim(4, 3, 3)); }, text, origin);
  Tests::expectFailure<NotSupported>([&] { view->resize(Dim(0, 0, 0)); }, text, origin);
  Tests::expectFailure<NotSupported>([&] { viewOfView.resize(Dim(1, 1, 1)); }, text, origin);
  view->resize(Dim(4, 3, 2));
  EXPECT_EQ(Seen(*view), before);
  EXPECT_EQ(view->getValueAt(Pos(0, 0, 0)), 17);
}

TEST(ExternalVolumeFailures, ViewNeedsAnOwner) {
  Tests::expectFailure<NULLPointer>([] { const Volume<uint8, External> view{VolumePtr<uint8>()}; },
                                    "The pointer variable 'owner' is a NULL pointer", "NORV::Tavi::Volume::Volume");
}
