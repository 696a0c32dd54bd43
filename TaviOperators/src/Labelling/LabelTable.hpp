#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <limits>
#include <memory>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Which labels belong to one object: entry i is i for a root, otherwise a smaller label of the same object. The root
/// is the smallest label of its object; label 0 is the background. New labels follow those before them.
template <class L>
class LabelForest {
public:
  LabelForest(L* parents, SizeType next) : _parents(parents), _next(next) {}

  const L* entries() const { return _parents; }
  /// One more than the last label.
  SizeType next() const { return _next; }

  /// A label of its own; there must be an entry for it.
  L create() {
    const L label = static_cast<L>(_next++);
    _parents[label] = label;
    return label;
  }

  L root(L label) const {
    while (_parents[label] != label) {
      label = _parents[label];
    }
    return label;
  }

  /// Makes one object of two.
  void unite(L a, L b) {
    if (_parents[a] != _parents[b]) {
      const L smallest = std::min(root(a), root(b));
      redirect(a, smallest);
      redirect(b, smallest);
    }
  }

  /// Points the whole chain of a label, the root as well, at another root.
  void redirect(L label, L root) {
    for (L parent = _parents[label]; parent != root; parent = _parents[label]) {
      _parents[label] = root;
      label = parent;
    }
  }

private:
  L* _parents;
  SizeType _next;
};

/// The memory of such labels.
template <class L>
class LabelTable {
public:
  /// Forgets all labels. The block stays if its capacity is the expected one.
  void reset(SizeType expected) {
    const SizeType capacity = std::max<SizeType>(1, expected);
    if (_capacity != capacity) {
      _entries.reset();  // before the next block is asked for
      _capacity = 0;
      _entries = std::make_unique_for_overwrite<L[]>(capacity);
      _capacity = capacity;
    }
    _step = capacity;
    clear();
  }
  void clear() {
    _entries[0] = 0;
    _count = 0;
  }

  /// How many labels there are beside the background.
  SizeType count() const { return _count; }
  /// How many labels the type can still take.
  SizeType room() const { return std::numeric_limits<L>::max() - _count; }
  /// For how many labels there are entries.
  SizeType free() const { return _capacity - 1 - _count; }
  const L* entries() const { return _entries.get(); }
  L* entries() { return _entries.get(); }

  /// The labels as a forest, valid as long as the table does not grow. New ones are to be reported with `setCount`.
  LabelForest<L> forest() { return {_entries.get(), _count + 1}; }
  void setCount(SizeType count) { _count = count; }

  /// Entries for so many labels more. By as many steps at once as double a large table: step by step, the time would
  /// grow with the square of the labels.
  [[gnu::noinline]] void reserve(SizeType labels) {
    if (labels <= free()) {
      return;
    }
    const SizeType missing = (labels - free() - 1) / _step + 1;
    const SizeType capacity = _capacity + std::max(missing, _capacity / _step) * _step;
    auto entries = std::make_unique_for_overwrite<L[]>(capacity);
    std::copy_n(_entries.get(), _count + 1, entries.get());
    _entries = std::move(entries);
    _capacity = capacity;
  }

  /// Replaces each label by the number of its object, from 1 on in the order of the roots. Returns how many there are.
  SizeType renumber() {
    L* const parents = _entries.get();
    SizeType objects = 0;
    for (SizeType label = 1; label <= _count; ++label) {
      parents[label] = parents[label] == label ? static_cast<L>(++objects) : parents[parents[label]];
    }
    return objects;
  }

private:
  SizeType _step = 1, _capacity = 0, _count = 0;
  std::unique_ptr<L[]> _entries;
};

}  // namespace NORV::TaviOperators::Impl
