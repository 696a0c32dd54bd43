#pragma once

#include <Array.hpp>
#include <Impl/Dispatch.hpp>
#include <Impl/LabelOverflow.hpp>
#include <Impl/RowBits.hpp>
#include <Impl/View.hpp>
#include <Impl/VoxelTypeDispatch.hpp>
#include <Operator.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

/// Labelling of connected components by two passes over the output, which holds provisional labels in between.
///
/// A. Rosenfeld, J. L. Pfaltz: Sequential Operations in Digital Picture Processing. Journal of the ACM 13 (1966); on
/// runs instead of voxels: L. He, Y. Chao, K. Suzuki: A Run-Based Two-Scan Labeling Algorithm. IEEE Transactions on
/// Image Processing 17 (2008).
///
/// Extra memory: the table of provisional labels, which stays with the operator, and two bits per voxel of a slice. One
/// thread, as each row needs those before it.
namespace NORV::TaviOperators::Impl {

/// Which voxels touch: those that share a face, or also those that share an edge or a corner.
enum class Connectivity { faces, all };

/// The parameter object of both operators; `Traits` names the operator.
template <class Derived, class Traits>
class LabellingParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputFirstVolume;
  Property<IData> inputBackgroundValue;
  Property<uint64> inputExpectedNumberOfLabels;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<uint64> outputNumberOfLabels;

  LabellingParameter() {
    this->append("inputFirstVolume", inputFirstVolume, {Takes::volume, required, "volume whose objects are labelled"});
    this->append("inputBackgroundValue", inputBackgroundValue,
                 {Takes::likeInput, required, "voxels of this grey value belong to no object"});
    this->append("inputExpectedNumberOfLabels", inputExpectedNumberOfLabels,
                 {Takes::count, optional, "first size and growth step of the label table; limits nothing"});
    this->append("outputVolume", outputVolume,
                 {Takes::volume, optional, "labels, uint8, uint16 or uint32; of the input's voxel type if absent"});
    this->append("outputNumberOfLabels", outputNumberOfLabels,
                 {Takes::count, optional, "number of objects plus one, for the background"});
    inputExpectedNumberOfLabels = 65536;
  }
  std::string getType() const override { return Traits::names.parameterType(); }
};

/// The provisional labels: entry i is i for a root, else a smaller label of the same object.
template <class Label>
class LabelTable {
public:
  /// Keeps the memory if it has the capacity asked for.
  void begin(SizeType capacity) {
    if (_entries.capacity() != capacity) {
      _entries = Array<Label>();
      _entries = Array<Label>(capacity, capacity);
    }
    _entries.clear();
    _entries.append(0);
    _last = 0;
  }

  /// False if the labels are used up.
  bool add() {
    if (_last == std::numeric_limits<Label>::max()) {
      return false;
    }
    ++_last;
    _entries.append(_last);
    return true;
  }
  Label last() const { return _last; }

  /// The root of a label, on the way to which every other entry is shortened.
  Label rootOf(Label label) {
    Label* const entries = _entries.data();
    while (entries[label] != label) {
      entries[label] = entries[entries[label]];
      label = entries[label];
    }
    return label;
  }
  /// Joins two roots; the smaller stays one.
  Label join(Label first, Label second) {
    const auto [low, high] = std::minmax(first, second);
    _entries.data()[high] = low;
    return low;
  }

  /// Replaces the provisional labels by consecutive ones, in the order of the roots. Returns how many objects there
  /// are.
  uint64 renumber() {
    Label* const entries = _entries.data();
    Label objects = 0;
    for (SizeType i = 1; i <= _last; ++i) {
      entries[i] = entries[i] == i ? ++objects : entries[entries[i]];
    }
    return objects;
  }
  Label operator[](Label label) const { return _entries.data()[label]; }

private:
  Array<Label> _entries;
  Label _last = 0;
};

