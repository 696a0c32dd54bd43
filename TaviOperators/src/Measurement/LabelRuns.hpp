#pragma once

#include <Tavi/Types.hpp>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

/// Rows of a label volume as runs of one label.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The labels that count; none where `from` is above `to`.
template <class L>
struct LabelRange {
  L from = 0, to = 0;
  bool holds(L label) const { return from <= label && label <= to; }
};

/// The first place from `begin` on, or `end`, whose label counts.
template <class L>
SizeType skipOtherLabels(const L* labels, SizeType begin, SizeType end, const LabelRange<L>& range) {
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<L> tag;
  const SizeType lanes = hn::Lanes(tag);
  const auto from = hn::Set(tag, range.from), to = hn::Set(tag, range.to);
  const auto isInside = [&](auto label) { return hn::Eq(hn::Min(hn::Max(label, from), to), label); };
  if (range.from <= range.to) {
    for (; begin + 4 * lanes <= end; begin += 4 * lanes) {
      const L* const next = labels + begin;
      const auto first = hn::Or(isInside(hn::LoadU(tag, next)), isInside(hn::LoadU(tag, next + lanes)));
      const auto second =
          hn::Or(isInside(hn::LoadU(tag, next + 2 * lanes)), isInside(hn::LoadU(tag, next + 3 * lanes)));
      if (!hn::AllFalse(tag, hn::Or(first, second))) {
        break;
      }
    }
    for (; begin + lanes <= end; begin += lanes) {
      const auto found = hn::FindFirstTrue(tag, isInside(hn::LoadU(tag, labels + begin)));
      if (found >= 0) {
        return begin + static_cast<SizeType>(found);
      }
    }
  }
#endif
  while (begin < end && !range.holds(labels[begin])) {
    ++begin;
  }
  return begin;
}

/// The first place behind `begin`, or `end`, that has another label.
template <class L>
SizeType endOfRun(const L* labels, SizeType begin, SizeType end) {
  const L label = labels[begin++];
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<L> tag;
  const SizeType lanes = hn::Lanes(tag);
  for (; begin + lanes <= end; begin += lanes) {
    const auto found = hn::FindFirstTrue(tag, hn::Ne(hn::LoadU(tag, labels + begin), hn::Set(tag, label)));
    if (found >= 0) {
      return begin + static_cast<SizeType>(found);
    }
  }
#endif
  while (begin < end && labels[begin] == label) {
    ++begin;
  }
  return begin;
}

/// Calls `run(label, begin, end)` for each run of one label that counts, in their order.
template <class L, class Run>
void forEachLabelRun(const L* labels, SizeType count, const LabelRange<L>& range, const Run& run) {
  for (SizeType begin = skipOtherLabels(labels, 0, count, range); begin < count;) {
    const SizeType end = endOfRun(labels, begin, count);
    run(labels[begin], begin, end);
    begin = end < count && range.holds(labels[end]) ? end : skipOtherLabels(labels, end, count, range);
  }
}

}  // namespace NORV::TaviOperators::Impl
