#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

#include <Distance/DistancePasses.hpp>

#include <algorithm>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

/// Distances in unit steps to the nearest voxel of a given value, by two passes over the volume in place.
///
/// A. Rosenfeld, J. L. Pfaltz: Sequential Operations in Digital Picture Processing. Journal of the ACM 13 (1966).
///
/// Extra memory: none. One thread, as each row needs the one before it; three steps of progress per slice.
namespace NORV::TaviOperators::Impl {

/// The parameter object of both transforms; `Traits` names the operator.
template <class Derived, class Traits>
class DistanceParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputObjectValue;

  DistanceParameter() {
    this->append("inputVolume", inputVolume, {Takes::volume, required, "volume to measure"});
    this->append("outputVolume", outputVolume,
                 {Takes::volume, optional,
                  "distances in voxels, of any integer type; made of the input's voxel type if absent"});
    this->append("inputObjectValue", inputObjectValue,
                 like("inputVolume", required, "voxels of this grey value have distance 0"));
  }
  std::string getType() const override { return Traits::names.parameterType(); }
};

/// What a voxel holds before a source reaches it, and at most afterwards: far enough below the largest value for the
/// steps across the volume. It wraps where the type is too small for that.
template <class T>
T startOfDistances(SizeType largestExtent) {
  return static_cast<T>(static_cast<uint64>(std::numeric_limits<T>::max()) - 2 - 2 * largestExtent);
}

/// One run over views that are set up. Each slice of each pass is a step: the abort is looked for before it.
template <Neighbours set, class T>
class DistanceRun {
public:
  DistanceRun(OperatorBase& self, const View<T>& steps)
      : _self(self),
        _steps(steps),
        _start(startOfDistances<T>(std::max({steps.dimPrim, steps.dimSec, steps.dimTert}))),
        _passes(steps, _start) {
    _self.setTotal(3 * steps.dimTert);
  }

  /// Below 0 it is the other voxels that lower those around them.
  bool startsBelowZero() const { return _start < T(0); }

  /// The first pass on its own, voxel by voxel, for an input that shares memory with the output.
  template <class In>
  bool initialise(const View<const In>& input, In value) {
    for (SizeType tert = 0; tert < _steps.dimTert; ++tert) {
      if (!beginStep()) {
        return false;
      }
      for (SizeType sec = 0; sec < _steps.dimSec; ++sec) {
        for (SizeType prim = 0; prim < _steps.dimPrim; ++prim) {
          _steps.at(prim, sec, tert) = input.at(prim, sec, tert) == value ? T(0) : _start;
        }
      }
    }
    return true;
  }

  /// All passes, or those that are left. The first goes over each slice right before the second, while the slice is in
  /// the cache.
  [[gnu::noinline]] void finish(RowSources sources, bool isInitialised) {
    for (SizeType tert = 0; tert < _steps.dimTert; ++tert) {
      if (!isInitialised && !beginStep()) {
        return;
      }
      _passes.measureRows(sources, tert);
      if (!beginStep()) {
        return;
      }
      _passes.forward(tert);
    }
    for (SizeType tert = _steps.dimTert; tert-- > 0;) {
      if (!beginStep()) {
        return;
      }
      _passes.backward(tert);
    }
  }

private:
  bool beginStep() {
    _self.setDone(_done++);
    return !_self.isAborted();
  }

  OperatorBase& _self;
  const View<T> _steps;
  const T _start;
  DistancePasses<set, T> _passes;
  SizeType _done = 0;
};

/// `Traits` gives the set of neighbours, the names, and the scan: a class that is made from both volumes before the
/// passes and ended after them.
template <class Derived, class Parameter, class Traits, class InputPtr, class OutputPtr>
class DistanceOperator : public TaviOperators::Operator<Derived> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return voxelTypeIdentifier<InputPtr, OutputPtr>(Traits::names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const Names& names = Traits::namesInFailures;
    const auto parameter = castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const In value = parameter->inputObjectValue.template extractValue<In>();
    requireGiven(input, names.inApply(" input volume is NULL"));
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());

    typename Traits::Scan scan(*input, *output);
    transform(viewOf(std::as_const(*input)), viewOf(*output), value);
    if (this->isAborted()) {
      return;
    }
    scan.end();
    parameter->outputVolume = output;
  }

private:
  void transform(const View<const In>& input, const View<Out>& output, In value) {
    DistanceRun<Traits::neighbours, Out> run(*this, output);
    if (mayOverlap(input, output) && !areSame(input, output)) {
      if (run.initialise(input, value)) {
        const View<const Out> initialised{output.data,       output.dimPrim,   output.dimSec,    output.dimTert,
                                          output.stridePrim, output.strideSec, output.strideTert};
        const Out source = 0;
        run.finish(RowSources(source, run.startsBelowZero(), initialised), true);
      }
    } else {
      run.finish(RowSources(value, run.startsBelowZero(), input), false);
    }
  }

  /// Whether each voxel of the output is the voxel of the input at its place.
  static bool areSame(const View<const In>& input, const View<Out>& output) {
    if constexpr (std::is_same_v<In, Out>) {
      return input.data == output.data && input.stridePrim == output.stridePrim &&
             input.strideSec == output.strideSec && input.strideTert == output.strideTert;
    }
    return false;
  }
};

}  // namespace NORV::TaviOperators::Impl