/// The first pass over one row: its runs of foreground are labelled by the rows around it that are done already.
template <Connectivity connectivity, class Label>
class RunLabelling {
public:
  /// A row that is done, and its labels.
  struct Neighbour {
    RowBits bits;
    const Label* labels;
  };
  static constexpr std::size_t neighbours = connectivity == Connectivity::all ? 4 : 2;
  using Neighbours = std::array<Neighbour, neighbours>;

  RunLabelling(LabelTable<Label>& table, int64 stride, int64 length)
      : _table(table),
        _stride(stride),
        _length(length) {}

  /// False if the labels are used up.
  bool operator()(const RowBits& bits, const Neighbours& around, Label* labels) {
    int64 done = 0;
    for (;;) {
      const int64 begin = bits.find(true, done, _length);
      fill(labels, done, begin, 0);
      if (begin == _length) {
        return true;
      }
      done = bits.find(false, begin, _length);
      Label label = 0;
      if (!touches(around, begin)) {
        if (!_table.add()) {
          return false;
        }
        label = _table.last();
      }
      fill(labels, begin, done, joinAll(around, begin, done, label));
    }
  }

private:
  static constexpr int64 reach = connectivity == Connectivity::all ? 1 : 0;

  /// Whether a voxel has a neighbour in the rows around.
  static bool touches(const Neighbours& around, int64 place) {
    uint64 any = 0;
    for (const Neighbour& row : around) {
      any |= row.bits.from(place - reach, 2 * reach + 1);
    }
    return any != 0;
  }

  /// The root of all that the run from `begin` to `end` touches, joined with `label` unless that is 0.
  Label joinAll(const Neighbours& around, int64 begin, int64 end, Label label) {
    constexpr int64 step = 56;
    const int64 first = begin - reach, behind = end + reach;
    for (const Neighbour& row : around) {
      uint64 before = 0;
      for (int64 place = first; place < behind; place += step) {
        const auto count = static_cast<SizeType>(std::min(step, behind - place));
        const uint64 bits = row.bits.from(place, count);
        // One voxel of each run will do.
        for (uint64 starts = bits & ~(bits << 1 | before); starts != 0; starts &= starts - 1) {
          const Label root = _table.rootOf(row.labels[(place + std::countr_zero(starts)) * _stride]);
          label = label == 0 || label == root ? root : _table.join(label, root);
        }
        before = bits >> (step - 1) & 1;
      }
    }
    return label;
  }

  void fill(Label* labels, int64 begin, int64 end, Label label) const {
    if (_stride == 1) {
      std::fill(labels + begin, labels + end, label);
      return;
    }
    for (int64 i = begin; i < end; ++i) {
      labels[i * _stride] = label;
    }
  }

  LabelTable<Label>& _table;
  const int64 _stride, _length;
};

/// The second pass over one row.
template <class Label>
[[gnu::noinline]] void replaceLabels(const LabelTable<Label>& table, Label* labels, int64 stride, SizeType count) {
  const auto length = static_cast<int64>(count);
  for (int64 i = 0; i < length;) {
    const Label label = labels[i * stride];
    if (stride == 1 && label == 0) {
      // Empty stretches are passed eight bytes at a time.
      constexpr auto step = static_cast<int64>(sizeof(uint64) / sizeof(Label));
      uint64 word = 0;
      while (length - i >= step && (std::memcpy(&word, labels + i, sizeof word), word == 0)) {
        i += step;
      }
      while (i < length && labels[i] == 0) {
        ++i;
      }
      continue;
    }
    const Label final = label <= table.last() ? table[label] : label;
    for (; i < length && labels[i * stride] == label; ++i) {
      labels[i * stride] = final;
    }
  }
}

