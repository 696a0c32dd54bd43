#pragma once

#include <Impl/Dispatch.hpp>
#include <Impl/View.hpp>
#include <Operator.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

/// Removal of objects by their number of voxels, which a label volume tells: removed voxels take a substitution value,
/// all others are copied.
///
/// Extra memory: 9 bytes per label value up to the largest that occurs. One thread.
namespace NORV::TaviOperators::Impl {

/// The parameter objects of the four operators; `Rule` says which of the keys there are.
template <class Derived, class Rule>
class SelectionParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> inputLabelVolume;
  Property<uint64> inputThreshold;
  Property<bool> inputBackgroundLabelEnabled;
  Property<IData> inputBackgroundLabel;
  Property<IData> inputSubstitutionValue;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<uint64> outputNumberOfRemovedObjects;

  SelectionParameter() {
    this->append("inputVolume", inputVolume, {Takes::volume, required, "grey values, uint8, uint16 or uint32"});
    this->append("inputLabelVolume", inputLabelVolume,
                 {Takes::volume, required, "labels of the same extents, uint8, uint16 or uint32"});
    if constexpr (Rule::hasThreshold) {
      this->append("inputThreshold", inputThreshold, {Takes::count, optional, "limit of the size, in voxels"});
    }
    this->append("inputBackgroundLabelEnabled", inputBackgroundLabelEnabled,
                 {Takes::flag, optional, "whether one label is protected from removal"});
    this->append("inputBackgroundLabel", inputBackgroundLabel,
                 {Takes::number, optional, "the protected label, of the voxel type of the labels"});
    this->append("inputSubstitutionValue", inputSubstitutionValue,
                 {Takes::likeInput, required, "grey value of removed voxels"});
    this->append("outputVolume", outputVolume, {Takes::volume, optional, "result; made if absent"});
    if constexpr (Rule::hasThreshold) {
      this->append("outputNumberOfRemovedObjects", outputNumberOfRemovedObjects,
                   {Takes::count, optional, "how many labels met the test"});
    }
  }
  std::string getType() const override { return Rule::names.parameterType(); }
};

/// How many voxels have each label, from 0 to the largest one.
using LabelCounts = std::vector<uint64>;

template <class L>
L largestLabel(const L* labels, SizeType count) {
  L largest = 0;
  for (SizeType i = 0; i < count; ++i) {
    largest = std::max(largest, labels[i]);
  }
  return largest;
}

/// Calls `run(label, begin, end)` for each stretch of one label.
template <class L, class Run>
void forEachStretch(const L* labels, SizeType count, const Run& run) {
  for (SizeType begin = 0; begin < count;) {
    const L label = labels[begin];
    SizeType end = begin + 1;
    while (end < count && labels[end] == label) {
      ++end;
    }
    run(label, begin, end);
    begin = end;
  }
}

/// A row of a view as dense memory, gathered where it is not.
template <class T>
class DenseRow {
public:
  explicit DenseRow(const View<const T>& view) : _view(view), _buffer(view.hasDenseRows() ? 0 : view.dimPrim) {}

  const T* at(SizeType sec, SizeType tert) {
    const T* const row = _view.row(sec, tert);
    if (_view.hasDenseRows()) {
      return row;
    }
    for (SizeType i = 0; i < _view.dimPrim; ++i) {
      _buffer[i] = row[static_cast<int64>(i) * _view.stridePrim];
    }
    return _buffer.data();
  }

private:
  const View<const T>& _view;
  std::vector<T> _buffer;
};

/// Counts the voxels of a slice; the table grows to its largest label.
template <class L>
[[gnu::noinline]] void countSlice(const View<const L>& labels, SizeType tert, DenseRow<L>& row, LabelCounts& counts) {
  for (SizeType sec = 0; sec < labels.dimSec; ++sec) {
    const L* const dense = row.at(sec, tert);
    const SizeType needed = SizeType{largestLabel(dense, labels.dimPrim)} + 1;
    if (needed > counts.size()) {
      counts.resize(needed);
    }
    forEachStretch(dense, labels.dimPrim, [&](L label, SizeType begin, SizeType end) {
      if (label < counts.size()) {  // another thread may change a host's memory
        counts[label] += end - begin;
      }
    });
  }
}

