#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/Copy.hpp>

#include <optional>

namespace NORV::TaviOperators::Impl {

enum class Direction { intoVolume, outOfVolume };

/// Copies between one dense slice and the slices of a volume's view. It shows the slices in a volume of its own on the
/// same voxels: the region of the host's volume stays as it is, whatever fails here or works on the volume elsewhere.
template <class VolumePointer>
class SliceCopy {
  using T = VoxelOf<VolumePointer>;
  using Shown = Volume<T, Tavi::Allocator::ExternalBufferAllocator<typename VolumePointer::AllocatorType>>;

public:
  SliceCopy(const VolumePointer& volume, Direction direction)
      : _shown(new Shown(volume)),
        _slice(new Volume<T>(Dimension<SizeType>(volume->getDimPrim(), volume->getDimSec(), 1))),
        _parameter(new Tavi::Copy::Parameter) {
    const bool into = direction == Direction::intoVolume;
    _parameter->inputVolume = into ? SmartPointer<IVolume>(_slice) : SmartPointer<IVolume>(_shown);
    _parameter->outputVolume = into ? SmartPointer<IVolume>(_shown) : SmartPointer<IVolume>(_slice);
    _copy = createByIdentifier("NORV::Tavi::Copy::Operator< " + _parameter->inputVolume.value()->getType() + ", " +
                               _parameter->outputVolume.value()->getType() + " >");
  }

  T* slice() { return _slice->getData(); }
  void copy(SizeType index) {
    _shown->setRoiToSlice(index);
    _copy->apply(_parameter);
    _shown->popRoi();
  }

private:
  SmartPointer<Shown> _shown;
  SmartPointer<Volume<T>> _slice;
  SmartPointer<Tavi::Copy::Parameter> _parameter;
  SmartPointer<IOperator> _copy;
};

/// Moves a volume slice by slice between its view and a stream; `transfer(voxels, bytes)` reads or writes one slice. A
/// dense slice is moved in place, any other through one temporary slice. Tests for an abort before each slice and
/// counts it afterwards.
template <class VolumePointer, class Transfer>
void transferSlices(OperatorBase& self, const VolumePointer& volume, Direction direction, const Transfer& transfer) {
  const auto view = viewOf(*volume);
  const SizeType bytes = view.dimPrim * view.dimSec * sizeof(VoxelOf<VolumePointer>);
  std::optional<SliceCopy<VolumePointer>> copies;
  if (!view.hasDenseSlices() && view.dimTert > 0) {
    copies.emplace(volume, direction);
  }
  for (SizeType tert = 0; tert < view.dimTert && !self.isAborted(); ++tert) {
    if (!copies) {
      transfer(view.row(0, tert), bytes);
    } else if (direction == Direction::intoVolume) {
      transfer(copies->slice(), bytes);
      copies->copy(tert);
    } else {
      copies->copy(tert);
      transfer(copies->slice(), bytes);
    }
    self.advance();
  }
}

}  // namespace NORV::TaviOperators::Impl
