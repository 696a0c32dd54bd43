#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"

#include <Array.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

using namespace NORV;
using NORV::Exceptions::IndexOutOfRange;
using NORV::TaviOperators::Array;

namespace {

void expectOutside(const std::function<void()>& act, const std::string& text, const std::string& function) {
  Tests::expectFailure<IndexOutOfRange>(act, text, function);
}

}  // namespace

TEST(ArrayTest, GrowsByItsStepAndNeverDoubles) {
  Array<int> array(3);
  EXPECT_EQ(array.capacity(), 0u);
  EXPECT_TRUE(array.empty());
  for (int i = 0; i < 100; ++i) {
    array.append(i);
    EXPECT_EQ(array.size(), static_cast<uint64>(i) + 1);
    EXPECT_EQ(array.capacity(), (static_cast<uint64>(i) / 3 + 1) * 3) << "after appending " << i;
    EXPECT_EQ(array.back(), i);
  }
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(array.at(static_cast<uint64>(i)), i) << "elements move along";
  }
}

TEST(ArrayTest, AppendingPastTheCapacityAddsExactlyOneStep) {
  Array<int> array(5, 7);
  for (int i = 0; i < 7; ++i) {
    array.append(i);
  }
  EXPECT_EQ(array.capacity(), 7u);
  array.append(7);
  EXPECT_EQ(array.capacity(), 12u);
  EXPECT_EQ(array.growthStep(), 5u);
}

TEST(ArrayTest, StepOfZeroIsTakenAsOne) {
  Array<int> array(0);
  array.append(1);
  array.append(2);
  EXPECT_EQ(array.capacity(), 2u);
  EXPECT_EQ(array.back(), 2);
}

TEST(ArrayTest, OwnsItsElements) {
  const auto counter = std::make_shared<int>(0);
  {
    Array<std::shared_ptr<int>> array(2);
    for (int i = 0; i < 5; ++i) {
      array.append(counter);
    }
    EXPECT_EQ(counter.use_count(), 6);
    array.append(array.at(0));
    EXPECT_EQ(counter.use_count(), 7) << "also an element of its own";
    Array<std::shared_ptr<int>> moved(std::move(array));
    EXPECT_EQ(moved.size(), 6u);
    EXPECT_EQ(counter.use_count(), 7);
    moved.clear();
    EXPECT_EQ(counter.use_count(), 1);
    EXPECT_EQ(moved.capacity(), 6u);
    moved.append(counter);
  }
  EXPECT_EQ(counter.use_count(), 1);
}

TEST(ArrayTest, HoldsElementsThatOnlyMove) {
  Array<std::unique_ptr<int>> array(1);
  array.append(std::make_unique<int>(3));
  array.append(std::make_unique<int>(4));
  EXPECT_EQ(*array.at(0), 3);
  EXPECT_EQ(*array.back(), 4);
}

TEST(ArrayTest, ElementsAreWalked) {
  Array<int> array(2);
  array.append(1);
  array.append(2);
  array.append(3);
  int sum = 0;
  for (const int element : array) {
    sum += element;
  }
  EXPECT_EQ(sum, 6);
  const Array<int>& constant = array;
  EXPECT_EQ(constant.at(2), 3);
  EXPECT_EQ(constant.back(), 3);
  EXPECT_EQ(constant.end() - constant.begin(), 3);
}

TEST(ArrayTest, OnlyTheDestructorIsVirtual) { EXPECT_TRUE(std::has_virtual_destructor_v<Array<int>>); }

TEST(ArrayFailures, IndexAtTheSizeIsRefused) {
  Array<int> array(4);
  const Array<int>& constant = array;
  array.append(1);
  array.append(2);
  const std::string text = "The index 2 is out of the valid range (0 to 1)!";
  expectOutside([&] { array.at(2) = 5; }, text, "Array::at");
  expectOutside([&] { static_cast<void>(constant.at(2)); }, text, "Array::at");
  EXPECT_THROW(array.at(std::numeric_limits<uint64>::max()), IndexOutOfRange);
}

TEST(ArrayFailures, EmptyArrayHasNoElement) {
  Array<int> array(4, 4);
  const Array<int>& constant = array;
  expectOutside([&] { array.at(0) = 1; }, "The index 0 is out of the valid range (0 to -1)!", "Array::at");
  expectOutside([&] { array.back() = 1; }, "The index -1 is out of the valid range (0 to -1)!", "Array::back");
  EXPECT_THROW(static_cast<void>(constant.back()), IndexOutOfRange);
}

TEST(ArrayFailures, GrowthThatFindsNoMemoryKeepsTheElements) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  Array<int> array(2);
  array.append(1);
  array.append(2);
  EXPECT_THROW(
      {
        const Tests::FailingAllocation limit(0);
        array.append(3);
      },
      std::bad_alloc);
  EXPECT_EQ(array.size(), 2u);
  EXPECT_EQ(array.capacity(), 2u);
  EXPECT_EQ(array.back(), 2);
  array.append(3);
  EXPECT_EQ(array.capacity(), 4u);
}

TEST(ArrayFailures, CapacityThatOverflowsIsRefused) {
  Array<int> array(std::numeric_limits<uint64>::max(), 1);
  array.append(1);
  EXPECT_THROW(array.append(2), std::bad_alloc);
  EXPECT_EQ(array.size(), 1u);
  EXPECT_THROW(Array<int>(1, std::numeric_limits<uint64>::max()), std::bad_alloc);
}
