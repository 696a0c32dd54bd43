#include <DLL/ExtremeValueCalculation.hpp>
#include <ExtremeValueCalculation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>

#include <Measurement/RowExtremes.hpp>

#include <type_traits>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::ExtremeValueCalculation {
namespace {

constexpr Impl::Names names{"ExtremeValueCalculation"};

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
    const SizeType steps = input->getDimTert();
    this->setTotal(steps);
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());

    // Where each slice begins matters if there is a NaN, and the first of two zeros counts.
    constexpr auto layout = std::is_floating_point_v<T> ? Impl::RowLayout::dense : Impl::RowLayout::any;
    const Impl::KeptInput<T> kept(*this, threads, Impl::inputViewOf(std::as_const(*input)), layout);
    const auto view = std::is_floating_point_v<T> ? kept.view() : Impl::inStorageOrder(kept.view());
    std::vector<Extremes<T>> slices(view.dimTert);
    constexpr double nanosecondsPerVoxel = 0.1;
    Impl::forEachPartOf(
        *this, threads, view.dimTert, steps, Impl::Steps::counted,
        [&](SizeType tert) { slices[tert] = extremesOfSlice(view, tert); }, Impl::Schedule::fixed,
        Impl::LoopTime::of(view.size(), nanosecondsPerVoxel));

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

}  // namespace
}  // namespace NORV::TaviOperators::ExtremeValueCalculation

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::ExtremeValueCalculation;

ExtremeValueCalculation::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
ExtremeValueCalculation::Operator::Operator(const Operator&) = default;
ExtremeValueCalculation::Operator::~Operator() = default;
ExtremeValueCalculation::Operator& ExtremeValueCalculation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> ExtremeValueCalculation::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto& names = Typed::names;
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inApply(" input volume is NULL"));  // the same words as in the typed operator
  return Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
