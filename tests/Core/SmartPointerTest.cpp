#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"

#include <Tavi/SmartPointer.hpp>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

using namespace NORV;
using NORV::Tavi::DynamicCast;
using NORV::Tavi::SmartPointer;

namespace {

std::atomic<int> living{0};

class Base {
public:
  Base() { ++living; }
  Base(const Base&) = delete;
  Base& operator=(const Base&) = delete;
  virtual ~Base() { --living; }
};

class Other {
public:
  virtual ~Other() = default;
  int other = 3;
};

class Derived : public Base, public Other {
public:
  explicit Derived(int v = 0) : value(v) {}
  ~Derived() override { value = -1; }
  int value;
};

class Unrelated : public Base {};

class SmartPointerTest : public testing::Test {
protected:
  void SetUp() override { ASSERT_EQ(living, 0); }
  void TearDown() override { EXPECT_EQ(living, 0) << "objects outlive their pointers"; }
};
using SmartPointerFailures = SmartPointerTest;
using SmartPointerRace = SmartPointerTest;

void runThreads(unsigned count, const std::function<void(unsigned)>& body) {
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (unsigned thread = 0; thread < count; ++thread) {
    threads.emplace_back([&, thread] {
      while (!go.load()) {
        std::this_thread::yield();
      }
      body(thread);
    });
  }
  go = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace

TEST_F(SmartPointerTest, EmptyPointersStandAlone) {
  const SmartPointer<Base> byDefault, byNull(nullptr), byZero(0), byPointer(static_cast<Base*>(nullptr));
  const SmartPointer<Base> copy(byDefault);
  const SmartPointer<Base> implicit = 0;
  for (const auto* pointer : {&byDefault, &byNull, &byZero, &byPointer, &copy, &implicit}) {
    EXPECT_EQ(pointer->get(), nullptr);
    EXPECT_EQ(pointer->getNumberOfOwners(), 0u);
    EXPECT_EQ(pointer->getNumberOfHandles(), 1u);
    EXPECT_TRUE(*pointer == 0);
    EXPECT_FALSE(*pointer != 0);
    EXPECT_FALSE(static_cast<bool>(*pointer));
  }
}

TEST_F(SmartPointerTest, FreshPointerIsTheOneOwnerAndHandle) {
  auto* object = new Derived(7);
  const SmartPointer<Derived> pointer(object);
  EXPECT_EQ(pointer.get(), object);
  EXPECT_EQ(pointer->value, 7);
  EXPECT_EQ(&*pointer, object);
  EXPECT_EQ(pointer.getNumberOfOwners(), 1u);
  EXPECT_EQ(pointer.getNumberOfHandles(), 1u);
  EXPECT_TRUE(pointer != 0);
  EXPECT_FALSE(pointer == 0);
  EXPECT_TRUE(pointer != nullptr);
}

TEST_F(SmartPointerTest, CopiesAndAssignmentsCountOwnersAndHandles) {
  SmartPointer<Derived> first(new Derived);
  {
    const SmartPointer<Derived> second(first);
    SmartPointer<Derived> third;
    third = second;
    EXPECT_EQ(first.getNumberOfOwners(), 3u);
    EXPECT_EQ(third.getNumberOfHandles(), 3u);
    first = SmartPointer<Derived>();
    EXPECT_EQ(first.getNumberOfOwners(), 0u);
    EXPECT_EQ(second.getNumberOfOwners(), 2u);
    EXPECT_EQ(living, 1);
  }
  EXPECT_EQ(living, 0);
}

TEST_F(SmartPointerTest, AssignmentDeletesTheOldObjectOnlyWithItsLastOwner) {
  SmartPointer<Derived> first(new Derived(1)), second(new Derived(2));
  SmartPointer<Derived> keeper(first);
  first = second;
  EXPECT_EQ(living, 2);
  EXPECT_EQ(keeper->value, 1);
  EXPECT_EQ(keeper.getNumberOfOwners(), 1u);
  keeper = second;
  EXPECT_EQ(living, 1);
  EXPECT_EQ(keeper.getNumberOfOwners(), 3u);
}

TEST_F(SmartPointerTest, SelfAssignmentChangesNothing) {
  SmartPointer<Derived> pointer(new Derived(5));
  const auto& same = pointer;
  pointer = same;
  EXPECT_EQ(pointer.getNumberOfOwners(), 1u);
  EXPECT_EQ(pointer->value, 5);
  SmartPointer<Derived> empty;
  const auto& sameEmpty = empty;
  empty = sameEmpty;
  EXPECT_TRUE(empty == 0);
}

TEST_F(SmartPointerTest, AssigningAPointerToTheSameObjectKeepsItAlive) {
  SmartPointer<Derived> first(new Derived(5));
  const SmartPointer<Derived> second(first);
  first = second;
  EXPECT_EQ(first.getNumberOfOwners(), 2u);
  EXPECT_EQ(first->value, 5);
}

TEST_F(SmartPointerTest, ChainReleasesItselfWhenItsHeadIsReassigned) {
  struct Node : Base {
    SmartPointer<Node> next;
  };
  SmartPointer<Node> head(new Node);
  head->next = SmartPointer<Node>(new Node);
  head->next->next = SmartPointer<Node>(new Node);
  EXPECT_EQ(living, 3);
  head = head->next;
  EXPECT_EQ(living, 2);
  head = head->next;
  EXPECT_EQ(living, 1);
}

TEST_F(SmartPointerTest, CheckedCastsShareTheCounts) {
  const SmartPointer<Derived> derived(new Derived(9));
  const SmartPointer<Base> base(derived);
  const SmartPointer<Other> side(base);
  const SmartPointer<Derived> back(side);
  EXPECT_EQ(derived.getNumberOfOwners(), 4u);
  EXPECT_EQ(back.getNumberOfHandles(), 4u);
  EXPECT_EQ(back.get(), derived.get());
  EXPECT_EQ(side.get(), static_cast<Other*>(derived.get()));
  EXPECT_EQ(side->other, 3);
}

TEST_F(SmartPointerTest, FailedCastGivesAnEmptyPointerOfItsOwn) {
  const SmartPointer<Base> base(new Unrelated);
  const SmartPointer<Derived> failed(base);
  EXPECT_TRUE(failed == 0);
  EXPECT_EQ(failed.getNumberOfOwners(), 0u);
  EXPECT_EQ(failed.getNumberOfHandles(), 1u);
  EXPECT_EQ(base.getNumberOfHandles(), 1u);
  const SmartPointer<Derived> fromEmpty{SmartPointer<Base>()};
  EXPECT_TRUE(fromEmpty == 0);
}

TEST_F(SmartPointerTest, CastCountsAsHandleAtOnceAndAsOwnerWhenConverted) {
  const SmartPointer<Base> base(new Derived(4));
  const DynamicCast<Derived, Base> cast(base);
  EXPECT_EQ(base.getNumberOfOwners(), 1u);
  EXPECT_EQ(base.getNumberOfHandles(), 2u);
  {
    const SmartPointer<Derived> derived(cast);
    EXPECT_EQ(base.getNumberOfOwners(), 2u);
    EXPECT_EQ(base.getNumberOfHandles(), 3u);
    EXPECT_EQ(derived->value, 4);
  }
  EXPECT_EQ(base.getNumberOfHandles(), 2u);
}

TEST_F(SmartPointerTest, LastOwnerDeletesTheObjectAndANonOwningHandleKeepsTheCounts) {
  const std::int64_t before = Tests::blocksInUse();
  {
    auto base = std::make_unique<SmartPointer<Base>>(new Derived);
    const DynamicCast<Derived, Base> handle(*base);
    base.reset();
    EXPECT_EQ(living, 0) << "the object goes with its last owner";
    if (Tests::allocationsCanFail()) {
      EXPECT_GT(Tests::blocksInUse(), before) << "the counts stay for the handle";
    }
    const SmartPointer<Derived> late(handle);
    EXPECT_TRUE(late == 0) << "a cast never makes an owner of a dead object";
    EXPECT_EQ(late.getNumberOfOwners(), 0u);
  }
  EXPECT_EQ(Tests::blocksInUse(), before) << "the counts go with the last handle";
}

TEST_F(SmartPointerTest, PointersCompareByAddress) {
  const SmartPointer<Derived> first(new Derived), second(new Derived), copy(first);
  const SmartPointer<Base> base(first);
  const SmartPointer<Other> side(first);
  EXPECT_TRUE(first == copy);
  EXPECT_TRUE(first != second);
  EXPECT_TRUE(base == first);
  EXPECT_TRUE(base == side) << "two bases of one object";
  EXPECT_TRUE(SmartPointer<Base>(second) != side);
  EXPECT_TRUE(SmartPointer<Derived>() == SmartPointer<Base>());
}

TEST_F(SmartPointerTest, ShiftedObjectBelongsToTheCaller) {
  std::unique_ptr<Derived> object;
  {
    SmartPointer<Derived> pointer(new Derived(6));
    object.reset(pointer.shiftResponsibility());
    EXPECT_EQ(pointer.get(), object.get());
    EXPECT_EQ(pointer.getNumberOfOwners(), 0u);
  }
  EXPECT_EQ(living, 1);
  EXPECT_EQ(object->value, 6);
}

TEST_F(SmartPointerTest, ShiftedPointerCanBeReassignedWithoutDeletingTheObject) {
  SmartPointer<Derived> pointer(new Derived(6));
  const std::unique_ptr<Derived> object(pointer.shiftResponsibility());
  const SmartPointer<Derived> copy(pointer);
  EXPECT_TRUE(copy == 0) << "nobody becomes an owner of an object that was given away";
  pointer = SmartPointer<Derived>(new Derived(8));
  EXPECT_EQ(living, 2);
  EXPECT_EQ(object->value, 6);
}

TEST_F(SmartPointerTest, ConvertingAPointerWhoseObjectTheCallerDeletedGivesAnEmptyOne) {
  SmartPointer<Base> pointer(new Derived(6));
  delete pointer.shiftResponsibility();
  const SmartPointer<Derived> derived(pointer);
  const SmartPointer<Other> side(pointer);
  const DynamicCast<Derived, Base> cast(pointer);
  EXPECT_TRUE(derived == 0);
  EXPECT_TRUE(side == 0);
  EXPECT_TRUE(SmartPointer<Derived>(cast) == 0);
}

TEST_F(SmartPointerTest, DestructorsAreVirtual) {
  EXPECT_TRUE(std::has_virtual_destructor_v<SmartPointer<Base>>);
  EXPECT_TRUE((std::has_virtual_destructor_v<DynamicCast<Derived, Base>>));
}

TEST_F(SmartPointerFailures, NonZeroNumberMakesNoPointer) {
  const std::string text = "Can initialize implicitly only with 0!", origin = "NORV::Tavi::SmartPointer::SmartPointer";
  Tests::expectFailure<Exceptions::InvalidArg>([] { const SmartPointer<Base> pointer(1); }, text, origin);
  Tests::expectFailure<Exceptions::InvalidArg>([] { const SmartPointer<Base> pointer = -1; }, text, origin);
}

TEST_F(SmartPointerFailures, ComparingWithANonZeroNumberThrows) {
  const SmartPointer<Base> pointer(new Base), empty;
  const std::string text = "Can compare only to 0!", origin = "NORV::Tavi::SmartPointer::operator ==";
  Tests::expectFailure<Exceptions::InvalidArg>([&] { static_cast<void>(pointer == 1); }, text, origin);
  Tests::expectFailure<Exceptions::InvalidArg>([&] { static_cast<void>(pointer != 1); }, text, origin);
  Tests::expectFailure<Exceptions::InvalidArg>([&] { static_cast<void>(empty == -1); }, text, origin);
}

TEST_F(SmartPointerFailures, ShiftingNeedsExactlyOneOwner) {
  const std::string text =
      "Shifting responsibility is only allowed if there is only one owner of the pointer! Current: ";
  const std::string origin = "NORV::Tavi::SmartPointer::shiftResponsibility";
  SmartPointer<Derived> pointer(new Derived(2)), empty;
  {
    const SmartPointer<Derived> second(pointer);
    Tests::expectFailure<Exceptions::InvalidState>([&] { pointer.shiftResponsibility(); }, text + "2", origin);
    EXPECT_EQ(pointer.getNumberOfOwners(), 2u);
  }
  Tests::expectFailure<Exceptions::InvalidState>([&] { empty.shiftResponsibility(); }, text + "0", origin);
  const std::unique_ptr<Derived> object(pointer.shiftResponsibility());
  Tests::expectFailure<Exceptions::InvalidState>([&] { pointer.shiftResponsibility(); }, text + "0", origin);
}

TEST_F(SmartPointerFailures, ObjectIsDeletedWhereItsCountsFindNoMemory) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  auto* object = new Derived;
  EXPECT_THROW(
      {
        const Tests::FailingAllocation limit(0);
        const SmartPointer<Derived> pointer(object);
      },
      std::bad_alloc);
  EXPECT_EQ(living, 0);
}

TEST_F(SmartPointerRace, OneValueIsCopiedAndCastByManyThreads) {
  const SmartPointer<Base> shared(new Derived(11));
  std::atomic<int> wrong{0};
  runThreads(8, [&](unsigned) {
    for (int i = 0; i < 2000; ++i) {
      const SmartPointer<Base> copy(shared);
      const SmartPointer<Derived> derived(copy);
      const SmartPointer<Other> side(shared);
      wrong += derived->value != 11 || side->other != 3 || copy != derived;
    }
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(shared.getNumberOfOwners(), 1u);
  EXPECT_EQ(shared.getNumberOfHandles(), 1u);
}

TEST_F(SmartPointerRace, OwnersOfOneObjectAreDestroyedByManyThreads) {
  for (int round = 0; round < 200; ++round) {
    std::array<std::vector<SmartPointer<Derived>>, 4> owners;
    {
      const SmartPointer<Derived> object(new Derived(round));
      for (auto& mine : owners) {
        mine.assign(5, object);
      }
    }
    std::atomic<int> wrong{0};
    runThreads(4, [&](unsigned thread) {
      while (!owners[thread].empty()) {
        wrong += owners[thread].back()->value != round;
        owners[thread].pop_back();
      }
    });
    ASSERT_EQ(wrong, 0);
    ASSERT_EQ(living, 0);
  }
}

TEST_F(SmartPointerRace, OneValueIsReassignedWhileOthersCopyIt) {
  SmartPointer<Base> shared(new Derived(1));
  std::atomic<int> wrong{0};
  runThreads(8, [&](unsigned thread) {
    for (int i = 0; i < 2000; ++i) {
      switch ((static_cast<unsigned>(i) + thread) % 5) {
        case 0:
          shared = SmartPointer<Base>(new Derived(i));
          break;
        case 1:
          shared = SmartPointer<Base>();
          break;
        case 2:
          shared = SmartPointer<Base>(new Unrelated);
          break;
        default: {
          const SmartPointer<Base> copy(shared);
          const SmartPointer<Derived> derived(copy);
          wrong += derived != 0 && (derived->value < 0 || derived != copy);
          static_cast<void>(shared == copy);
          static_cast<void>(shared.getNumberOfOwners());
        }
      }
    }
  });
  EXPECT_EQ(wrong, 0);
  shared = 0;
}

TEST_F(SmartPointerRace, ValuesAreAssignedToEachOtherInAllDirections) {
  std::array<SmartPointer<Derived>, 3> shared;
  for (int i = 0; i < 3; ++i) {
    shared[static_cast<std::size_t>(i)] = SmartPointer<Derived>(new Derived(i));
  }
  std::atomic<int> wrong{0};
  runThreads(8, [&](unsigned thread) {
    std::mt19937 random(thread);
    for (int i = 0; i < 3000; ++i) {
      auto& target = shared[random() % 3];
      const auto& source = shared[random() % 3];
      if (random() % 4 == 0) {
        target = SmartPointer<Derived>(new Derived(i));
      } else {
        target = source;
      }
      const SmartPointer<Derived> copy(source);
      wrong += copy == 0 || copy->value < 0;
    }
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_LE(living, 3);
}

TEST_F(SmartPointerRace, NonOwningHandlesMeetTheEndOfTheObject) {
  std::atomic<int> wrong{0};
  SmartPointer<Base> shared(new Derived(0));
  runThreads(6, [&](unsigned thread) {
    for (int i = 0; i < 2000; ++i) {
      if (thread == 0) {
        shared = SmartPointer<Base>(new Derived(i));
      } else {
        const DynamicCast<Derived, Base> cast(shared);
        std::this_thread::yield();
        const SmartPointer<Derived> derived(cast);
        wrong += derived != 0 && derived->value < 0;
      }
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST_F(SmartPointerRace, ResponsibilityIsShiftedToOneThreadOnly) {
  for (int round = 0; round < 300; ++round) {
    SmartPointer<Derived> shared(new Derived(round));
    std::atomic<int> shifted{0};
    std::unique_ptr<Derived> object;
    runThreads(3, [&](unsigned) {
      try {
        object.reset(shared.shiftResponsibility());
        ++shifted;
      } catch (const Exceptions::InvalidState&) {
      }
    });
    ASSERT_EQ(shifted, 1);
    ASSERT_EQ(object->value, round);
  }
}
