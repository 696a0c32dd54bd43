#pragma once

#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/Overlap.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/Tiles.hpp>
#include <Impl/Loops/TransformArranged.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/Allocators.hpp>
#include <Tavi/Volume.hpp>

#include <cstddef>
#include <cstring>

/// Inputs as they were before a run, whatever the run writes to an output that may share memory with them.
namespace NORV::TaviOperators::Impl {

/// Voxels that are only moved.
struct Move {
  template <class Voxel>
  Voxel operator()(const Voxel& voxel) const {
    return voxel;
  }
  template <class Voxel>
  void row(const Voxel* from, Voxel* to, SizeType count) const {
    std::memcpy(to, from, count * sizeof(Voxel));
  }
};

template <std::size_t bytes>
[[gnu::noinline]] void copyOpaque(OperatorBase& self, int threads, const View<const OpaqueVoxel<bytes>>& from,
                                  const View<OpaqueVoxel<bytes>>& to) {
  constexpr double nanosecondsPerVoxel = 0.1;
  const AxisOrder order = commonOrder(to, from);
  transformArranged(
      {self, threads, Steps::silent, Schedule::fixed, to.dimTert, LoopTime::of(from.size(), nanosecondsPerVoxel)},
      Move(), arranged(to, order), arranged(from, order));
}

/// Copies between views of equal extents that share no voxel, in parallel. An aborted run leaves the copy unfinished.
template <class T>
void copyVoxels(OperatorBase& self, int threads, const View<const T>& from, const View<T>& to) {
  using Voxel = OpaqueVoxel<sizeof(T)>;
  copyOpaque<sizeof(T)>(self, threads, opaqueView<const Voxel>(from), opaqueView<Voxel>(to));
}

/// What an operator needs of the rows of a view: nothing, or that the voxels of each lie one after the other.
enum class RowLayout { any, dense };

template <class T>
bool hasRows(const View<T>& view, RowLayout needed) {
  return needed == RowLayout::any || view.dimPrim <= 1 || view.hasDenseRows();
}

/// The view of an input, or of a copy where the input overlaps the output in a way that the operator does not tolerate:
/// `identical` suits operators that read each voxel before they write the one at its position, `none` those that read
/// neighbours. It is copied, too, where its rows are not as needed. Extra memory: a volume like the input where it is
/// copied.
template <class T>
class KeptInput {
public:
  template <class Out>
  KeptInput(OperatorBase& self, int threads, const View<const T>& input, const View<Out>& output, Aliasing tolerated,
            RowLayout needed = RowLayout::any)
      : KeptInput(self, threads, input, aliasingOf(input, output) > tolerated || !hasRows(input, needed)) {}
  /// As is or as a copy, where nothing is written meanwhile.
  KeptInput(OperatorBase& self, int threads, const View<const T>& input, RowLayout needed)
      : KeptInput(self, threads, input, !hasRows(input, needed)) {}
  KeptInput(OperatorBase& self, int threads, const View<const T>& input, bool isCopied) : _view(input) {
    if (isCopied) {
      copy(self, threads);
    }
  }
  KeptInput(const KeptInput&) = delete;
  KeptInput& operator=(const KeptInput&) = delete;

  const View<const T>& view() const { return _view; }

private:
  [[gnu::noinline]] void copy(OperatorBase& self, int threads) {
    const Tavi::Dimension<SizeType> extents(_view.dimPrim, _view.dimSec, _view.dimTert);
    _block = Tavi::Allocator::SingleBlockAllocator::allocate<T>(extents);
    const View<T> dense = denseView(_block.getData(), extents);
    copyVoxels(self, threads, _view, dense);
    _view = readOnly(dense);
  }

  Tavi::Allocator::Block<T> _block;
  View<const T> _view;
};

/// A copy of the view of a volume.
template <class VolumePointer>
VolumePointer copyOfView(OperatorBase& self, int threads, const VolumePointer& volume) {
  using Volume = typename VolumePointer::Pointee;
  const Volume& readOnly = *volume;
  const VolumePointer copy(new Volume(volume->getDimension()));
  copyVoxels(self, threads, viewOf(readOnly), viewOf(*copy));
  return copy;
}

/// As KeptInput, for operators that need a volume: the input itself or a copy of its view.
template <class InputPtr, class OutputPtr>
InputPtr keptVolume(OperatorBase& self, int threads, const InputPtr& input, const OutputPtr& output,
                    Aliasing tolerated) {
  const bool isSafe = aliasingOf(inputViewOf(*input), viewOf(*output)) <= tolerated;
  return isSafe ? input : copyOfView(self, threads, input);
}

/// As `keptVolume`, before `output`, which may be null, is resized: the input is copied where it shares memory with any
/// voxel of the output, also one that its view does not show yet.
template <class InputPtr, class OutputPtr>
InputPtr keptBeforeResize(OperatorBase& self, int threads, const InputPtr& input, const OutputPtr& output) {
  if (output == nullptr) {
    return input;
  }
  const auto block = denseView(output->getData(), output->getAllocatedDimension());
  return mayOverlap(inputViewOf(*input), block) ? copyOfView(self, threads, input) : input;
}

}  // namespace NORV::TaviOperators::Impl
