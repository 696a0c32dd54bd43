#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"

#include <Queue.hpp>

#include <gtest/gtest.h>

#include <deque>
#include <limits>
#include <new>
#include <random>
#include <stdexcept>
#include <utility>

using namespace NORV;
using NORV::TaviOperators::Queue;

TEST(QueueTest, TheFirstInIsTheFirstOut) {
  Queue<int64> queue(3, 2);
  EXPECT_TRUE(queue.empty());
  queue.push(5);
  queue.push(-1);
  EXPECT_EQ(queue.size(), 2u);
  EXPECT_EQ(queue.pop(), 5);
  EXPECT_EQ(queue.pop(), -1);
  EXPECT_TRUE(queue.empty());
}

TEST(QueueTest, GrowsByItsStepAndNeverDoubles) {
  Queue<int64> queue(4, 3);
  EXPECT_EQ(queue.capacity(), 4u);
  EXPECT_EQ(queue.growthStep(), 3u);
  for (int64 i = 0; i < 100; ++i) {
    queue.push(i);
    EXPECT_EQ(queue.capacity(), i < 4 ? 4u : 4 + (static_cast<uint64>(i) - 4) / 3 * 3 + 3) << "after " << i;
  }
  for (int64 i = 0; i < 100; ++i) {
    EXPECT_EQ(queue.pop(), i);
  }
}

TEST(QueueTest, AFullQueueDoesNotGrowBeforeTheNextElement) {
  Queue<int64> queue(2, 5);
  queue.push(1);
  queue.push(2);
  EXPECT_EQ(queue.capacity(), 2u);
  EXPECT_EQ(queue.pop(), 1);
  queue.push(3);
  EXPECT_EQ(queue.capacity(), 2u) << "the ring is used again";
  queue.push(4);
  EXPECT_EQ(queue.capacity(), 7u);
  EXPECT_EQ(queue.pop(), 2);
  EXPECT_EQ(queue.pop(), 3);
  EXPECT_EQ(queue.pop(), 4);
}

TEST(QueueTest, ElementsKeepTheirOrderWhereverTheHeadStandsWhenItGrows) {
  for (int64 head = 0; head < 5; ++head) {
    Queue<int64> queue(5, 1);
    for (int64 i = 0; i < head; ++i) {
      queue.push(-1);
      queue.pop();
    }
    for (int64 i = 0; i < 9; ++i) {
      queue.push(i);
    }
    for (int64 i = 0; i < 9; ++i) {
      EXPECT_EQ(queue.pop(), i) << "head at " << head;
    }
  }
}

TEST(QueueTest, AStepOfZeroIsTakenAsOne) {
  Queue<int64> queue(0, 0);
  EXPECT_EQ(queue.capacity(), 0u);
  EXPECT_EQ(queue.growthStep(), 1u);
  queue.push(1);
  queue.push(2);
  EXPECT_EQ(queue.capacity(), 2u);
  EXPECT_EQ(queue.pop(), 1);
}

TEST(QueueTest, AnyMixOfPushAndPopIsThatOfADeque) {
  std::mt19937 random(2);
  for (const uint64 step : {1u, 2u, 7u}) {
    Queue<int64> queue(step, step);
    std::deque<int64> expected;
    for (int64 i = 0; i < 5000; ++i) {
      if (expected.empty() || random() % 100 < (i < 3000 ? 55u : 40u)) {
        queue.push(i);
        expected.push_back(i);
      } else {
        ASSERT_EQ(queue.pop(), expected.front());
        expected.pop_front();
      }
      ASSERT_EQ(queue.size(), expected.size());
    }
  }
}

TEST(QueueTest, ClearSwapAndMoveKeepWhatTheyShould) {
  Queue<int64> queue(2, 2), other(0, 9);
  queue.push(1);
  queue.push(2);
  queue.clear();
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(queue.capacity(), 2u);
  queue.push(7);
  queue.swap(other);
  EXPECT_EQ(queue.growthStep(), 9u);
  EXPECT_TRUE(queue.empty());
  Queue<int64> moved(std::move(other));
  EXPECT_EQ(moved.pop(), 7);
  queue = std::move(moved);
  EXPECT_EQ(queue.growthStep(), 2u);
}

TEST(QueueFailures, PopOnAnEmptyQueueNamesItsSourceAndLine) {
  for (const bool wasUsed : {false, true}) {
    Queue<int64> queue(2, 2);
    if (wasUsed) {
      queue.push(1);
      queue.pop();
    }
    Tests::expectFailure<Exceptions::InvalidState>([&] { queue.pop(); }, "The queue is empty!", "Queue::pop");
    try {
      queue.pop();
    } catch (const Exceptions::InvalidState& failure) {
      EXPECT_STREQ(failure.what(), "An invalid state occured!");
      EXPECT_STREQ(failure.getFile(), "TaviOperators/include/Queue");
      EXPECT_EQ(failure.getLine(), 247);
    }
    EXPECT_THROW(queue.pop(), std::runtime_error);
    queue.push(4);
    EXPECT_EQ(queue.pop(), 4) << "the queue is as it was";
  }
}

TEST(QueueFailures, GrowthThatFindsNoMemoryKeepsTheElements) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  Queue<int64> queue(2, 1);
  queue.push(1);
  queue.push(2);
  EXPECT_THROW(
      {
        const Tests::FailingAllocation limit(0);
        queue.push(3);
      },
      std::bad_alloc);
  EXPECT_EQ(queue.size(), 2u);
  queue.push(3);
  EXPECT_EQ(queue.pop(), 1);
}

TEST(QueueFailures, CapacitiesThatNoMemoryHoldsAreRefused) {
  EXPECT_THROW(Queue<int64>(std::numeric_limits<uint64>::max(), 1), std::bad_alloc);
  Queue<int64> queue(1, std::numeric_limits<uint64>::max());
  queue.push(1);
  EXPECT_THROW(queue.push(2), std::bad_alloc);
  EXPECT_EQ(queue.pop(), 1);
}
