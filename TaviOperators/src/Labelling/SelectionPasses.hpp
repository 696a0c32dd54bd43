#pragma once

#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Impl/Loops/Workers.hpp>
#include <Operator.hpp>

#include <Labelling/LabelBlocks.hpp>
#include <Labelling/ObjectSizes.hpp>

#include <algorithm>
#include <atomic>
#include <bit>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

/// The three passes of a selection of objects.
namespace NORV::TaviOperators::Impl {

/// How a selection runs: each slice of each pass is a step, slabs of slices are worked on in parallel.
class SelectionRun {
public:
  SelectionRun(OperatorBase& self, int threads, SizeType parts, SizeType slices)
      : _self(self),
        _threads(threads),
        _parts(parts),
        _slices(slices) {
    _self.setTotal(3 * slices);
  }
  SizeType parts() const { return _parts; }

  /// As `forEachSliceInParts`, with as many parts as are given.
  template <class Body>
  bool forEachSlice(SizeType parts, const Body& body) {
    return forEachSliceInParts(_self, _threads, parts, _slices, body);
  }
  void endSteps(int steps) {
    for (; steps > 0; --steps) {
      _self.advance();
    }
  }
  void end() {
    _self.setTotal(1);
    _self.setDone(1);
  }

  /// Runs `body(begin, end)` for ranges of so many labels, in parallel where these are many.
  template <class Body>
  void forEachRange(SizeType labels, const Body& body) {
    constexpr SizeType range = 65536;
    Unstoppable unstoppable;
    Impl::forEachSlice(unstoppable, _threads, (labels + range - 1) / range, Steps::silent,
                       [&](SizeType i) { body(i * range, std::min(labels, (i + 1) * range)); });
  }

private:
  OperatorBase& _self;
  const int _threads;
  const SizeType _parts, _slices;
};

/// The passes that find the largest label and how often each occurs. Labels are mostly no more than voxels; as long as
/// that holds one way through the volume does both. Each part counts in a table of its own. All tables together take no
/// more memory than the labels, or there is but one.
template <class L>
class ObjectMeasurement {
public:
  ObjectMeasurement(SelectionRun& run, const View<const L>& labels)
      : _run(run),
        _labels(labels),
        _isCounted(labels.dimTert),
        _largest(run.parts()) {}

  /// An empty table after an abort.
  [[gnu::noinline]] ObjectSizes run() {
    const SizeType most = mostInTables();
    std::vector<ObjectSizes> sizes(_run.parts());
    const bool isDone = _run.forEachSlice(sizes.size(), [&](SizeType part, SizeType tert) {
      ObjectSizes& mine = sizes[part];
      if (mine.size() == 0) {
        mine = ObjectSizes::makeTable(most);
      }
      if (_largest[part] < most) {
        _largest[part] = std::max<SizeType>(_largest[part], count(tert, mine));
        _isCounted[tert] = 1;
        _run.endSteps(2);
      }
    });
    if (!isDone) {
      return {};
    }
    if (largest() < most) {
      return sizes.empty() || sizes[0].size() == 0 ? ObjectSizes::makeTable(1) : sum(sizes);
    }
    sizes.clear();  // frees them before the next ones are asked for
    return runWithLargest();
  }

private:
  static constexpr SizeType longTable = SizeType{1} << 24;

  /// In how many tables of so many labels the labels are counted.
  SizeType tablesOf(SizeType labels) const {
    return std::clamp<SizeType>(_labels.size() * sizeof(L) / sizeof(uint64) / labels, 1, _run.parts());
  }
  /// How many labels the tables of all parts may have.
  SizeType mostInTables() const {
    const SizeType most = std::min({_labels.size() + 1, longTable, SizeType{std::numeric_limits<L>::max()} + 1});
    constexpr SizeType shortTable = 4096;
    const SizeType share = _labels.size() * sizeof(L) / sizeof(uint64) / _run.parts();
    return _run.parts() == 1 ? most : std::min(most, std::max(share, shortTable));
  }
  SizeType largest() const { return *std::max_element(_largest.begin(), _largest.end()); }

  /// The largest label of the slices that are left, then the sizes.
  ObjectSizes runWithLargest() {
    bool isDone = _run.forEachSlice(_run.parts(), [&](SizeType part, SizeType tert) {
      if (_isCounted[tert] == 0) {
        _largest[part] = std::max<SizeType>(_largest[part], largestIn(tert));
        _run.endSteps(1);
      }
    });
    if (!isDone) {
      return {};
    }
    const SizeType labels = largest() + 1;
    const bool isSparse = labels > std::max(longTable, _labels.size());
    std::vector<ObjectSizes> sizes(isSparse ? 1 : tablesOf(labels));
    isDone = _run.forEachSlice(sizes.size(), [&](SizeType part, SizeType tert) {
      ObjectSizes& mine = sizes[part];
      if (mine.size() == 0) {
        mine = isSparse ? ObjectSizes::makeSparse(labels) : ObjectSizes::makeTable(labels);
      }
      count(tert, mine);
      _run.endSteps(_isCounted[tert] != 0 ? 0 : 1);
    });
    return isDone ? sum(sizes) : ObjectSizes();
  }

