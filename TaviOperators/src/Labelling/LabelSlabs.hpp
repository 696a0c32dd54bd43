#pragma once

#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

#include <Labelling/ForegroundBits.hpp>
#include <Labelling/LabelTable.hpp>
#include <Labelling/RowLabels.hpp>

#include <algorithm>
#include <atomic>
#include <limits>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// Trees of labels that several threads join at once: the larger of two roots is pointed at the smaller one, so the
/// root of an object is its smallest label whatever the order (R. J. Anderson, H. Woll: Wait-free Parallel Algorithms
/// for the Union-Find Problem. STOC 1991).
template <class L>
class SharedForest {
public:
  explicit SharedForest(L* parents) : _parents(parents) {}

  /// Each label points at a root of before the first call, or is one. Appends the root that is none any more.
  void unite(L a, L b, std::vector<L>& joined) const {
    a = parentOf(a);
    b = parentOf(b);
    while ((a = root(a)) != (b = root(b))) {
      if (a < b) {
        std::swap(a, b);
      }
      L expected = a;
      if (std::atomic_ref<L>(_parents[a]).compare_exchange_strong(expected, b, std::memory_order_relaxed)) {
        joined.push_back(a);
        return;
      }
    }
  }
  /// Points a label, which was a root, at the one that its object has now. After all calls of `unite`.
  void flatten(L label) const { std::atomic_ref<L>(_parents[label]).store(root(label), std::memory_order_relaxed); }

private:
  L parentOf(L label) const { return std::atomic_ref<L>(_parents[label]).load(std::memory_order_relaxed); }

  /// Halves the way to the root for those that follow, unless another thread has changed it meanwhile.
  L root(L label) const {
    for (;;) {
      L parent = parentOf(label);
      const L next = parentOf(parent);
      if (parent == next) {
        return parent;
      }
      std::atomic_ref<L>(_parents[label]).compare_exchange_strong(parent, next, std::memory_order_relaxed);
      label = next;
    }
  }

  L* const _parents;
};

/// Labels slabs of slices in parallel, each from labels of its own, and joins them at their faces. The labels rise in
/// the order of the scan, as those of one scan over all slabs do, so the numbers of the objects are the same. There may
/// be more labels: a slab needs one where an object comes in from the slab before.
template <Neighbours set, class L>
class LabelSlabs {
public:
  LabelSlabs(OperatorBase& self, int threads, SizeType slabs, const View<L>& labels, const BitRows& bits,
             LabelTable<L>& table)
      : _self(self),
        _threads(threads),
        _labels(labels),
        _bits(bits),
        _table(table),
        _slabs(slabs) {
    for (SizeType i = 0; i < slabs; ++i) {
      _slabs[i].begin = labels.dimTert * i / slabs;
      _slabs[i].end = labels.dimTert * (i + 1) / slabs;
    }
  }

  /// Sets the bits of slices with `find(slice)` and counts labels. Returns whether the type has enough of them; nothing
  /// is written. After an abort all steps do nothing.
  template <class FindBits>
  bool count(const FindBits& find) {
    std::atomic<bool> isEnough{true};
    forEachSlab([&](Slab& slab) {
      const RowLabels<set, L> rows(_labels, _bits, slab.begin);
      for (SizeType tert = slab.begin; tert < slab.end && mayGoOn() && isEnough; ++tert) {
        find(tert);
        for (SizeType sec = 0; sec < _labels.dimSec; ++sec) {
          slab.count += rows.countFresh(sec, tert);
        }
        if (slab.count > std::numeric_limits<L>::max()) {
          isEnough = false;
        }
      }
    });
    SizeType next = 1;
    for (Slab& slab : _slabs) {
      slab.first = next;
      next += slab.count;
    }
    return isEnough && next - 1 <= std::numeric_limits<L>::max();
  }

