#include <DLL/StandardFeaturesCalculation.hpp>
#include <Features.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <StandardFeaturesCalculation.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/ReadData.hpp>

#include <Measurement/InternalFeatures.hpp>
#include <Measurement/LabelRuns.hpp>

#include <algorithm>
#include <array>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::StandardFeaturesCalculation {
namespace {

constexpr Impl::Names names{"StandardFeaturesCalculation"};

/// Records of the labels that are measured, in ascending order.
template <class T>
using FeaturesTable = Array<InternalFeatures<T>>;

template <class T>
FeaturesTable<T> makeFeaturesTable(SizeType labels) {
  FeaturesTable<T> table(1, labels);
  for (SizeType i = 0; i < labels; ++i) {
    table.append({});
  }
  return table;
}

/// Records of one thread for a range of labels without gaps.
template <class L, class T>
struct DenseRecords {
  InternalFeatures<T>* table;
  L first;
  InternalFeatures<T>& of(L label) const { return table[static_cast<SizeType>(label) - first]; }
};

/// Records of one thread for the labels that occur.
template <class L, class T>
struct SparseRecords {
  InternalFeatures<T>* table;
  const std::vector<L>& labels;
  InternalFeatures<T>& of(L label) const {
    return table[std::lower_bound(labels.begin(), labels.end(), label) - labels.begin()];
  }
};

template <class L, class T, class Records>
void measureRow(const L* labels, const T* values, SizeType count, const std::array<uint64, 3>& place,
                const Impl::LabelRange<L>& range, const Records& records) {
  Impl::forEachLabelRun(labels, count, range, [&](L label, SizeType begin, SizeType end) {
    const std::array<uint64, 3> first{place[0] + begin, place[1], place[2]};
    InternalFeatures<T>& record = records.of(label);
    record.addPlaces(first, end - begin);
    record.addValues(first, values + begin, end - begin);
  });
}

/// The labels of a range that occur, in ascending order; what an aborted run leaves is incomplete.
template <class L>
std::vector<L> findLabels(const OperatorBase& self, const Impl::View<const L>& labels,
                          const Impl::LabelRange<L>& range) {
  std::unordered_set<L> found;
  L last = range.from;
  bool hasLast = false;
  for (SizeType tert = 0; tert < labels.dimTert && !self.isAborted(); ++tert) {
    for (SizeType sec = 0; sec < labels.dimSec; ++sec) {
      const L* label = labels.row(sec, tert);
      for (SizeType prim = 0; prim < labels.dimPrim; ++prim, label += labels.stridePrim) {
        if (range.from <= *label && *label <= range.to && !(hasLast && *label == last)) {
          last = *label;
          hasLast = true;
          found.insert(last);
        }
      }
    }
  }
  std::vector<L> sorted(found.begin(), found.end());
  std::sort(sorted.begin(), sorted.end());
  return sorted;
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
    const auto dense = Impl::RowLayout::dense;
    const Impl::KeptInput<L> keptLabels(*this, threads, Impl::inputViewOf(std::as_const(*labels)), dense);
    const Impl::KeptInput<T> keptValues(*this, threads, Impl::inputViewOf(std::as_const(*values)), dense);
    const auto& labelView = keptLabels.view();
    const auto& valueView = keptValues.view();
    // Records of labels that do not occur must not take more memory than the volumes.
    const SizeType span = range.from <= range.to ? SizeType{range.to} - range.from + 1 : 0;
    const bool isDense = span <= std::max<SizeType>(labelView.size() / 8, 65536);
    const std::vector<L> occurring = isDense ? std::vector<L>() : findLabels(*this, labelView, range);
    Tables tables(threads, labelView.dimTert, [&] { return makeFeaturesTable<T>(isDense ? span : occurring.size()); });
    if (isDense) {
      measure(labelView, valueView, range, threads, [&] {
        return DenseRecords<L, T>{tables.mine().data(), range.from};
      });
    } else {
      measure(labelView, valueView, range, threads, [&] {
        return SparseRecords<L, T>{tables.mine().data(), occurring};
      });
    }
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
    appendRecords(
        tables[0], [&](SizeType i) { return isDense ? static_cast<L>(range.from + i) : occurring[i]; }, *result);
    parameter->outputFeaturesVector = SmartPointer<IComposite>(result);
  }

private:
  static L labelOf(const SmartPointer<IComposite>& label, const char* key) {
    if (label == nullptr) {
      throw Exceptions::NULLPointer("NORV::TaviOperators::StandardFeaturesCalculation::Operator::apply", key);
    }
    return Tavi::Persistence::Impl::readData<L>(label);
  }

