#include <Tavi/StreamingStore.hpp>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

namespace NORV::Tavi::Streaming {
namespace {

namespace hn = hwy::HWY_NAMESPACE;
using Tag = hn::ScalableTag<uint8>;

template <bool isAligned>
void streamLines(std::byte* target, const std::byte* source, std::size_t bytes) {
  const Tag tag;
  const auto* const from = reinterpret_cast<const uint8*>(source);
  auto* const to = reinterpret_cast<uint8*>(target);
  for (std::size_t i = 0; i < bytes; i += hn::Lanes(tag)) {
    hn::Stream(isAligned ? hn::Load(tag, from + i) : hn::LoadU(tag, from + i), tag, to + i);
  }
}

// Set while the library loads, before any operator runs.
[[maybe_unused]] const bool isSet = [] {
  kernels = {&streamLines<true>, &streamLines<false>, [] { hwy::FlushStream(); }};
  return true;
}();

}  // namespace
}  // namespace NORV::Tavi::Streaming