/// Writes a slice of the result. Labels beyond the table, which an output in the memory of the labels can bring about,
/// stay.
template <class T, class L>
[[gnu::noinline]] void selectSlice(const View<const T>& input, const View<const L>& labels, const View<T>& output,
                                   SizeType tert, DenseRow<L>& row, const std::vector<uint8>& isRemoved,
                                   T substitution) {
  const bool areDense = input.hasDenseRows() && output.hasDenseRows();
  for (SizeType sec = 0; sec < labels.dimSec; ++sec) {
    const L* const dense = row.at(sec, tert);
    const T* const from = input.row(sec, tert);
    T* const to = output.row(sec, tert);
    forEachStretch(dense, labels.dimPrim, [&](L label, SizeType begin, SizeType end) {
      const bool removes = label < isRemoved.size() && isRemoved[label] != 0;
      if (areDense) {
        if (removes) {
          std::fill(to + begin, to + end, substitution);
        } else if (to != from) {
          std::copy(from + begin, from + end, to + begin);
        }
        return;
      }
      for (auto i = static_cast<int64>(begin); i < static_cast<int64>(end); ++i) {
        to[i * output.stridePrim] = removes ? substitution : from[i * input.stridePrim];
      }
    });
  }
}

/// `Rule` has the operator's names, `hasThreshold`, `isProtected(counts, threshold)` for the count that a protected
/// label is given, and `isRemoved`.
template <class Derived, class Parameter, class Rule, class InputPtr, class LabelPtr>
class SelectionOperator : public TaviOperators::Operator<Derived> {
  using T = VoxelOf<InputPtr>;
  using L = VoxelOf<LabelPtr>;

public:
  std::string getType() const override {
    const std::string input = Tavi::typeName<T>;
    return composeIdentifier(Rule::names, input + ", " + Tavi::typeName<L> + ", " + input);
  }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const Names& names = Rule::names;
    const auto parameter = castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const LabelPtr labels(parameter->inputLabelVolume.value());
    const uint64 threshold = parameter->inputThreshold.value();
    const bool protects = parameter->inputBackgroundLabelEnabled.value();
    const L background = protects ? parameter->inputBackgroundLabel.template extractValue<L>() : L(0);
    const T substitution = parameter->inputSubstitutionValue.template extractValue<T>();
    require(input != nullptr && labels != nullptr, names.inApply(" input volume is NULL"));
    require(input->getDimension() == labels->getDimension(), names.inApply(" input volume have different size"));
    const auto output =
        this->template checkOutputVolume<InputPtr>(parameter->outputVolume.value(), input->getDimension());
    parameter->outputVolume = output;
    parameter->outputNumberOfRemovedObjects = 0;

    const View<const L> labelView = viewOf(std::as_const(*labels));
    DenseRow<L> row(labelView);
    const SizeType slices = labelView.dimTert;
    this->setTotal(std::max<SizeType>(3 * slices, 1));
    LabelCounts counts(1);
    // Looking for the largest label and counting go over a slice together, while it is in the cache.
    for (SizeType tert = 0; tert < slices; ++tert) {
      if (!beginStep(2 * tert)) {
        return;
      }
      countSlice(labelView, tert, row, counts);
    }
    const auto [isRemoved, removed] = Rule::decide(counts, threshold, protects, background);
    const View<const T> inputView = viewOf(std::as_const(*input));
    const View<T> outputView = viewOf(*output);
    for (SizeType tert = 0; tert < slices; ++tert) {
      if (!beginStep(2 * slices + tert)) {
        return;
      }
      selectSlice(inputView, labelView, outputView, tert, row, isRemoved, substitution);
    }
    parameter->outputNumberOfRemovedObjects = removed;
    this->setDone(std::max<SizeType>(3 * slices, 1));
  }

private:
  bool beginStep(SizeType done) {
    this->setDone(done);
    return !this->isAborted();
  }
};

/// Which labels go, and how many they are.
struct Decision {
  std::vector<uint8> isRemoved;
  uint64 removed = 0;
};

/// Removes what `test(count)` says.
template <class Test>
Decision decideByCount(const LabelCounts& counts, const Test& test) {
  Decision decision{std::vector<uint8>(counts.size()), 0};
  for (SizeType label = 0; label < counts.size(); ++label) {
    decision.isRemoved[label] = test(counts[label]) ? 1 : 0;
    decision.removed += decision.isRemoved[label];
  }
  return decision;
}

/// The typed operator that fits the volumes of a parameter object; the output is of the input's voxel type if absent.
template <class Parameter>
SmartPointer<IOperator> createSelectionOperator(const Names& names, const SmartPointer<IComposite>& composite) {
  const auto parameter = castParameter<Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> labels = parameter->inputLabelVolume.value();
  require(input != nullptr && labels != nullptr, names.inFrame("inputVolume is NULL!"));
  const SmartPointer<IVolume> output = orElse(parameter->outputVolume.value(), input);
  return createByIdentifier(
      composeIdentifier(names, input->getVoxelType() + ", " + labels->getVoxelType() + ", " + output->getVoxelType()));
}

}  // namespace NORV::TaviOperators::Impl
