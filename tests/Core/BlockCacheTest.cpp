#include <Tavi/BlockCache.hpp>
#include <Tavi/Volume.hpp>
#include <support/FailingAllocation.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <thread>
#include <vector>

using namespace NORV;
using namespace NORV::Tavi;
using Tavi::Allocator::BlockCache;
using Tavi::Allocator::processWideBlockCache;

namespace {

constexpr SizeType MiB = SizeType{1} << 20;

VolumePtr<uint8> volumeOf(SizeType bytes) { return VolumePtr<uint8>(new Volume<uint8>({bytes, 1, 1})); }

class BlockCacheTest : public testing::Test {
protected:
  void SetUp() override {
    cache.clear();
    cache.setLimit(64 * MiB);
  }
  void TearDown() override { cache.setLimit(limitBefore); }

  BlockCache& cache = processWideBlockCache();
  const SizeType limitBefore = cache.getLimit();
};

}  // namespace

TEST_F(BlockCacheTest, AFreedBlockServesTheNextVolumeOfItsSize) {
  auto volume = volumeOf(16 * MiB);
  const uint8* const data = volume->getData();
  volume = nullptr;
  EXPECT_EQ(cache.getKeptBytes(), 16 * MiB);
  volume = volumeOf(16 * MiB);
  EXPECT_EQ(volume->getData(), data);
  EXPECT_EQ(cache.getKeptBytes(), 0u);
}

TEST_F(BlockCacheTest, ASmallerVolumeTakesABlockThatItFillsToSevenEighths) {
  volumeOf(16 * MiB);
  const auto tooSmall = volumeOf(14 * MiB - 1);
  EXPECT_EQ(cache.getKeptBytes(), 16 * MiB);
  const auto largeEnough = volumeOf(14 * MiB);
  EXPECT_EQ(cache.getKeptBytes(), 0u);
}

TEST_F(BlockCacheTest, ABlockKeepsItsSizeWhenASmallerVolumeGivesItBack) {
  volumeOf(16 * MiB);
  volumeOf(14 * MiB);
  EXPECT_EQ(cache.getKeptBytes(), 16 * MiB);
}

TEST_F(BlockCacheTest, ALargerVolumeTakesNoKeptBlock) {
  volumeOf(16 * MiB);
  const auto volume = volumeOf(16 * MiB + 1);
  EXPECT_EQ(cache.getKeptBytes(), 16 * MiB);
  volume->getData()[16 * MiB] = 1;
}

TEST_F(BlockCacheTest, TheSmallestFittingBlockServes) {
  { const auto large = volumeOf(18 * MiB), small = volumeOf(16 * MiB); }
  const auto volume = volumeOf(16 * MiB);
  EXPECT_EQ(cache.getKeptBytes(), 18 * MiB);
}

TEST_F(BlockCacheTest, KeepsNoMoreThanTheLimitAndDropsTheOldest) {
  {
    std::vector<VolumePtr<uint8>> volumes;
    for (int i = 0; i < 5; ++i) {
      volumes.push_back(volumeOf(20 * MiB));
    }
    for (auto& volume : volumes) {
      volume = nullptr;
      EXPECT_LE(cache.getKeptBytes(), 64 * MiB);
    }
  }
  EXPECT_EQ(cache.getKeptBytes(), 60 * MiB);
  volumeOf(64 * MiB);
  EXPECT_EQ(cache.getKeptBytes(), 64 * MiB);
}

TEST_F(BlockCacheTest, ABlockBeyondTheLimitIsFreedAndDisplacesNone) {
  volumeOf(16 * MiB);
  volumeOf(65 * MiB);
  EXPECT_EQ(cache.getKeptBytes(), 16 * MiB);
}

TEST_F(BlockCacheTest, ALowerLimitFreesWhatExceedsItAtOnce) {
  { const auto first = volumeOf(16 * MiB), second = volumeOf(24 * MiB); }
  cache.setLimit(20 * MiB);
  EXPECT_LE(cache.getKeptBytes(), 20 * MiB);
  cache.setLimit(0);
  EXPECT_EQ(cache.getKeptBytes(), 0u);
  volumeOf(16 * MiB);
  EXPECT_EQ(cache.getKeptBytes(), 0u);
}

TEST_F(BlockCacheTest, SmallBlocksAreNotKept) {
  volumeOf(4 * MiB - 1);
  EXPECT_EQ(cache.getKeptBytes(), 0u);
}

TEST_F(BlockCacheTest, ClearTellsWhetherThereWasABlock) {
  EXPECT_FALSE(cache.clear());
  volumeOf(16 * MiB);
  EXPECT_TRUE(cache.clear());
  EXPECT_EQ(cache.getKeptBytes(), 0u);
  EXPECT_EQ(cache.getLimit(), 64 * MiB);
}

TEST_F(BlockCacheTest, FreedBlocksReachTheGlobalAllocator) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const std::int64_t before = Tests::blocksInUse();
  volumeOf(16 * MiB);
  EXPECT_EQ(Tests::blocksInUse(), before + 1);
  cache.clear();
  EXPECT_EQ(Tests::blocksInUse(), before);
}

TEST_F(BlockCacheTest, GivesWayBeforeAnAllocationFails) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  volumeOf(16 * MiB);
  constexpr SizeType moreThanThereIs = SizeType{1} << 46;
  EXPECT_THROW(cache.allocate(moreThanThereIs), std::bad_alloc);
  EXPECT_EQ(cache.getKeptBytes(), 0u);
}

TEST_F(BlockCacheTest, ThreadsShareItWithoutSharingBlocks) {
  std::vector<std::thread> threads;
  std::vector<int> strangers(4, 0);
  for (int mine = 0; mine < 4; ++mine) {
    threads.emplace_back([&strangers, mine] {
      for (int run = 0; run < 200; ++run) {
        const auto volume = volumeOf((4 + static_cast<SizeType>(run % 3)) * MiB);
        uint8& first = volume->getData()[0];
        uint8& last = volume->getData()[volume->getSize() - 1];
        first = last = static_cast<uint8>(mine);
        std::this_thread::yield();
        strangers[static_cast<std::size_t>(mine)] += first != mine || last != mine;
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(strangers, std::vector<int>(4, 0));
  EXPECT_LE(cache.getKeptBytes(), 64 * MiB);
}
