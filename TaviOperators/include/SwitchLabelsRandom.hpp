#pragma once

#include <Array.hpp>
#include <Impl/Dispatch.hpp>
#include <Impl/View.hpp>
#include <Operator.hpp>
#include <Tavi/CheckedCast.hpp>
#include <Tavi/Exceptions.hpp>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

/// Permutes the labels of a volume at random, but for label 0, so that neighbouring objects get labels far apart.
///
/// R. Durstenfeld: Algorithm 235: Random Permutation. Communications of the ACM 7 (1964), with the C library's
/// `rand()`, which is not seeded here: `srand` makes a run repeatable. Extra memory: one voxel per label. One thread, a
/// step of progress per slice.
namespace NORV::TaviOperators::SwitchLabelsRandom {

inline constexpr Impl::Names names{"SwitchLabelsRandom"};

/// One run. Labels are uint8, uint16 or uint32; all lie below inputNumberOfLabels.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<uint64> inputNumberOfLabels;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "labels"});
    append("inputNumberOfLabels", inputNumberOfLabels,
           {Takes::count, required, "largest label plus one, as a labelling reports it"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return names.parameterType(); }
};

/// The new label of each label. With up to two labels there is nothing to permute.
template <class T>
Array<T> shuffledLabels(SizeType labels) {
  Array<T> table(1, labels);
  for (SizeType i = 0; i < labels; ++i) {
    table.append(static_cast<T>(i));
  }
  if (labels > 2) {
    const auto range = static_cast<uint32>(labels - 1);
    for (SizeType i = 1; i < labels;) {
      const SizeType other = static_cast<uint32>(std::rand()) % range;
      if (other != 0) {
        std::swap(table.data()[i], table.data()[other]);
        ++i;
      }
    }
  }
  return table;
}

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, getType() + "::apply parameter is NULL");
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const uint64 labels = parameter->inputNumberOfLabels.value();
    Impl::require(labels != 0, names.inApply(" Number of labels was not provided"));
    static_cast<void>(Tavi::checkedCast<uint32>(labels - 1));
    const Impl::View<const T> from = Impl::viewOf(std::as_const(*input));
    requireCovered(from, labels);

    const Array<T> table = shuffledLabels<T>(labels);
    const Impl::View<T> to = Impl::viewOf(*output);
    this->setTotal(from.dimTert);
    for (SizeType tert = 0; tert < from.dimTert; ++tert) {
      this->advance();
      if (this->isAborted()) {
        return;
      }
      for (SizeType sec = 0; sec < from.dimSec; ++sec) {
        replaceRow(from.row(sec, tert), from.stridePrim, to.row(sec, tert), to.stridePrim, from.dimPrim, table);
      }
    }
    parameter->outputVolume = output;
  }

private:
  /// A label beyond the table would be a read past its end, so all are looked at before one is written.
  static void requireCovered(const Impl::View<const T>& view, uint64 labels) {
    if (labels > std::numeric_limits<T>::max()) {
      return;
    }
    for (SizeType tert = 0; tert < view.dimTert; ++tert) {
      for (SizeType sec = 0; sec < view.dimSec; ++sec) {
        const T* const row = view.row(sec, tert);
        T largest = 0;
        for (int64 i = 0; i < static_cast<int64>(view.dimPrim); ++i) {
          largest = std::max(largest, row[i * view.stridePrim]);
        }
        if (largest >= labels) {
          throw Exceptions::IndexOutOfRange("SwitchLabelsRandom::Operator::apply", largest, 0, labels - 1);
        }
      }
    }
  }

  static void replaceRow(const T* from, int64 fromStride, T* to, int64 toStride, SizeType count,
                         const Array<T>& table) {
    for (int64 i = 0; i < static_cast<int64>(count); ++i) {
      const T label = from[i * fromStride];
      to[i * toStride] = label < table.size() ? table.data()[label] : label;  // an output may lie in the input's memory
    }
  }
};

}  // namespace NORV::TaviOperators::SwitchLabelsRandom
