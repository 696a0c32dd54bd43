#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Stores that bypass the cache. An ordinary store first reads the line that it overwrites, so a large output costs
/// three transfers per byte instead of two. Which instructions do that is up to the binary: until it sets `kernels`,
/// plain copies give the same bytes, only slower.
namespace NORV::Tavi::Streaming {

/// From how many output bytes on it pays: below, the next reader finds the output in the cache.
inline constexpr SizeType threshold = SizeType{16} << 20;

inline constexpr std::size_t lineBytes = 64;

/// How whole cache lines are written. `target` begins at one.
struct Kernels {
  /// Copies lines from an address that is aligned likewise.
  void (*storeLines)(std::byte* target, const std::byte* source, std::size_t bytes);
  /// Copies lines from any address.
  void (*storeLinesUnaligned)(std::byte* target, const std::byte* source, std::size_t bytes);
  /// Makes the stores of the calling thread visible in order.
  void (*finish)();
};

namespace Impl {

inline void copyPlainly(std::byte* target, const std::byte* source, std::size_t bytes) {
  std::memcpy(target, source, bytes);
}
inline void finishPlainly() {}

}  // namespace Impl

/// Set while a binary loads, if at all.
inline constinit Kernels kernels{&Impl::copyPlainly, &Impl::copyPlainly, &Impl::finishPlainly};

/// Copies whole cache lines to `target`, which must begin at one; `source` must be aligned likewise.
inline void storeLines(std::byte* target, const std::byte* source, std::size_t bytes) {
  kernels.storeLines(target, source, bytes);
}

/// To be called by each thread after its last streaming store.
inline void finish() { kernels.finish(); }

/// `memcpy` past the cache.
inline void copy(void* target, const void* source, std::size_t bytes) {
  auto* to = static_cast<std::byte*>(target);
  const auto* from = static_cast<const std::byte*>(source);
  const std::size_t head = std::min(bytes, (lineBytes - reinterpret_cast<std::uintptr_t>(to) % lineBytes) % lineBytes);
  std::memcpy(to, from, head);
  const std::size_t body = (bytes - head) / lineBytes * lineBytes;
  kernels.storeLinesUnaligned(to + head, from + head, body);
  std::memcpy(to + head + body, from + head + body, bytes - head - body);
}

}  // namespace NORV::Tavi::Streaming
