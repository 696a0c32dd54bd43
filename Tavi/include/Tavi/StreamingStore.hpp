#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/cache_control.h>
#include <hwy/highway.h>
#endif

/// Stores that go past the cache. An ordinary store first reads the line that it is about to overwrite, so a large
/// output costs three transfers per byte instead of two. Programs that compile these headers without Highway get plain
/// copies: the same bytes, only slower.
namespace NORV::Tavi::Streaming {

/// From how many output bytes on it pays: below, the reader that comes next finds the output in the cache.
inline constexpr SizeType threshold = SizeType{16} << 20;

inline constexpr std::size_t lineBytes = 64;

/// Copies whole cache lines to `target`, which must begin at one; `source` must be aligned likewise.
inline void storeLines(std::byte* target, const std::byte* source, std::size_t bytes) {
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<uint8> tag;
  for (std::size_t i = 0; i < bytes; i += hn::Lanes(tag)) {
    hn::Stream(hn::Load(tag, reinterpret_cast<const uint8*>(source + i)), tag, reinterpret_cast<uint8*>(target + i));
  }
#else
  std::memcpy(target, source, bytes);
#endif
}

/// Copies whole cache lines to `target`, which must begin at one, from any address.
inline void storeLinesUnaligned(std::byte* target, const std::byte* source, std::size_t bytes) {
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<uint8> tag;
  for (std::size_t i = 0; i < bytes; i += hn::Lanes(tag)) {
    hn::Stream(hn::LoadU(tag, reinterpret_cast<const uint8*>(source + i)), tag, reinterpret_cast<uint8*>(target + i));
  }
#else
  std::memcpy(target, source, bytes);
#endif
}

/// To be called by each thread after its last streaming store.
inline void finish() {
#ifdef TAVI_USE_HIGHWAY
  hwy::FlushStream();
#endif
}

/// `memcpy` past the cache.
inline void copy(void* target, const void* source, std::size_t bytes) {
  auto* to = static_cast<std::byte*>(target);
  const auto* from = static_cast<const std::byte*>(source);
  const std::size_t head = std::min(bytes, (lineBytes - reinterpret_cast<std::uintptr_t>(to) % lineBytes) % lineBytes);
  std::memcpy(to, from, head);
  const std::size_t body = (bytes - head) / lineBytes * lineBytes;
  storeLinesUnaligned(to + head, from + head, body);
  std::memcpy(to + head + body, from + head + body, bytes - head - body);
}

}  // namespace NORV::Tavi::Streaming
