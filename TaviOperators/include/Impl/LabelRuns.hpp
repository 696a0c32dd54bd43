#pragma once

#include <Tavi/Types.hpp>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The labels that count.
template <class L>
struct LabelRange {
  L from = 0, to = 0;
  bool holds(L label) const { return from <= label && label <= to; }
};

/// The first place from `begin` on, before `end`, whose label counts.
template <class L>
SizeType skipOtherLabels(const L* labels, SizeType begin, SizeType end, const LabelRange<L>& range) {
  while (begin < end && !range.holds(labels[begin])) {
    ++begin;
  }
  return begin;
}

/// The first place behind `begin`, before `end`, that has another label.
template <class L>
SizeType endOfRun(const L* labels, SizeType begin, SizeType end) {
  const L label = labels[begin];
  do {
    ++begin;
  } while (begin < end && labels[begin] == label);
  return begin;
}

/// Calls `run(label, begin, end)` for each run of one label that counts, in their order.
template <class L, class Run>
void forEachLabelRun(const L* labels, SizeType count, const LabelRange<L>& range, const Run& run) {
  for (SizeType begin = skipOtherLabels(labels, 0, count, range); begin < count;) {
    const SizeType end = endOfRun(labels, begin, count);
    run(labels[begin], begin, end);
    begin = skipOtherLabels(labels, end, count, range);
  }
}

}  // namespace NORV::TaviOperators::Impl