/// `Traits` gives the connectivity, the names, and the failure for labels that are used up.
template <class Derived, class Parameter, class Traits, class InputPtr, class OutputPtr>
class LabellingOperator : public TaviOperators::Operator<Derived> {
  using In = VoxelOf<InputPtr>;
  using Label = VoxelOf<OutputPtr>;
  using Labelling = RunLabelling<Traits::connectivity, Label>;

public:
  std::string getType() const override { return voxelTypeIdentifier<InputPtr, OutputPtr>(Traits::names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    // Both operators speak of the one that connects faces.
    constexpr Names names{"CityblockConnectedComponentsAnalysis"};
    const auto parameter = castParameter<Parameter>(composite, names.inApply());
    parameter->outputNumberOfLabels = 0;
    const InputPtr input(parameter->inputFirstVolume.value());
    requireGiven(input, names.inApply(" input volume is NULL"));
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    parameter->outputVolume = output;
    const In background = parameter->inputBackgroundValue.template extractValue<In>();
    const uint64 expected = parameter->inputExpectedNumberOfLabels.value();
    _table.begin(std::max<uint64>(expected, 1));

    const View<const In> from = viewOf(std::as_const(*input));
    const View<Label> to = viewOf(*output);
    const SizeType steps = std::max<SizeType>(2 * to.dimTert, 1);
    this->setTotal(steps);
    if (!labelRuns(from, to, background)) {
      return;
    }
    const uint64 objects = _table.renumber();
    for (SizeType tert = 0; tert < to.dimTert; ++tert) {
      if (!beginStep(to.dimTert + tert)) {
        return;
      }
      for (SizeType sec = 0; sec < to.dimSec; ++sec) {
        replaceLabels(_table, to.row(sec, tert), to.stridePrim, to.dimPrim);
      }
    }
    parameter->outputNumberOfLabels = objects + 1;
    this->setDone(steps);
  }

private:
  bool beginStep(SizeType done) {
    this->setDone(done);
    return !this->isAborted();
  }

  /// The first pass; false after an abort.
  bool labelRuns(const View<const In>& from, const View<Label>& to, In background) {
    SliceBits bits(from.dimPrim, from.dimSec);
    Labelling label(_table, to.stridePrim, static_cast<int64>(to.dimPrim));
    for (SizeType tert = 0; tert < to.dimTert; ++tert) {
      if (!beginStep(tert)) {
        return false;
      }
      bits.nextSlice();
      for (SizeType sec = 0; sec < to.dimSec; ++sec) {
        const auto row = static_cast<int64>(sec);
        writeRowBits(from.row(sec, tert), from.stridePrim, from.dimPrim, background, bits.current(row));
        if (!label(bits.currentBits(row), neighboursOf(bits, to, row, tert), to.row(sec, tert))) {
          Traits::template throwOverflow<In>();
        }
      }
    }
    return true;
  }

  /// Rows outside of the volume are background, so that their labels are never looked at.
  static typename Labelling::Neighbours neighboursOf(SliceBits& bits, const View<Label>& to, int64 sec, SizeType tert) {
    const auto labels = [&](int64 otherSec, SizeType otherTert) -> const Label* {
      const bool isInside = otherSec >= 0 && otherSec < static_cast<int64>(to.dimSec);
      return isInside ? to.row(static_cast<SizeType>(otherSec), otherTert) : nullptr;
    };
    const SizeType before = tert > 0 ? tert - 1 : 0;
    if constexpr (Traits::connectivity == Connectivity::all) {
      return {{{bits.previousBits(sec - 1), labels(sec - 1, before)},
               {bits.previousBits(sec), labels(sec, before)},
               {bits.previousBits(sec + 1), labels(sec + 1, before)},
               {bits.currentBits(sec - 1), labels(sec - 1, tert)}}};
    } else {
      return {{{bits.previousBits(sec), labels(sec, before)}, {bits.currentBits(sec - 1), labels(sec - 1, tert)}}};
    }
  }

  LabelTable<Label> _table;
};

/// The typed operator that fits the volumes of a parameter object; the labels are of the input's voxel type if no
/// output is given.
template <class Parameter>
SmartPointer<IOperator> createLabellingOperator(const Names& names, const SmartPointer<IComposite>& composite) {
  const auto parameter = castParameter<Parameter>(composite, names.inFrame("invalid parameter object!"));
  return createByVoxelTypes(names, parameter->inputFirstVolume.value(), parameter->outputVolume.value());
}

}  // namespace NORV::TaviOperators::Impl
