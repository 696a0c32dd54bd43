#pragma once

#include <Array.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <limits>
#include <utility>

namespace NORV::TaviOperators::Impl {

/// Which labels belong to one object: entry i is i for a root, otherwise a smaller label of the same object. The root
/// is the smallest label of its object; label 0 is the background.
template <class L>
class LabelTable {
public:
  /// Forgets all labels. The block stays if its capacity is the expected one.
  void reset(SizeType expected) {
    const SizeType capacity = std::max<SizeType>(1, expected);
    if (_entries.capacity() != capacity) {
      static_cast<void>(Array<L>(std::move(_entries)));  // frees it before the next one is asked for
      _entries = Array<L>(capacity, capacity);
    }
    _step = capacity;
    _entries.setGrowthStep(capacity);
    clear();
  }
  void clear() {
    _entries.clear();
    _entries.append(0);
  }

  /// How many labels there are beside the background.
  SizeType count() const { return _entries.size() - 1; }
  /// How many labels the type can still take.
  SizeType room() const { return std::numeric_limits<L>::max() - count(); }
  const L* entries() const { return _entries.data(); }

  /// A label of its own; there must be room for it.
  L create() {
    if (_entries.size() == _entries.capacity()) {
      growFaster();
    }
    const L label = static_cast<L>(_entries.size());
    _entries.append(label);
    return label;
  }

  L root(L label) const {
    const L* const parents = _entries.data();
    while (parents[label] != label) {
      label = parents[label];
    }
    return label;
  }

  /// Makes one object of two.
  void unite(L a, L b) {
    const L* const parents = _entries.data();
    if (parents[a] != parents[b]) {
      const L smallest = std::min(root(a), root(b));
      redirect(a, smallest);
      redirect(b, smallest);
    }
  }

  /// Points the whole chain of a label, the root as well, at another root.
  void redirect(L label, L root) {
    L* const parents = _entries.data();
    for (L parent = parents[label]; parent != root; parent = parents[label]) {
      parents[label] = root;
      label = parent;
    }
  }

  /// Replaces each label by the number of its object, from 1 on in the order of the roots. Returns how many there are.
  L renumber() {
    L* const parents = _entries.data();
    L objects = 0;
    for (SizeType label = 1; label < _entries.size(); ++label) {
      parents[label] = parents[label] == label ? ++objects : parents[parents[label]];
    }
    return objects;
  }

private:
  /// By as many steps at once as double a large table: step by step, the time would grow with the square of the labels.
  [[gnu::noinline]] void growFaster() {
    const SizeType capacity = _entries.capacity();
    _entries.setGrowthStep(capacity / _step * _step);
  }

  SizeType _step = 1;
  Array<L> _entries;
};

}  // namespace NORV::TaviOperators::Impl