  /// The labels of all slabs; each slice is a step of progress.
  void label() {
    const SizeType count = _slabs.back().first + _slabs.back().count - 1;
    _table.reserve(count);
    _table.setCount(count);
    forEachSlab([&](Slab& slab) {
      const RowLabels<set, L> rows(_labels, _bits, slab.begin);
      LabelForest<L> forest(_table.entries(), slab.first);
      for (SizeType tert = slab.begin; tert < slab.end && mayGoOn(); ++tert) {
        for (SizeType sec = 0; sec < _labels.dimSec; ++sec) {
          rows.labelRow(forest, sec, tert);
        }
        _self.advance();
      }
      L* const parents = _table.entries();
      for (SizeType label = slab.first; label < forest.next(); ++label) {
        parents[label] = parents[parents[label]];
      }
    });
  }

  /// Replaces each label by the number of its object and returns how many objects there are.
  SizeType number() {
    join();
    SizeType objects = 0;
    forEachSlab([this](Slab& slab) { findRoots(slab); });
    for (Slab& slab : _slabs) {
      slab.firstNumber = objects + 1;
      objects += slab.objects;
    }
    forEachSlab([this](Slab& slab) { numberRoots(slab); });
    forEachSlab([this](Slab& slab) { numberOthers(slab); });
    return objects;
  }

private:
  struct Slab {
    SizeType begin = 0, end = 0;    // slices
    SizeType first = 0, count = 0;  // labels
    std::vector<L> joined{};        // labels that were roots before the slabs were joined
    std::vector<uint64> roots{};    // of the labels, one bit each
    SizeType firstNumber = 0, objects = 0;
  };

  bool mayGoOn() const { return !_self.isAborted(); }

  template <class Body>
  void forEachSlab(const Body& body) {
    if (mayGoOn()) {
      forEachSlice(
          _self, _threads, _slabs.size(), Steps::silent, [&](SizeType i) { body(_slabs[i]); }, Schedule::dynamic);
    }
  }

  /// Joins each slab with the one before it.
  void join() {
    const SharedForest<L> forest(_table.entries());
    forEachSlab([&](Slab& slab) {
      if (slab.begin == 0) {
        return;
      }
      const RowLabels<set, L> rows(_labels, _bits, slab.begin);
      for (SizeType sec = 0; sec < _labels.dimSec; ++sec) {
        rows.joinRow(sec, [&](L a, L b) { forest.unite(a, b, slab.joined); });
      }
    });
    forEachSlab([&](Slab& slab) {
      for (const L label : slab.joined) {
        forest.flatten(label);
      }
    });
  }

  void findRoots(Slab& slab) const {
    const L* const parents = _table.entries() + slab.first;
    slab.roots.assign((slab.count + 63) / 64, 0);
    for (SizeType i = 0; i < slab.count; ++i) {
      const bool isRoot = parents[i] == slab.first + i;
      slab.roots[i / 64] |= uint64{isRoot} << i % 64;
      slab.objects += isRoot ? 1u : 0u;
    }
  }
  void numberRoots(const Slab& slab) const {
    L* const parents = _table.entries() + slab.first;
    auto number = static_cast<L>(slab.firstNumber);
    for (SizeType word = 0; word < slab.roots.size(); ++word) {
      forEachBit(slab.roots[word], [&](SizeType bit) { parents[64 * word + bit] = number++; });
    }
  }
  /// A label points at a root, or at one of its own slab that is smaller and has its number already.
  void numberOthers(const Slab& slab) const {
    L* const parents = _table.entries();
    for (SizeType i = 0; i < slab.count; ++i) {
      if ((slab.roots[i / 64] >> i % 64 & 1) == 0) {
        L& parent = parents[slab.first + i];
        parent = parents[parent];
      }
    }
  }

  OperatorBase& _self;
  const int _threads;
  const View<L> _labels;
  const BitRows& _bits;
  LabelTable<L>& _table;
  std::vector<Slab> _slabs;
};

}  // namespace NORV::TaviOperators::Impl
