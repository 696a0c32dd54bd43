#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/Box.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <RankKeys.hpp>

/// What the filters that rank the voxels under a structuring element have in common: what they read and check.
namespace NORV::TaviOperators::Impl {

using MaskPtr = VolumePtr<uint8>;

/// The checked contents of a parameter object.
template <class VolumePointer>
struct RankArguments {
  VolumePointer input;
  MaskPtr mask;
  Position<SizeType> anchor;
  int threads;

  template <class Parameter>
  RankArguments(const Parameter& parameter, const Names& names)
      : input(parameter.inputVolume.value()),
        mask((requireGiven(input, names.inApply(" input volume is NULL")), parameter.inputMask.value())),
        anchor((requireGiven(mask, names.inApply(" the inputMask is NULL")), parameter.inputAnchor.value())),
        threads(threadCount(parameter.inputNumberOfThreads.value())) {}

  /// Copies the mask if the output shares voxels with it; to be called before the output may be resized.
  void keepMask(const SmartPointer<IVolume>& givenOutput) {
    Unstoppable copying;
    mask = keptBeforeResize(copying, threads, mask, VolumePointer(givenOutput));
  }
};

/// Input and output of a filter along the axes in which the output lies in memory, where the rows of both are dense.
/// The input does not change while the output is written. Extra memory: a copy of the input where it shares voxels with
/// the output or its rows are not those of the output.
template <class T>
class RankViews {
public:
  RankViews(OperatorBase& self, int threads, const View<const T>& input, const View<T>& output, bool mayArrange = true)
      : _order(mayArrange ? commonOrder(output) : AxisOrder()),
        _output(arranged(output, _order)),
        _source(self, threads, arranged(input, _order), _output, Aliasing::none,
                _output.hasDenseRows() ? RowLayout::dense : RowLayout::any) {}

  const AxisOrder& order() const { return _order; }
  const View<const T>& input() const { return _source.view(); }
  const View<T>& output() const { return _output; }
  /// The input along the axes of the views that were given.
  View<const T> shownInput() const { return arranged(_source.view(), inverse(_order)); }

private:
  const AxisOrder _order;
  const View<T> _output;
  const KeptInput<T> _source;
};

/// The mask that fits arranged views.
struct ArrangedMask {
  View<const uint8> view;
  Position<SizeType> anchor;

  ArrangedMask(const View<const uint8>& mask, const Position<SizeType>& maskAnchor, const AxisOrder& order)
      : view(arranged(mask, order)),
        anchor(arranged(maskAnchor, axisExtents(mask), order)) {}
};

inline void requireMaskVoxels(SizeType count, const Names& names) {
  require(count != 0, names.inApply(" the inputMask has no voxel set"));
}

}  // namespace NORV::TaviOperators::Impl
