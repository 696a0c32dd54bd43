#pragma once

#include <Features.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <InternalFeatures.hpp>
#include <Operator.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/ReadData.hpp>

#include <Measurement/LabelRuns.hpp>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

/// Measures each object of a label volume: size, bounding box, centres, statistics of its grey values, and shape.
///
/// Extra memory: per thread a record of 144 bytes at most for each label up to the largest that is asked for, and the
/// result. Parallel over slices, one step of progress each; which thread measures which slice is not fixed, so with
/// more than one thread the last digits of sums of floating-point values may differ from run to run.
namespace NORV::TaviOperators::StandardFeaturesCalculation {

inline constexpr Impl::Names names{"StandardFeaturesCalculation"};

/// One run. The labels are `Data` of an integer type that fit the voxel type of inputLabelVolume; the result is a
/// `FeaturesVector`, to which an object of this class that is given already is extended.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputLabelVolume;
  Property<SmartPointer<IVolume>> inputValueVolume;
  Property<SmartPointer<IComposite>> inputMinimumLabel;
  Property<SmartPointer<IComposite>> inputMaximumLabel;
  Property<int32> inputNumberOfThreads;
  Property<SmartPointer<IComposite>> outputFeaturesVector;

  Parameter() {
    append("inputLabelVolume", inputLabelVolume, {Takes::volume, required, "labels, of an unsigned voxel type"});
    append("inputValueVolume", inputValueVolume, {Takes::volume, required, "grey values, of the same extents"});
    append("inputMinimumLabel", inputMinimumLabel,
           like("inputLabelVolume", required, "smallest label that is measured"));
    append("inputMaximumLabel", inputMaximumLabel,
           like("inputLabelVolume", required, "largest label that is measured; memory grows with it"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputFeaturesVector", outputFeaturesVector,
           {Takes::object, optional, "a record for each label that occurs, in ascending order"});
  }
  std::string getType() const override { return names.parameterType(); }
};

/// A table of all labels up to the largest, by label.
template <class T>
using FeaturesTable = Array<InternalFeatures<T>>;

template <class T>
FeaturesTable<T> makeFeaturesTable(SizeType labels) {
  FeaturesTable<T> table(1, labels);
  for (SizeType label = 0; label < labels; ++label) {
    table.append({});
  }
  return table;
}

template <class L, class T>
void measureRow(const L* labels, const T* values, SizeType count, const std::array<uint64, 3>& place,
                const Impl::LabelRange<L>& range, InternalFeatures<T>* table) {
  Impl::forEachLabelRun(labels, count, range, [&](L label, SizeType begin, SizeType end) {
    const std::array<uint64, 3> first{place[0] + begin, place[1], place[2]};
    table[label].addPlaces(first, end - begin);
    table[label].addValues(first, values + begin, end - begin);
  });
}

/// Gathers rows that are not dense piece by piece: runs that a piece cuts are measured in parts.
template <class L, class T>
void measureStridedRow(const L* labels, int64 labelStride, const T* values, int64 valueStride, SizeType count,
                       std::array<uint64, 3> place, const Impl::LabelRange<L>& range, InternalFeatures<T>* table) {
  constexpr SizeType piece = 256;
  std::array<L, piece> denseLabels;
  std::array<T, piece> denseValues;
  while (place[0] < count) {
    const SizeType part = std::min(piece, count - place[0]);
    for (SizeType i = 0; i < part; ++i) {
      const auto prim = static_cast<int64>(place[0] + i);
      denseLabels[i] = labels[prim * labelStride];
      denseValues[i] = values[prim * valueStride];
    }
    measureRow(denseLabels.data(), denseValues.data(), part, place, range, table);
    place[0] += part;
  }
}

template <class LabelPtr, class ValuePtr, class ResultPtr>
class Operator;

template <class LabelPtr, class ValuePtr, class Record>
class Operator<LabelPtr, ValuePtr, Tavi::Container::VectorPtr<SmartPointer<Record>>> final
    : public TaviOperators::Operator<Operator<LabelPtr, ValuePtr, Tavi::Container::VectorPtr<SmartPointer<Record>>>> {
  using L = VoxelOf<LabelPtr>;
  using T = VoxelOf<ValuePtr>;
  using Result = Tavi::Container::Vector<SmartPointer<Record>>;
  using Tables = Impl::PerThread<FeaturesTable<T>>;

public:
  std::string getType() const override {
    return Impl::composeIdentifier(
        names, LabelPtr::Pointee::identifier() + ", " + ValuePtr::Pointee::identifier() + ", " + Result().getType());
  }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const LabelPtr labels(parameter->inputLabelVolume.value());
    const ValuePtr values(parameter->inputValueVolume.value());
    Impl::require(labels != nullptr && values != nullptr, names.inApply(" at least one input volume is NULL"));
    Impl::require(labels->getDimension() == values->getDimension(), names.inApply(" input volumes differ in size"));
    const Impl::LabelRange<L> range{labelOf(parameter->inputMinimumLabel.value(), "inputMinimumLabel"),
                                    labelOf(parameter->inputMaximumLabel.value(), "inputMaximumLabel")};
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());

