#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

/// Dense rows of a label volume block by block, for work that costs less where a whole block has one label.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

inline constexpr SizeType labelBlock = 32;

/// Whether all labels of a block are `label`.
template <class L>
bool isBlockOf(const L* labels, L label) {
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::CappedTag<L, labelBlock> tag;
  const auto wanted = hn::Set(tag, label);
  auto different = hn::Zero(tag);
  for (SizeType i = 0; i < labelBlock; i += hn::Lanes(tag)) {
    different = hn::Or(different, hn::Xor(hn::LoadU(tag, labels + i), wanted));
  }
  return hn::AllTrue(tag, hn::Eq(different, hn::Zero(tag)));
#else
  return std::all_of(labels, labels + labelBlock, [label](L other) { return other == label; });
#endif
}

/// The places of a block with another label than `label`, one bit each.
template <class L>
uint32 otherLabels(const L* labels, L label) {
  uint32 others = 0;
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::CappedTag<L, labelBlock> tag;
  const auto wanted = hn::Set(tag, label);
  for (SizeType i = 0; i < labelBlock; i += hn::Lanes(tag)) {
    uint8 bytes[8] = {};
    hn::StoreMaskBits(tag, hn::Ne(hn::LoadU(tag, labels + i), wanted), bytes);
    uint32 bits = 0;
    __builtin_memcpy(&bits, bytes, sizeof bits);
    others |= bits << i;
  }
#else
  for (SizeType i = 0; i < labelBlock; ++i) {
    others |= static_cast<uint32>(labels[i] != label) << i;
  }
#endif
  return others;
}

/// Copies a block, with `value` at the places given.
template <class T>
void copyBlock(const T* from, T* to, uint32 places, T value) {
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::CappedTag<T, labelBlock> tag;
  for (SizeType i = 0; i < labelBlock; i += hn::Lanes(tag)) {
    const uint64 bits = places >> i;
    uint8 bytes[8];
    __builtin_memcpy(bytes, &bits, sizeof bytes);
    const auto mask = hn::LoadMaskBits(tag, bytes);
    hn::StoreU(hn::IfThenElse(mask, hn::Set(tag, value), hn::LoadU(tag, from + i)), tag, to + i);
  }
#else
  for (SizeType i = 0; i < labelBlock; ++i) {
    to[i] = (places >> i & 1) != 0 ? value : from[i];
  }
#endif
}

/// Goes over a row from its beginning: calls `stretch(label, begin, end)` for blocks of one label,
/// `mixed(begin, others)` for a block in which labels differ, with the places where they differ from the first, and
/// `rest(begin)` for what is less than a block. A label is read before any call for its place or for one behind it.
template <class L, class Stretch, class Mixed, class Rest>
void forEachLabelBlock(const L* labels, SizeType count, const Stretch& stretch, const Mixed& mixed, const Rest& rest) {
  SizeType begin = 0;
  while (count - begin >= labelBlock) {
    const L label = labels[begin];
    SizeType end = begin;
    while (count - end >= labelBlock && isBlockOf(labels + end, label)) {
      end += labelBlock;
    }
    if (end != begin) {
      stretch(label, begin, end);
      begin = end;
    } else {
      mixed(begin, otherLabels(labels + begin, label));
      begin += labelBlock;
    }
  }
  rest(begin);
}

}  // namespace NORV::TaviOperators::Impl
