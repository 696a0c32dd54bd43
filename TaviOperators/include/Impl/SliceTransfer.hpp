#pragma once

#include <Impl/View.hpp>
#include <Operator.hpp>
#include <Tavi/Copy.hpp>

namespace NORV::TaviOperators::Impl {

/// Shows one slice of a volume while it lives.
class ScopedSlice {
public:
  ScopedSlice(IVolume& volume, SizeType index) : _volume(volume) { _volume.setRoiToSlice(index); }
  ScopedSlice(const ScopedSlice&) = delete;
  ScopedSlice& operator=(const ScopedSlice&) = delete;
  ~ScopedSlice() { _volume.popRoi(); }

private:
  IVolume& _volume;
};

/// Copies the view of one volume into that of another of like extents.
template <class VolumePointer>
void copyView(const VolumePointer& from, const VolumePointer& to) {
  const SmartPointer<Tavi::Copy::Parameter> parameter(new Tavi::Copy::Parameter);
  parameter->inputVolume = SmartPointer<IVolume>(from);
  parameter->outputVolume = SmartPointer<IVolume>(to);
  Tavi::Copy::Operator<VolumePointer, VolumePointer>().apply(parameter);
}

enum class Direction { intoVolume, outOfVolume };

/// Moves a volume slice by slice between its view and a file; `transfer(voxels, bytes)` reads or writes one slice. A
/// dense slice is moved in place, any other through one temporary slice. Tests for an abort before each slice and
/// counts it afterwards.
template <class VolumePointer, class Transfer>
void transferSlices(OperatorBase& self, const VolumePointer& volume, Direction direction, const Transfer& transfer) {
  using T = VoxelOf<VolumePointer>;
  const auto view = viewOf(*volume);
  const SizeType bytes = view.dimPrim * view.dimSec * sizeof(T);
  VolumePointer slice;
  if (!view.hasDenseSlices() && view.dimTert > 0) {
    slice = VolumePointer(new Volume<T>(Dimension<SizeType>(view.dimPrim, view.dimSec, 1)));
  }
  for (SizeType tert = 0; tert < view.dimTert && !self.isAborted(); ++tert) {
    if (slice == nullptr) {
      transfer(view.row(0, tert), bytes);
    } else if (direction == Direction::intoVolume) {
      transfer(slice->getData(), bytes);
      const ScopedSlice shown(*volume, tert);
      copyView(slice, volume);
    } else {
      {
        const ScopedSlice shown(*volume, tert);
        copyView(volume, slice);
      }
      transfer(slice->getData(), bytes);
    }
    self.advance();
  }
}

}  // namespace NORV::TaviOperators::Impl
