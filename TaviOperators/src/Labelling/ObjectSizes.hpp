#pragma once

#include <Tavi/Types.hpp>

#include <Labelling/LabelBlocks.hpp>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <memory>
#include <new>
#include <unordered_map>

namespace NORV::TaviOperators::Impl {

/// Which sizes of objects are removed: those below a limit, or those from it on.
struct SizeRule {
  uint64 limit;
  bool isBelow;
  bool removes(uint64 size) const { return (size < limit) == isBelow; }
};

/// Sizes of the labels that occur, where a table up to the largest would be longer than the volume.
using SparseSizes = std::unordered_map<SizeType, uint64>;

/// Sizes to be looked up: a table with a 0 behind it, or sparse ones.
struct SizeTable {
  const uint64* sizes;
  SizeType count;
  const SparseSizes* sparse;

  /// 0 for a label without a voxel.
  uint64 of(SizeType label) const {
    if (sizes != nullptr) {
      return sizes[std::min(label, count)];
    }
    const auto found = sparse->find(label);
    return found != sparse->end() ? found->second : 0;
  }
};

/// The size of each object by its label. Memory of a table that no label touches is only set aside, so one large label
/// among small ones takes little; sparse sizes take memory by the labels that occur.
class ObjectSizes {
public:
  ObjectSizes() = default;
  static ObjectSizes makeTable(SizeType labels) {
    ObjectSizes table;
    table._sizes.reset(static_cast<uint64*>(std::calloc(labels + 1, sizeof(uint64))));
    table._count = labels;
    if (table._sizes == nullptr) {
      throw std::bad_alloc();
    }
    return table;
  }
  static ObjectSizes makeSparse(SizeType labels) {
    ObjectSizes sizes;
    sizes._count = labels;
    return sizes;
  }

  /// The number of labels, whether they occur or not.
  SizeType size() const { return _count; }
  /// Leaves out the labels from a number on, none of which has a voxel.
  void shrink(SizeType labels) { _count = std::min(_count, labels); }

  uint64& operator[](SizeType label) { return _sizes != nullptr ? _sizes[label] : _sparse[label]; }
  uint64 of(SizeType label) const { return table().of(label); }
  SizeTable table() const { return {_sizes.get(), _count, &_sparse}; }
  void add(SizeType label, uint64 voxels) {
    if (label < _count) {
      (*this)[label] += voxels;
    }
  }

  /// Adds the sizes of another table to the labels of a range.
  void addRange(const ObjectSizes& other, SizeType begin, SizeType end) {
    if (other.size() != 0) {
      uint64* const sizes = _sizes.get();
      const uint64* const others = other._sizes.get();
      for (SizeType label = begin; label < end; ++label) {
        sizes[label] += others[label];
      }
    }
  }

  uint64 largest() const {
    uint64 most = 0;
    forEachSize([&most](uint64 size) { most = std::max(most, size); });
    return most;
  }
  bool isSparse() const { return _sizes == nullptr; }
  uint64 countRemoved(SizeRule rule) const {
    uint64 removed = 0, seen = 0;
    forEachSize([&](uint64 size) {
      removed += rule.removes(size) ? 1u : 0u;
      ++seen;
    });
    return removed + (rule.removes(0) ? _count - seen : 0);
  }
  /// Of the labels of a range; not for sparse sizes.
  uint64 countRemoved(SizeRule rule, SizeType begin, SizeType end) const {
    const auto isRemoved = [rule](uint64 size) { return rule.removes(size); };
    return static_cast<uint64>(std::count_if(_sizes.get() + begin, _sizes.get() + end, isRemoved));
  }

private:
  struct Free {
    void operator()(uint64* sizes) const { std::free(sizes); }
  };

  template <class Body>
  void forEachSize(const Body& body) const {
    if (_sizes != nullptr) {
      std::for_each_n(_sizes.get(), _count, body);
    } else {
      for (const auto& [label, size] : _sparse) {
        body(size);
      }
    }
  }

  std::unique_ptr<uint64[], Free> _sizes;  // and a 0 behind them
  SparseSizes _sparse;
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
