#pragma once

#include <Tavi/Types.hpp>

#include <Labelling/LabelBlocks.hpp>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <memory>
#include <new>

namespace NORV::TaviOperators::Impl {

/// Which sizes of objects are removed: those below a limit, or those from it on.
struct SizeRule {
  uint64 limit;
  bool isBelow;
  bool removes(uint64 size) const { return (size < limit) == isBelow; }
};

/// Sizes to be looked up, and a 0 behind them.
struct SizeTable {
  const uint64* sizes;
  SizeType count;
  /// 0 for a label beyond the largest.
  uint64 of(SizeType label) const { return sizes[std::min(label, count)]; }
};

/// The size of each object by its label. Memory that no label touches is only set aside, so one large label among
/// small ones takes little.
class ObjectSizes {
public:
  ObjectSizes() = default;
  explicit ObjectSizes(SizeType labels)
      : _sizes(static_cast<uint64*>(std::calloc(labels + 1, sizeof(uint64)))),
        _count(labels) {
    if (_sizes == nullptr) {
      throw std::bad_alloc();
    }
  }

  SizeType size() const { return _count; }
  /// Leaves out the labels from a number on, none of which has a voxel.
  void shrink(SizeType labels) { _count = std::min(_count, labels); }

  uint64& operator[](SizeType label) { return _sizes[label]; }
  uint64 of(SizeType label) const { return table().of(label); }
  SizeTable table() const { return {_sizes.get(), _count}; }
  void add(SizeType label, uint64 voxels) {
    if (label < _count) {
      _sizes[label] += voxels;
    }
  }

  uint64 largest() const { return *std::max_element(_sizes.get(), _sizes.get() + _count); }
  uint64 countRemoved(SizeRule rule) const {
    return static_cast<uint64>(
        std::count_if(_sizes.get(), _sizes.get() + _count, [rule](uint64 size) { return rule.removes(size); }));
  }

private:
  struct Free {
    void operator()(uint64* sizes) const { std::free(sizes); }
  };
  std::unique_ptr<uint64[], Free> _sizes;  // and a 0 behind them
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

/// Counts stretches at once: neighbours mostly have the same label, and each count would wait for the one before.
/// Returns the largest label; one beyond the table is not counted.
template <class L>
L countLabels(const L* labels, int64 stride, SizeType count, ObjectSizes& sizes) {
  L largest = 0;
  const auto add = [&](L label, SizeType voxels) {
    largest = std::max(largest, label);
    sizes.add(label, voxels);
  };
  const auto each = [&](SizeType begin) {
    for (SizeType i = begin; i < count; ++i) {
      add(labels[static_cast<int64>(i) * stride], 1);
    }
  };
  if (stride != 1) {
    each(0);
    return largest;
  }
  forEachLabelBlock(
      labels, count, [&](L label, SizeType begin, SizeType end) { add(label, end - begin); },
      [&](SizeType begin, uint32 others) {
        add(labels[begin], labelBlock - static_cast<SizeType>(std::popcount(others)));
        while (others != 0) {
          const L label = labels[begin + static_cast<SizeType>(std::countr_zero(others))];
          const uint32 rest = others & otherLabels(labels + begin, label);
          add(label, static_cast<SizeType>(std::popcount(others ^ rest)));
          others = rest;
        }
      },
      each);
  return largest;
}

}  // namespace NORV::TaviOperators::Impl
