#pragma once

#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/Allocators.hpp>

namespace NORV::TaviOperators::Impl {

/// An output for operators that visit voxels along the axes of the view and write all of them: the output itself, or a
/// volume beside it where its rows are not dense, from which `store` copies them in tiles. Extra memory: a volume like
/// the output where its rows are not dense.
template <class T>
class DenseOutput {
public:
  explicit DenseOutput(const View<T>& output) : _output(output), _view(output) {
    if (!hasRows(output, RowLayout::dense)) {
      const Tavi::Dimension<SizeType> extents(output.dimPrim, output.dimSec, output.dimTert);
      _block = Tavi::Allocator::SingleBlockAllocator::allocate<T>(extents);
      _view = denseView(_block.getData(), extents);
    }
  }
  DenseOutput(const DenseOutput&) = delete;
  DenseOutput& operator=(const DenseOutput&) = delete;

  const View<T>& view() const { return _view; }

  /// Whether `view` is the output itself.
  bool isOutput() const { return _view.data == _output.data; }

  /// To be called once, after the last voxel was written.
  void store(int threads) const {
    if (!isOutput()) {
      Unstoppable copying;
      copyVoxels(copying, threads, readOnly(_view), _output);
    }
  }

private:
  Tavi::Allocator::Block<T> _block;
  View<T> _output, _view;
};

}  // namespace NORV::TaviOperators::Impl
