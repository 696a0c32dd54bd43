#pragma once

#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

#include <Labelling/LabelBlocks.hpp>
#include <Labelling/ObjectSizes.hpp>

#include <algorithm>
#include <bit>
#include <limits>
#include <type_traits>

/// The three passes of a selection of objects.
namespace NORV::TaviOperators::Impl {

/// Tells the steps of a selection: each slice of each pass is one, and the abort is looked for before it.
class SelectionSteps {
public:
  SelectionSteps(OperatorBase& self, SizeType slices) : _self(self) { _self.setTotal(3 * slices); }
  bool begin() {
    _self.setDone(_done++);
    return mayGoOn();
  }
  bool mayGoOn() const { return !_self.isAborted(); }
  void end() {
    _self.setTotal(1);
    _self.setDone(1);
  }

private:
  OperatorBase& _self;
  SizeType _done = 0;
};

/// The passes that find the largest label and how often each occurs. Labels are mostly no more than voxels; as long as
/// that holds one way through the volume does both.
template <class L>
class ObjectMeasurement {
public:
  ObjectMeasurement(SelectionSteps& steps, const View<const L>& labels) : _steps(steps), _labels(labels) {}

  /// An empty table after an abort.
  [[gnu::noinline]] ObjectSizes run() {
    constexpr SizeType most = SizeType{1} << 24;
    ObjectSizes sizes =
        ObjectSizes::makeTable(std::min({_labels.size() + 1, most, SizeType{std::numeric_limits<L>::max()} + 1}));
    SizeType largest = 0, tert = 0;
    for (; tert < _labels.dimTert && largest < sizes.size(); ++tert) {
      if (!_steps.begin() || !_steps.begin()) {
        return {};
      }
      largest = std::max<SizeType>(largest, count(tert, sizes));
    }
    if (largest < sizes.size()) {
      sizes.shrink(largest + 1);
      return sizes;
    }
    const SizeType begun = tert;
    for (; tert < _labels.dimTert; ++tert) {
      if (!_steps.begin()) {
        return {};
      }
      largest = std::max<SizeType>(largest, largestIn(tert));
    }
    sizes = {};  // frees it before the next one is asked for
    const bool isSparse = largest >= std::max(most, _labels.size());
    sizes = isSparse ? ObjectSizes::makeSparse(largest + 1) : ObjectSizes::makeTable(largest + 1);
    for (tert = 0; tert < _labels.dimTert; ++tert) {
      if (!(tert < begun ? _steps.mayGoOn() : _steps.begin())) {
        return {};
      }
      count(tert, sizes);
    }
    return sizes;
  }

private:
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

  SelectionSteps& _steps;
  const View<const L> _labels;
};

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
  [[gnu::noinline]] bool run(SelectionSteps& steps) const {
    for (SizeType tert = 0; tert < _output.dimTert; ++tert) {
      if (!steps.begin()) {
        return false;
      }
      for (SizeType sec = 0; sec < _output.dimSec; ++sec) {
        copyRow(_labels.row(sec, tert), _input.row(sec, tert), _output.row(sec, tert));
      }
    }
    return true;
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
