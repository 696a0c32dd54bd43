#pragma once

#include <Impl/Loops/Overlap.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/Allocators.hpp>
#include <Tavi/Volume.hpp>

#include <algorithm>
#include <cstddef>

/// Inputs as they were before a run, whatever the run writes to an output that may share memory with them.
namespace NORV::TaviOperators::Impl {

/// A voxel of a given size that is only moved, so that what copies is compiled once for each size.
template <std::size_t bytes>
struct OpaqueVoxel {
  std::byte value[bytes];
};

template <std::size_t bytes>
[[gnu::noinline]] void copyOpaque(OperatorBase& self, int threads, const View<const OpaqueVoxel<bytes>>& from,
                                  const View<OpaqueVoxel<bytes>>& to) {
  constexpr double nanosecondsPerVoxel = 0.1;
  const LoopTime time = LoopTime::of(from.size(), nanosecondsPerVoxel);
  forEachSlice(self, threads, from.dimTert, Steps::silent, time, [&](SizeType tert) {
    for (SizeType sec = 0; sec < from.dimSec; ++sec) {
      const auto* source = from.row(sec, tert);
      auto* target = to.row(sec, tert);
      if (from.hasDenseRows() && to.hasDenseRows()) {
        std::copy_n(source, from.dimPrim, target);
      } else {
        for (SizeType prim = 0; prim < from.dimPrim; ++prim) {
          target[static_cast<int64>(prim) * to.stridePrim] = source[static_cast<int64>(prim) * from.stridePrim];
        }
      }
    }
  });
}

/// Copies between views of equal extents that share no voxel, in parallel. An aborted run leaves the copy unfinished.
template <class T>
void copyVoxels(OperatorBase& self, int threads, const View<const T>& from, const View<T>& to) {
  using Voxel = OpaqueVoxel<sizeof(T)>;
  const auto opaque = [](const auto& view, auto* data) {
    return View<std::remove_pointer_t<decltype(data)>>{
        data, view.dimPrim, view.dimSec, view.dimTert, view.stridePrim, view.strideSec, view.strideTert};
  };
  copyOpaque<sizeof(T)>(self, threads, opaque(from, reinterpret_cast<const Voxel*>(from.data)),
                        opaque(to, reinterpret_cast<Voxel*>(to.data)));
}

/// The view of an input, or of a copy where the input overlaps the output in a way that the operator does not tolerate:
/// `identical` suits operators that read each voxel before they write the one at its position, `none` those that read
/// neighbours. Extra memory: a volume like the input where it is copied.
template <class T>
class KeptInput {
public:
  template <class Out>
  KeptInput(OperatorBase& self, int threads, const View<const T>& input, const View<Out>& output, Aliasing tolerated)
      : _view(input) {
    if (aliasingOf(input, output) > tolerated) {
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
    _view = {dense.data,       dense.dimPrim,   dense.dimSec,    dense.dimTert,
             dense.stridePrim, dense.strideSec, dense.strideTert};
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
