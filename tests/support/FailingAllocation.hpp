#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace NORV::Tests {

/// Whether allocations can be made to fail: clang's race detector brings a global allocator of its own, which cannot be
/// replaced and ends the program where memory runs out.
bool allocationsCanFail() noexcept;

/// First in each test that lets allocations fail, or asks for more than any memory holds.
#define SKIP_UNLESS_ALLOCATIONS_CAN_FAIL()                         \
  if (!NORV::Tests::allocationsCanFail()) {                        \
    GTEST_SKIP() << "this program's allocator cannot be replaced"; \
  }                                                                \
  static_assert(true)

/// Whether the process can be given less memory: the address sanitizer maps its own beside each block, and ends the
/// program where it gets none.
bool memoryCanBeLimited() noexcept;

/// First in each test that limits the memory of the process.
#define SKIP_UNLESS_MEMORY_CAN_BE_LIMITED()                                              \
  if (!NORV::Tests::memoryCanBeLimited()) {                                              \
    GTEST_SKIP() << "this program's allocator ends it where the process gets no memory"; \
  }                                                                                      \
  static_assert(true)

/// While it lives, this thread's allocations from the global allocator fail after `allowed` further ones.
class FailingAllocation {
public:
  explicit FailingAllocation(std::size_t allowed) noexcept;
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();
};

/// Blocks from the global allocator that are in use in the whole program; always 0 where it cannot be replaced.
std::int64_t blocksInUse() noexcept;

/// Bytes of these blocks, and the most there were since `startPeak`, both as the allocator rounds them up.
std::int64_t bytesInUse() noexcept;
std::int64_t peakOfBytesInUse() noexcept;
void startPeak() noexcept;

/// How many more bytes were in use at once during `act` than before it.
template <class Act>
std::int64_t extraBytesOf(const Act& act) {
  startPeak();
  const std::int64_t before = bytesInUse();
  act();
  return peakOfBytesInUse() - before;
}

/// Lets each allocation of `act` fail in turn, until one more call succeeds, and calls `check` after each failure.
/// Returns how many calls failed.
template <class Act, class Check>
int failEachAllocation(const Act& act, const Check& check) {
  int failures = 0;
  for (std::size_t allowed = 0;; ++allowed) {
    try {
      const FailingAllocation limit(allowed);
      act();
      return failures;
    } catch (const std::bad_alloc&) {
      ++failures;
    }
    check();
  }
}

}  // namespace NORV::Tests
