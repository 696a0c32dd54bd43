#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Which sizes of objects are removed: those below a limit, or those from it on.
struct SizeRule {
  uint64 limit;
  bool isBelow;
  bool removes(uint64 size) const { return (size < limit) == isBelow; }
};

/// The size of each object by its label. Memory that no label touches is only set aside, so one large label among
/// small ones takes little.
class ObjectSizes {
public:
  ObjectSizes() = default;
  explicit ObjectSizes(SizeType labels)
      : _sizes(static_cast<uint64*>(std::calloc(labels, sizeof(uint64)))),
        _count(labels) {
    if (_sizes == nullptr) {
      throw std::bad_alloc();
    }
  }

  SizeType size() const { return _count; }
  uint64& operator[](SizeType label) { return _sizes[label]; }
  uint64 operator[](SizeType label) const { return _sizes[label]; }

  uint64 largest() const { return *std::max_element(_sizes.get(), _sizes.get() + _count); }
  uint64 countRemoved(SizeRule rule) const {
    return static_cast<uint64>(
        std::count_if(_sizes.get(), _sizes.get() + _count, [rule](uint64 size) { return rule.removes(size); }));
  }

private:
  struct Free {
    void operator()(uint64* sizes) const { std::free(sizes); }
  };
  std::unique_ptr<uint64[], Free> _sizes;
  SizeType _count = 0;
};

template <class L>
L largestLabel(const L* label, int64 stride, SizeType count) {
  L largest = 0;
  if (stride == 1) {
    for (SizeType i = 0; i < count; ++i) {
      largest = std::max(largest, label[i]);
    }
  } else {
    for (SizeType i = 0; i < count; ++i, label += stride) {
      largest = std::max(largest, *label);
    }
  }
  return largest;
}

/// Counts by runs: neighbours mostly have the same label, and each count would wait for the one before.
template <class L>
void countLabels(const L* label, int64 stride, SizeType count, ObjectSizes& sizes) {
  for (SizeType begin = 0; begin < count;) {
    const L current = *label;
    SizeType end = begin;
    do {
      ++end;
      label += stride;
    } while (end < count && *label == current);
    sizes[current] += end - begin;
    begin = end;
  }
}

}  // namespace NORV::TaviOperators::Impl
