#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

namespace NORV::Tests {

/// While it lives, this thread's allocations from the global allocator fail after `allowed` further ones. A program
/// that uses it compiles FailingAllocation.cpp, which replaces the global allocator.
class FailingAllocation {
public:
  explicit FailingAllocation(std::size_t allowed) noexcept;
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();
};

/// Blocks from the global allocator that are in use in the whole program.
std::int64_t blocksInUse() noexcept;

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
