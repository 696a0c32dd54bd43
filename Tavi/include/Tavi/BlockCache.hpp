#pragma once

#include <Tavi/Export.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <mutex>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define TAVI_NO_BLOCK_CACHE
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAVI_NO_BLOCK_CACHE
#endif
#endif

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace NORV::Tavi::Allocator {

/// Keeps large blocks that volumes gave back and hands them to the next volumes of like size. A block from the kernel
/// is cleared page by page at first touch, which takes longer than most operators need to fill it.
///
/// There is one cache per process; all members may be called from any thread. The kept bytes never exceed the limit,
/// by default 1/16 of the machine's memory (none under the address sanitizer, which has to see every release). The
/// kernel may take back the pages of kept blocks whenever it needs memory; what a block held is lost either way. All
/// kept blocks go before an allocation fails.
class TAVI_EXPORT BlockCache {
public:
  BlockCache(const BlockCache&) = delete;
  BlockCache& operator=(const BlockCache&) = delete;

  /// The most bytes to keep; 0 switches the cache off. Blocks beyond the new limit are freed at once.
  void setLimit(SizeType bytes) noexcept {
    const std::lock_guard lock(_mutex);
    _limit = bytes;
    freeOldestBeyond(0);
  }
  SizeType getLimit() const noexcept {
    const std::lock_guard lock(_mutex);
    return _limit;
  }
  SizeType getKeptBytes() const noexcept {
    const std::lock_guard lock(_mutex);
    return _keptBytes;
  }

  /// Frees all kept blocks; the limit stays. Returns whether there was one.
  bool clear() noexcept {
    const std::lock_guard lock(_mutex);
    const bool hadBlocks = _count > 0;
    while (_count > 0) {
      freeBlock(0);
    }
    return hadBlocks;
  }

  struct Block {
    void* data = nullptr;
    SizeType bytes = 0;
  };

  /// A block of at least `bytes` bytes, aligned for huge pages. Throws `std::bad_alloc`.
  Block allocate(SizeType bytes) {
    if (const Block kept = take(bytes); kept.data != nullptr) {
      return kept;
    }
    void* const data = allocateAnew(bytes);
#ifdef __linux__
    madvise(data, bytes, MADV_HUGEPAGE);  // advice only: refused advice costs speed, nothing else
#endif
    return {data, bytes};
  }

  /// Takes back what `allocate` returned.
  void release(const Block& block) noexcept {
    const std::lock_guard lock(_mutex);
    if (block.bytes > _limit) {
      free(block);
      return;
    }
    freeOldestBeyond(block.bytes);
    if (_count == _blocks.size()) {
      freeBlock(0);
    }
#ifdef __linux__
    madvise(block.data, block.bytes / pageBytes * pageBytes, MADV_FREE);
#endif
    _blocks[_count++] = block;
    _keptBytes += block.bytes;
  }

  static constexpr std::size_t hugePage = std::size_t{2} << 20;

private:
  friend BlockCache& processWideBlockCache();

  BlockCache() = default;
  ~BlockCache() = default;

  /// The smallest kept block that a request of `bytes` fills to at least 7/8.
  Block take(SizeType bytes) noexcept {
    const std::lock_guard lock(_mutex);
    std::size_t best = _count;
    for (std::size_t i = 0; i < _count; ++i) {
      const SizeType size = _blocks[i].bytes;
      const bool serves = size >= bytes && size - size / 8 <= bytes;
      if (serves && (best == _count || size < _blocks[best].bytes)) {
        best = i;
      }
    }
    return best == _count ? Block{} : remove(best);
  }

  void* allocateAnew(SizeType bytes) {
    try {
      return ::operator new(bytes, alignment);
    } catch (const std::bad_alloc&) {
      if (!clear()) {
        throw;
      }
    }
    return ::operator new(bytes, alignment);
  }

  Block remove(std::size_t index) noexcept {
    const Block block = _blocks[index];
    std::move(_blocks.begin() + static_cast<std::ptrdiff_t>(index) + 1,
              _blocks.begin() + static_cast<std::ptrdiff_t>(_count),
              _blocks.begin() + static_cast<std::ptrdiff_t>(index));
    --_count;
    _keptBytes -= block.bytes;
    return block;
  }
  void freeBlock(std::size_t index) noexcept { free(remove(index)); }
  void freeOldestBeyond(SizeType incoming) noexcept {
    while (_count > 0 && _keptBytes > _limit - std::min(_limit, incoming)) {
      freeBlock(0);
    }
  }
  static void free(const Block& block) noexcept { ::operator delete(block.data, alignment); }

  static SizeType defaultLimit() noexcept {
#if defined(__linux__) && !defined(TAVI_NO_BLOCK_CACHE)
    const long pages = sysconf(_SC_PHYS_PAGES);
    return pages > 0 ? static_cast<SizeType>(pages) * pageBytes / 16 : 0;
#else
    return 0;
#endif
  }

  static constexpr std::align_val_t alignment{hugePage};
  static constexpr SizeType pageBytes = 4096;

  mutable std::mutex _mutex;
  SizeType _limit = defaultLimit();
  SizeType _keptBytes = 0;
  std::array<Block, 64> _blocks{};  ///< in the order of their release; no allocation may be needed to keep one
  std::size_t _count = 0;
};

/// The cache of the process, never destroyed: static volumes of hosts are released at its very end.
TAVI_EXPORT inline BlockCache& processWideBlockCache() {
  static BlockCache* const cache = new BlockCache;
  return *cache;
}

}  // namespace NORV::Tavi::Allocator