    this->setTotal(labels->getDimTert());
    Tables tables(threads, labels->getDimTert(), [&] { return makeFeaturesTable<T>(SizeType{range.to} + 1); });
    measure(Impl::inputViewOf(std::as_const(*labels)), Impl::inputViewOf(std::as_const(*values)), range, threads,
            tables);
    if (this->isAborted()) {
      return;
    }
    fold(tables);
    if (this->isAborted()) {
      return;
    }
    SmartPointer<Result> result(parameter->outputFeaturesVector.value());
    if (result == nullptr) {
      result = SmartPointer<Result>(new Result);
    }
    appendRecords(tables[0], *result);
    parameter->outputFeaturesVector = SmartPointer<IComposite>(result);
  }

private:
  static L labelOf(const SmartPointer<IComposite>& label, const char* key) {
    if (label == nullptr) {
      throw Exceptions::NULLPointer("NORV::TaviOperators::StandardFeaturesCalculation::Operator::apply", key);
    }
    return Tavi::Persistence::Impl::readData<L>(label);
  }

  void measure(const Impl::View<const L>& labels, const Impl::View<const T>& values, const Impl::LabelRange<L>& range,
               int threads, Tables& tables) {
    const bool areDense = labels.hasDenseRows() && values.hasDenseRows();
    const auto slice = [&](SizeType tert) {
      InternalFeatures<T>* const table = tables.mine().data();
      for (SizeType sec = 0; sec < labels.dimSec; ++sec) {
        const L* const labelRow = labels.row(sec, tert);
        const T* const valueRow = values.row(sec, tert);
        if (areDense) {
          measureRow(labelRow, valueRow, labels.dimPrim, {0, sec, tert}, range, table);
        } else {
          measureStridedRow(labelRow, labels.stridePrim, valueRow, values.stridePrim, labels.dimPrim, {0, sec, tert},
                            range, table);
        }
      }
    };
    Impl::forEachSlice(*this, threads, labels.dimTert, Impl::Steps::counted, slice, Impl::Schedule::dynamic);
  }

  /// All into the first, label by label.
  static void fold(Tables& tables) {
    for (SizeType thread = 1; thread < tables.size(); ++thread) {
      for (SizeType label = 0; label < tables[0].size(); ++label) {
        if (tables[thread].at(label).count > 0) {
          tables[0].at(label).merge(tables[thread].at(label));
        }
      }
    }
  }

  /// Adds all records or, where memory runs out, none.
  static void appendRecords(const FeaturesTable<T>& table, Result& result) {
    const auto occurs = [](const InternalFeatures<T>& features) { return features.count > 0; };
    std::vector<SmartPointer<Record>> records;
    records.reserve(static_cast<std::size_t>(std::count_if(table.begin(), table.end(), occurs)));
    for (SizeType label = 0; label < table.size(); ++label) {
      if (occurs(table.at(label))) {
        records.push_back(SmartPointer<Record>(new Record));
        table.at(label).store(static_cast<L>(label), *records.back());
      }
    }
    result.reserve(result.size() + records.size());
    result.insert(result.end(), records.begin(), records.end());
  }
};

}  // namespace NORV::TaviOperators::StandardFeaturesCalculation
