#include "support/FailingAllocation.hpp"

#include <Tavi/BlockCache.hpp>

#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TAVI_FIXED_ALLOCATOR
#endif
#if __has_feature(address_sanitizer)
#define TAVI_UNLIMITED_ALLOCATOR
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define TAVI_UNLIMITED_ALLOCATOR
#endif

namespace NORV::Tests {

bool memoryCanBeLimited() noexcept {
#ifdef TAVI_UNLIMITED_ALLOCATOR
  return false;
#else
  return true;
#endif
}

}  // namespace NORV::Tests

#ifdef TAVI_FIXED_ALLOCATOR

namespace NORV::Tests {

bool allocationsCanFail() noexcept { return false; }
FailingAllocation::FailingAllocation(std::size_t) noexcept {}
FailingAllocation::~FailingAllocation() = default;
std::int64_t blocksInUse() noexcept { return 0; }
std::int64_t bytesInUse() noexcept { return 0; }
std::int64_t peakOfBytesInUse() noexcept { return 0; }
void startPeak() noexcept {}

}  // namespace NORV::Tests

#else

namespace {

constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();
// Sanitizers end the program over requests beyond what they support, where other allocators just refuse.
constexpr std::size_t largestRequest = std::size_t{1} << 38;

thread_local std::size_t allowedAllocations = unlimited;
std::atomic<std::int64_t> inUse{0}, bytes{0}, peakOfBytes{0};

void count(void* block) {
  inUse.fetch_add(1, std::memory_order_relaxed);
  const auto size = static_cast<std::int64_t>(malloc_usable_size(block));
  const std::int64_t now = bytes.fetch_add(size, std::memory_order_relaxed) + size;
  std::int64_t peak = peakOfBytes.load(std::memory_order_relaxed);
  while (now > peak && !peakOfBytes.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
  }
}

// A volume that gives its voxels back has to show in the counters.
[[maybe_unused]] const bool areBlocksFreed = [] {
  NORV::Tavi::Allocator::processWideBlockCache().setLimit(0);
  return true;
}();

bool refused(std::size_t size) {
  if (size > largestRequest || allowedAllocations == 0) {
    return true;
  }
  if (allowedAllocations != unlimited) {
    --allowedAllocations;
  }
  return false;
}

void* allocate(std::size_t size, std::size_t alignment) noexcept {
  if (refused(size)) {
    return nullptr;
  }
  void* block = nullptr;
  if (alignment <= alignof(std::max_align_t)) {
    block = std::malloc(size > 0 ? size : 1);
  } else if (posix_memalign(&block, alignment, size) != 0) {
    block = nullptr;
  }
  if (block != nullptr) {
    count(block);
  }
  return block;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment) {
  void* const block = allocate(size, alignment);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void release(void* block) noexcept {
  if (block != nullptr) {
    inUse.fetch_sub(1, std::memory_order_relaxed);
    bytes.fetch_sub(static_cast<std::int64_t>(malloc_usable_size(block)), std::memory_order_relaxed);
    std::free(block);
  }
}

std::size_t plain(std::align_val_t alignment) { return static_cast<std::size_t>(alignment); }

}  // namespace

void* operator new(std::size_t size) { return allocateOrThrow(size, 0); }
void* operator new[](std::size_t size) { return allocateOrThrow(size, 0); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, 0); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size, 0); }
void* operator new(std::size_t size, std::align_val_t alignment) { return allocateOrThrow(size, plain(alignment)); }
void* operator new[](std::size_t size, std::align_val_t alignment) { return allocateOrThrow(size, plain(alignment)); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { release(block); }

namespace NORV::Tests {

bool allocationsCanFail() noexcept { return true; }

FailingAllocation::FailingAllocation(std::size_t allowed) noexcept { allowedAllocations = allowed; }
FailingAllocation::~FailingAllocation() { allowedAllocations = unlimited; }

std::int64_t blocksInUse() noexcept { return inUse.load(std::memory_order_relaxed); }
std::int64_t bytesInUse() noexcept { return bytes.load(std::memory_order_relaxed); }
std::int64_t peakOfBytesInUse() noexcept { return peakOfBytes.load(std::memory_order_relaxed); }
void startPeak() noexcept { peakOfBytes.store(bytesInUse(), std::memory_order_relaxed); }

}  // namespace NORV::Tests

#endif