  /// `myRecords()` gives those of the calling thread.
  template <class MyRecords>
  void measure(const Impl::View<const L>& labels, const Impl::View<const T>& values, const Impl::LabelRange<L>& range,
               int threads, const MyRecords& myRecords) {
    const auto slice = [&](SizeType tert) {
      const auto records = myRecords();
      for (SizeType sec = 0; sec < labels.dimSec; ++sec) {
        measureRow(labels.row(sec, tert), values.row(sec, tert), labels.dimPrim, {0, sec, tert}, range, records);
      }
    };
    Impl::forEachSlice(*this, threads, labels.dimTert, Impl::Steps::counted, slice, Impl::Schedule::dynamic);
  }

  /// All into the first, label by label.
  static void fold(Tables& tables) {
    for (SizeType thread = 1; thread < tables.size(); ++thread) {
      for (SizeType i = 0; i < tables[0].size(); ++i) {
        if (tables[thread].at(i).count > 0) {
          tables[0].at(i).merge(tables[thread].at(i));
        }
      }
    }
  }

  /// Adds all records or, where memory runs out, none.
  template <class LabelAt>
  static void appendRecords(const FeaturesTable<T>& table, const LabelAt& labelAt, Result& result) {
    const auto occurs = [](const InternalFeatures<T>& features) { return features.count > 0; };
    std::vector<SmartPointer<Record>> records;
    records.reserve(static_cast<std::size_t>(std::count_if(table.begin(), table.end(), occurs)));
    for (SizeType i = 0; i < table.size(); ++i) {
      if (occurs(table.at(i))) {
        records.push_back(SmartPointer<Record>(new Record));
        table.at(i).store(labelAt(i), *records.back());
      }
    }
    result.reserve(result.size() + records.size());
    result.insert(result.end(), records.begin(), records.end());
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::StandardFeaturesCalculation

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::StandardFeaturesCalculation;
using Typed::names;

using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::AllVoxelTypes>;

/// With the class of the result, which the voxel types of both volumes give.
template <class LabelPtr, class ValuePtr>
using Instance = Typed::Operator<
    LabelPtr, ValuePtr,
    Tavi::Container::VectorPtr<SmartPointer<Typed::Features<VoxelOf<LabelPtr>, VoxelOf<ValuePtr>, float64>>>>;

}  // namespace

StandardFeaturesCalculation::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
StandardFeaturesCalculation::Operator::Operator(const Operator&) = default;
StandardFeaturesCalculation::Operator::~Operator() = default;
StandardFeaturesCalculation::Operator& StandardFeaturesCalculation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> StandardFeaturesCalculation::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> labels = parameter->inputLabelVolume.value();
  const SmartPointer<IVolume> values = parameter->inputValueVolume.value();
  Impl::require(labels != nullptr && values != nullptr, names.inFrame("inputVolume is NULL!"));
  const std::string record = "NORV::TaviOperators::StandardFeaturesCalculation::Features< " + labels->getVoxelType() +
                             ", " + values->getVoxelType() + ", NORV::float64 >";
  return Impl::createByIdentifier(Impl::composeIdentifier(
      names, labels->getType() + ", " + values->getType() + ", NORV::Tavi::Container::Vector< " + record + " >"));
}

}  // namespace NORV::TaviOperators::DLL
