#pragma once

#include <Array.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/CheckedCast.hpp>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

/// Permutes the labels of a label volume at random, all but 0, so that neighbouring objects get numbers, and colours,
/// far apart.
///
/// The permutation follows the process-wide sequence of `std::rand`, which is not seeded here: `std::srand` makes runs
/// repeatable. A label at or beyond inputNumberOfLabels throws IndexOutOfRange before anything is written; a number of
/// labels beyond 2^32 throws `std::overflow_error`. Extra memory: one label per number of labels. One thread; a step of
/// progress per slice.
namespace NORV::TaviOperators::SwitchLabelsRandom {

inline constexpr Impl::Names names{"SwitchLabelsRandom"};

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<uint64> inputNumberOfLabels;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "labels, of an unsigned voxel type"});
    append("inputNumberOfLabels", inputNumberOfLabels,
           {Takes::count, required, "number of labels, the background included; all labels are below it"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return names.parameterType(); }
};

/// The labels from 0 on, each at its own place.
template <class T>
Array<T> makeLabels(SizeType count) {
  Array<T> labels(1, count);
  for (SizeType i = 0; i < count; ++i) {
    labels.append(static_cast<T>(i));
  }
  return labels;
}

/// Swaps each label in turn with one drawn from those between the first and the last.
template <class T>
void shuffle(Array<T>& labels, uint32 last) {
  if (last < 2) {
    return;  // no label lies between them
  }
  for (SizeType i = 1; i <= last; ++i) {
    uint32 drawn = 0;
    while (drawn == 0) {
      drawn = static_cast<uint32>(std::rand()) % last;
    }
    std::swap(labels.data()[i], labels.data()[drawn]);
  }
}

template <class T>
T largestVoxel(const Impl::View<const T>& view) {
  T largest = 0;
  for (SizeType tert = 0; tert < view.dimTert; ++tert) {
    for (SizeType sec = 0; sec < view.dimSec; ++sec) {
      const T* voxel = view.row(sec, tert);
      for (SizeType prim = 0; prim < view.dimPrim; ++prim, voxel += view.stridePrim) {
        largest = std::max(largest, *voxel);
      }
    }
  }
  return largest;
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
    const SizeType count = parameter->inputNumberOfLabels.value();
    Impl::require(count != 0, names.inApply(" Number of labels was not provided"));
    const auto last = Tavi::checkedCast<uint32>(count - 1);
    Array<T> labels = makeLabels<T>(count);
    const auto view = Impl::inputViewOf(*input);
    if (last < std::numeric_limits<T>::max() && view.size() > 0) {
      static_cast<void>(labels.at(largestVoxel(view)));
    }
    shuffle(labels, last);
    replace(labels.data(), view, Impl::viewOf(*output));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }

private:
  void replace(const T* labels, const Impl::View<const T>& input, const Impl::View<T>& output) {
    this->setTotal(input.dimTert);
    for (SizeType tert = 0; tert < input.dimTert; ++tert) {
      this->advance();
      if (this->isAborted()) {
        return;
      }
      for (SizeType sec = 0; sec < input.dimSec; ++sec) {
        const T* from = input.row(sec, tert);
        T* to = output.row(sec, tert);
        for (SizeType prim = 0; prim < input.dimPrim; ++prim) {
          *to = labels[*from];
          from += input.stridePrim;
          to += output.stridePrim;
        }
      }
    }
  }
};

}  // namespace NORV::TaviOperators::SwitchLabelsRandom