  /// All sizes in the first table, up to the largest label.
  ObjectSizes sum(std::vector<ObjectSizes>& sizes) {
    ObjectSizes& all = sizes[0];
    all.shrink(largest() + 1);
    if (sizes.size() > 1) {
      _run.forEachRange(all.size(), [&](SizeType begin, SizeType end) {
        for (SizeType part = 1; part < sizes.size(); ++part) {
          all.addRange(sizes[part], begin, end);
        }
      });
    }
    return std::move(all);
  }

  L largestIn(SizeType tert) const {
    L largest = 0;
    for (SizeType sec = 0; sec < _labels.dimSec; ++sec) {
      largest = std::max(largest, largestLabel(_labels.row(sec, tert), _labels.stridePrim, _labels.dimPrim));
    }
    return largest;
  }
  L count(SizeType tert, ObjectSizes& sizes) const {
    L largest = 0;
    for (SizeType sec = 0; sec < _labels.dimSec; ++sec) {
      largest = std::max(largest, countLabels(_labels.row(sec, tert), _labels.stridePrim, _labels.dimPrim, sizes));
    }
    return largest;
  }

  SelectionRun& _run;
  const View<const L> _labels;
  std::vector<uint8> _isCounted;   // slice by slice
  std::vector<SizeType> _largest;  // part by part
};

/// How many labels are removed.
inline uint64 countRemoved(SelectionRun& run, const ObjectSizes& sizes, SizeRule rule) {
  if (sizes.isSparse()) {
    return sizes.countRemoved(rule);
  }
  std::atomic<uint64> removed{0};
  run.forEachRange(sizes.size(), [&](SizeType begin, SizeType end) {
    removed.fetch_add(sizes.countRemoved(rule, begin, end), std::memory_order_relaxed);
  });
  return removed;
}

/// The pass that copies. Input and labels share no voxel with the output, or each voxel with the one at its position.
template <class T, class L>
class SelectedCopy {
  using Dense = std::integral_constant<int64, 1>;

public:
  SelectedCopy(const ObjectSizes& sizes, SizeRule rule, const View<const L>& labels, const View<const T>& input,
               const View<T>& output, T substitution)
      : _sizes(sizes),
        _rule(rule),
        _labels(labels),
        _input(input),
        _output(output),
        _substitution(substitution),
        _isInPlace(aliasingOf(input, output) == Aliasing::identical),
        _inBlocks(labels.hasDenseRows() && input.hasDenseRows() && output.hasDenseRows()) {}

  /// Whether the copy was finished.
  [[gnu::noinline]] bool run(SelectionRun& run) const {
    return run.forEachSlice(run.parts(), [&](SizeType, SizeType tert) {
      for (SizeType sec = 0; sec < _output.dimSec; ++sec) {
        copyRow(_labels.row(sec, tert), _input.row(sec, tert), _output.row(sec, tert));
      }
      run.endSteps(1);
    });
  }

private:
  void copyRow(const L* labels, const T* from, T* to) const {
    const SizeType count = _output.dimPrim;
    if (!_inBlocks) {
      copyEach(labels, _labels.stridePrim, from, _input.stridePrim, to, _output.stridePrim, count);
      return;
    }
    forEachLabelBlock(
        labels, count,
        [&](L label, SizeType begin, SizeType end) {
          if (_rule.removes(_sizes.of(label))) {
            std::fill(to + begin, to + end, _substitution);
          } else if (!_isInPlace) {
            std::copy(from + begin, from + end, to + begin);
          }
        },
        [&](SizeType begin, uint32 others) { copyMixed(labels + begin, others, from + begin, to + begin); },
        [&](SizeType begin) { copyEach(labels + begin, from + begin, to + begin, count - begin); });
  }
  /// A block of two or three labels by label, one of more by voxel.
  void copyMixed(const L* labels, uint32 others, const T* from, T* to) const {
    uint32 removed = _rule.removes(_sizes.of(labels[0])) ? ~others : 0;
    for (int more = 2; more > 0 && others != 0; --more) {
      const L label = labels[std::countr_zero(others)];
      const uint32 rest = others & otherLabels(labels, label);
      removed |= _rule.removes(_sizes.of(label)) ? others ^ rest : 0;
      others = rest;
    }
    if (others == 0) {
      copyBlock(from, to, removed, _substitution);
    } else {
      copyEach(labels, from, to, labelBlock);
    }
  }
  void copyEach(const L* labels, const T* from, T* to, SizeType count) const {
    copyEach(labels, Dense(), from, Dense(), to, Dense(), count);
  }
  /// Without a branch: in small objects none would be foreseen.
  template <class Stride>
  void copyEach(const L* labels, Stride labelStride, const T* from, Stride fromStride, T* to, Stride toStride,
                SizeType count) const {
    const SizeTable sizes = _sizes.table();
    const SizeRule rule = _rule;
    const T substitution = _substitution;
    for (SizeType i = 0; i < count; ++i) {
      const T kept = static_cast<T>(static_cast<T>(rule.removes(sizes.of(*labels))) - T(1));
      *to = static_cast<T>((*from & kept) | (substitution & ~kept));
      labels += labelStride;
      from += fromStride;
      to += toStride;
    }
  }

  const ObjectSizes& _sizes;
  const SizeRule _rule;
  const View<const L> _labels;
  const View<const T> _input;
  const View<T> _output;
  const T _substitution;
  const bool _isInPlace, _inBlocks;
};

}  // namespace NORV::TaviOperators::Impl
