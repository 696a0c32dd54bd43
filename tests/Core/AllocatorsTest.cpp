#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"

#include <Tavi/Allocators.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <list>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

using namespace NORV;
using namespace NORV::Tavi;
using NORV::Tavi::Allocator::Block;
using NORV::Tavi::Allocator::ExternalBufferAllocator;
using NORV::Tavi::Allocator::MultiBlockAllocator;
using NORV::Tavi::Allocator::SingleBlockAllocator;

namespace {

using Dim = Dimension<SizeType>;

}  // namespace

TEST(AllocatorsTest, AreNodesWithoutKeys) {
  EXPECT_EQ(SingleBlockAllocator().getType(), "NORV::Tavi::Allocator::SingleBlockAllocator");
  EXPECT_EQ(MultiBlockAllocator().getType(), "NORV::Tavi::Allocator::MultiBlockAllocator");
  EXPECT_EQ(ExternalBufferAllocator<SingleBlockAllocator>().getType(),
            "NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::SingleBlockAllocator >");
  EXPECT_EQ(ExternalBufferAllocator<ExternalBufferAllocator<SingleBlockAllocator>>().getType(),
            "NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::ExternalBufferAllocator< "
            "NORV::Tavi::Allocator::SingleBlockAllocator > >");
  EXPECT_EQ(SingleBlockAllocator().getNumberOfKeys(), 0u);
}

TEST(AllocatorsTest, BlockHoldsTheWholeVolumeAligned) {
  const Block<float64> block = SingleBlockAllocator::allocate<float64>(Dim(5, 4, 3));
  ASSERT_NE(block.getData(), nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.getData()) % 64, 0u);
  EXPECT_EQ(block.getRegions(), std::list<RegionOfInterest>{RegionOfInterest(Dim(5, 4, 3))});
  std::memset(block.getData(), 1, 60 * sizeof(float64));
}

TEST(AllocatorsTest, LargeBlocksAreAlignedForHugePagesAndWritableToTheEnd) {
  const SizeType size = (SizeType{4} << 20) + 3;
  const Block<uint8> block = SingleBlockAllocator::allocate<uint8>(Dim(size, 1, 1));
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.getData()) % (2u << 20), 0u);
  block.getData()[0] = 1;
  block.getData()[size - 1] = 2;
}

TEST(AllocatorsTest, EmptyVolumeTakesNoMemory) {
  const std::int64_t before = Tests::blocksInUse();
  const Block<uint8> block = SingleBlockAllocator::allocate<uint8>(Dim(0, 0, 0));
  EXPECT_EQ(block.getData(), nullptr);
  EXPECT_TRUE(block.getRegions().empty());
  EXPECT_EQ(Tests::blocksInUse(), before);
}

TEST(AllocatorsTest, BlocksAreGivenBack) {
  const std::int64_t before = Tests::blocksInUse();
  {
    Block<uint8> block = SingleBlockAllocator::allocate<uint8>(Dim(10, 10, 10));
    block = SingleBlockAllocator::allocate<uint8>(Dim(SizeType{5} << 20, 1, 1));
    const Block<uint8> other = std::move(block);
    const Block<uint8> shared = other.share();
    EXPECT_EQ(shared.getData(), other.getData());
    EXPECT_EQ(shared.getRegions(), other.getRegions());
  }
  EXPECT_EQ(Tests::blocksInUse(), before);
}

TEST(AllocatorsTest, BlockIsReleasedOnceWithTheLastThatSharesIt) {
  int voxel = 0, released = 0;
  const std::function<void(int*)> release = [&](int* data) {
    EXPECT_EQ(data, &voxel);
    ++released;
  };
  {
    Block<int> first(&voxel, release, {});
    Block<int> second = first.share();
    first = Block<int>();
    EXPECT_EQ(released, 0);
    Block<int> third(std::move(second));
    EXPECT_EQ(released, 0);
    third = Block<int>();
    EXPECT_EQ(released, 1);
  }
  EXPECT_EQ(released, 1);
}

TEST(AllocatorsFailures, SizesBeyondAnyMemoryAreBadAlloc) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  for (const Dim& dimension :
       {Dim(SizeType{1} << 62, 1, 1), Dim(SizeType{1} << 61, 1, 1), Dim(~SizeType{0}, 1, 1),
        Dim((SizeType{1} << 61) - 1, 1, 1), Dim(SizeType{1} << 20, SizeType{1} << 20, SizeType{1} << 20)}) {
    EXPECT_THROW(SingleBlockAllocator::allocate<float64>(dimension), std::bad_alloc) << dimension.prim;
  }
  EXPECT_THROW(SingleBlockAllocator::allocate<uint8>(Dim(~SizeType{0}, 1, 1)), std::bad_alloc)
      << "a size that alignment would round to a small one";
  EXPECT_THROW(SingleBlockAllocator::allocate<uint8>(Dim(SizeType{1} << 32, SizeType{1} << 32, 1)),
               std::overflow_error);
}

TEST(AllocatorsFailures, EveryAllocationMayFailWithoutALeak) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::int64_t before = Tests::blocksInUse();
  for (const SizeType size : {SizeType{100}, SizeType{5} << 20}) {
    const int failures = Tests::failEachAllocation(
        [&] { const Block<uint8> block = SingleBlockAllocator::allocate<uint8>(Dim(size, 1, 1)); }, [] {});
    EXPECT_GE(failures, 1);
  }
  EXPECT_EQ(Tests::blocksInUse(), before);
}

TEST(AllocatorsFailures, ForeignMemoryIsNotAllocated) {
  Tests::expectFailure<Exceptions::NotSupported>(
      [] { ExternalBufferAllocator<SingleBlockAllocator>::allocate<uint8>(Dim(1, 1, 1)); },
      "Function is not supported!", "NORV::Tavi::Allocator::ExternalBufferAllocator::reallocate");
}
