#pragma once

#include <DistanceParameter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>
#include <Impl/Loops/DenseOutput.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/View.hpp>
#include <Impl/Loops/Wavefront.hpp>
#include <Impl/Loops/Workers.hpp>
#include <Operator.hpp>

#include <Distance/DistancePasses.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

/// Distances in unit steps to the nearest voxel of a given value, by two passes over the volume in place.
///
/// A. Rosenfeld, J. L. Pfaltz: Sequential Operations in Digital Picture Processing. Journal of the ACM 13 (1966).
///
/// Each row needs the one before it, and the rows around it of the slice before. So slices run in parallel, each some
/// rows behind the one before it.
///
/// Extra memory: none, but a copy of an input that overlaps the output otherwise than voxel by voxel, and volumes like
/// input and output where their rows are not dense. All threads that the runtime offers, for slices of a volume that is
/// not small; three steps of progress per slice.
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
  /// `workers` share the rows.
  DistanceRun(OperatorBase& self, int threads, SizeType workers, const View<T>& steps)
      : _self(self),
        _threads(threads),
        _workers(workers),
        _steps(steps),
        _start(startOfDistances<T>(std::max({steps.dimPrim, steps.dimSec, steps.dimTert}))),
        _passes(steps, _start) {
    _self.setTotal(3 * steps.dimTert);
  }

  /// Below 0 it is the other voxels that lower those around them.
  bool startsBelowZero() const { return _start < T(0); }

  /// All passes. The first goes over each slice right before the second, while the slice is in the cache.
  [[gnu::noinline]] void run(const RowSources& sources) {
    const SizeType slices = _steps.dimTert, rows = _steps.dimSec;
    eachRowInTurn(
        [&](SizeType slice) {
          _passes.measureRows(sources, slice);
          endStep();
          return !_self.isAborted();
        },
        [&](SizeType slice, SizeType row) { _passes.forward(row, slice); });
    eachRowInTurn([](SizeType) { return true; },
                  [&](SizeType slice, SizeType row) { _passes.backward(rows - 1 - row, slices - 1 - slice); });
  }

private:
  template <class BeginSlice, class DoRow>
  void eachRowInTurn(const BeginSlice& beginSlice, const DoRow& doRow) {
    const SizeType slices = _steps.dimTert, rows = _steps.dimSec;
    // All slices that run at the same time lie within some rows of each other, a quarter of a slice at most.
    const SizeType piece = rows / (4 * _workers);
    // Several times what a slice takes, and what a thread of a busy machine waits for its turn.
    const std::chrono::nanoseconds patience(2000000 + 8 * _steps.dimPrim * rows);
    forEachRowInWavefront(_self, _threads, _workers, slices, rows, piece, patience, beginSlice,
                          [&](SizeType slice, SizeType first, SizeType end) {
                            for (SizeType row = first; row < end; ++row) {
                              doRow(slice, row);
                            }
                            if (end == rows) {
                              endStep();
                            }
                          });
  }

  /// What is reported is the number of steps before the one that runs, so the last one is never counted.
  void endStep() {
    if (_ended.fetch_add(1, std::memory_order_relaxed) + 1 < 3 * _steps.dimTert) {
      _self.advance();
    }
  }

  OperatorBase& _self;
  const int _threads;
  const SizeType _workers;
  const View<T> _steps;
  const T _start;
  const DistancePasses<set, T> _passes;
  std::atomic<SizeType> _ended{0};
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
    const int threads = threadCount(0);
    const DenseOutput<Out> dense(output);
    const KeptInput<In> source(*this, threads, input, dense.view(), Aliasing::identical, RowLayout::dense);
    constexpr SizeType leastVoxels = 32768;  // for one worker
    const SizeType workers = workersFor(threads, output.dimTert, output.size(), leastVoxels);
    DistanceRun<Traits::neighbours, Out> run(*this, threads, workers, dense.view());
    run.run(RowSources(value, run.startsBelowZero(), source.view()));
    if (!this->isAborted()) {
      dense.store(threads);
    }
  }
};

}  // namespace NORV::TaviOperators::Impl
