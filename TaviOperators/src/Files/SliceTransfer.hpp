#pragma once

#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

#include <cstring>

namespace NORV::TaviOperators::Impl {

enum class Direction { intoVolume, outOfVolume };

/// Copies between a dense slice in memory and one slice of a view.
template <class T>
void copySlice(const View<T>& view, SizeType tert, T* slice, Direction direction) {
  for (SizeType sec = 0; sec < view.dimSec; ++sec, slice += view.dimPrim) {
    T* const row = view.row(sec, tert);
    const bool into = direction == Direction::intoVolume;
    if (view.hasDenseRows()) {
      std::memcpy(into ? row : slice, into ? slice : row, view.dimPrim * sizeof(T));
      continue;
    }
    for (SizeType prim = 0; prim < view.dimPrim; ++prim) {
      T& voxel = row[static_cast<int64>(prim) * view.stridePrim];
      (into ? voxel : slice[prim]) = into ? slice[prim] : voxel;
    }
  }
}

/// Moves a volume slice by slice between its view and a stream; `transfer(voxels, bytes)` reads or writes one slice. A
/// dense slice is moved in place, any other through one temporary slice. Tests for an abort before each slice and
/// counts it afterwards.
template <class VolumePointer, class Transfer>
void transferSlices(OperatorBase& self, const VolumePointer& volume, Direction direction, const Transfer& transfer) {
  using T = VoxelOf<VolumePointer>;
  const auto view = viewOf(*volume);
  const SizeType bytes = view.dimPrim * view.dimSec * sizeof(T);
  VolumePtr<T> temporary;
  if (!view.hasDenseSlices() && view.dimTert > 0) {
    temporary = VolumePtr<T>(new Volume<T>(Dimension<SizeType>(view.dimPrim, view.dimSec, 1)));
  }
  for (SizeType tert = 0; tert < view.dimTert && !self.isAborted(); ++tert) {
    if (temporary == nullptr) {
      transfer(view.row(0, tert), bytes);
    } else if (direction == Direction::intoVolume) {
      transfer(temporary->getData(), bytes);
      copySlice(view, tert, temporary->getData(), direction);
    } else {
      copySlice(view, tert, temporary->getData(), direction);
      transfer(temporary->getData(), bytes);
    }
    self.advance();
  }
}

}  // namespace NORV::TaviOperators::Impl
