#pragma once

#include <DistanceParameter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>
#include <Impl/Loops/DenseOutput.hpp>
#include <Impl/Loops/KeptInput.hpp>
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
/// Extra memory: none, but a copy of an input that overlaps the output otherwise than voxel by voxel, and volumes like
/// input and output where their rows are not dense. One thread, as
/// each row needs the one before it; three steps of progress per slice.
namespace NORV::TaviOperators::Impl {

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

  /// All passes. The first goes over each slice right before the second, while the slice is in
  /// the cache.
  [[gnu::noinline]] void run(RowSources sources) {
    for (SizeType tert = 0; tert < _steps.dimTert; ++tert) {
      if (!beginStep()) {
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
    const DenseOutput<Out> dense(output);
    const KeptInput<In> source(*this, threadCount(0), input, dense.view(), Aliasing::identical, RowLayout::dense);
    DistanceRun<Traits::neighbours, Out> run(*this, dense.view());
    run.run(RowSources(value, run.startsBelowZero(), source.view()));
    if (!this->isAborted()) {
      dense.store(threadCount(0));
    }
  }
};

}  // namespace NORV::TaviOperators::Impl
