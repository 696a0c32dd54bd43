#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

#include <Measurement/RowExtremes.hpp>

#include <vector>

/// Finds the smallest and the largest voxel value of the view of a volume.
///
/// A NaN never replaces a value, but the first voxel of a slice always counts: if it is a NaN, its slice is ignored,
/// and if it is the first voxel of the volume, both results are NaN. Of an empty volume both results are 0. After an
/// abort the results mean nothing. Extra memory: two values per slice. Parallel over slices, one step of progress each.
namespace NORV::TaviOperators::ExtremeValueCalculation {

inline constexpr Impl::Names names{"ExtremeValueCalculation"};

/// One run. The results are `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<int32> inputNumberOfThreads;
  Property<IData> outputMinimumValue;
  Property<IData> outputMaximumValue;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to look through"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputMinimumValue", outputMinimumValue, like("inputVolume", optional, "smallest grey value"));
    append("outputMaximumValue", outputMaximumValue, like("inputVolume", optional, "largest grey value"));
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class T>
struct Extremes {
  T low{}, high{};
};

/// The first voxel of value 0: of two zeros of different sign the earlier one is the extreme.
template <class T>
T firstZero(const Impl::View<const T>& slices, SizeType tert) {
  for (SizeType sec = 0; sec < slices.dimSec; ++sec) {
    const T* voxel = slices.row(sec, tert);
    for (SizeType prim = 0; prim < slices.dimPrim; ++prim, voxel += slices.stridePrim) {
      if (*voxel == T(0)) {
        return *voxel;
      }
    }
  }
  return T(0);
}

template <class T>
Extremes<T> extremesOfSlice(const Impl::View<const T>& view, SizeType tert) {
  const T first = *view.row(0, tert);
  Extremes<T> found{first, first};
  if (first != first) {
    return found;  // nothing compares with a NaN
  }
  if (view.hasDenseSlices()) {
    Impl::widenByDenseRow(view.row(0, tert), view.dimPrim * view.dimSec, found.low, found.high);
  } else {
    for (SizeType sec = 0; sec < view.dimSec; ++sec) {
      if (view.hasDenseRows()) {
        Impl::widenByDenseRow(view.row(sec, tert), view.dimPrim, found.low, found.high);
      } else {
        Impl::widenByVoxels(view.row(sec, tert), view.dimPrim, view.stridePrim, found.low, found.high);
      }
    }
  }
  if constexpr (std::is_floating_point_v<T>) {
    if (found.low == T(0) || found.high == T(0)) {
      const T zero = firstZero(view, tert);
      found.low = found.low == T(0) ? zero : found.low;
      found.high = found.high == T(0) ? zero : found.high;
    }
  }
  return found;
}

template <class InputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));
    const auto view = Impl::inputViewOf(*input);
    this->setTotal(view.dimTert);
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());

    std::vector<Extremes<T>> slices(view.dimTert);
    Impl::forEachSlice(*this, threads, view.dimTert, Impl::Steps::counted,
                       [&](SizeType tert) { slices[tert] = extremesOfSlice(view, tert); });

    Extremes<T> all;
    if (!slices.empty()) {
      all = slices.front();
      for (const Extremes<T>& slice : slices) {
        all.low = all.low > slice.low ? slice.low : all.low;
        all.high = slice.high > all.high ? slice.high : all.high;
      }
    }
    parameter->outputMinimumValue.setValue(all.low);
    parameter->outputMaximumValue.setValue(all.high);
  }
};

}  // namespace NORV::TaviOperators::ExtremeValueCalculation
