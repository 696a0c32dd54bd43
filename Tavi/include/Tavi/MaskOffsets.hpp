#pragma once

#include <Tavi/Exceptions.hpp>
#include <Tavi/ForEach.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/Volume.hpp>

#include <algorithm>
#include <stdexcept>

namespace NORV::Tavi::Iterating {

/// A structuring element compiled for one volume: the offsets of its voxels from the anchor, in mask order (tert
/// outermost, prim innermost), and the interior box of all positions of the anchor at which the anchor and the whole
/// element lie inside the volume. It holds for volumes with the same strides only.
///
/// Extra memory: 9 bytes per voxel of the element. Built on the calling thread; threads may share it.
template <class MaskPtr>
class MaskOffsets : public Functor {
  using MaskVoxel = typename MaskPtr::Voxel;

public:
  /// Throws `std::invalid_argument` without a mask, and InvalidArg for an anchor outside of the mask or a mask that is
  /// longer than the volume along any axis.
  MaskOffsets(const SmartPointer<IVolume>& volume, const MaskPtr& mask, const Position<SizeType>& anchor) {
    check(volume, mask, anchor);
    const Dimension<SizeType> dimension = volume->getDimension();
    Progress progress;
    const bool aborted = false;

    ZeroCounter zeros;
    ForEach::apply(&zeros, mask, &progress, &aborted);
    _count = mask->getSize() - zeros.count();
    _interiorSize = dimension;
    if (_count == 0) {
      return;
    }
    const Dimension<SizeType> listDimension(_count, 1, 1);
    _offsets = VolumePtr<int64>(new Volume<int64>(listDimension));
    _values = MaskPtr(new typename MaskPtr::Pointee(listDimension));
    _firstOffset = _offsets->getData();
    _firstValue = _values->getData();

    OffsetCalculator calculator(*volume, mask->getDimension(), anchor, _firstOffset, _firstValue);
    ForEach::apply(&calculator, mask, &progress, &aborted);
    const Position<SizeType> low = calculator.low(), high = calculator.high();
    _interiorOrigin = Position<SizeType>(anchor.prim - low.prim, anchor.sec - low.sec, anchor.tert - low.tert);
    _interiorSize = Dimension<SizeType>(dimension.prim - (high.prim - low.prim), dimension.sec - (high.sec - low.sec),
                                        dimension.tert - (high.tert - low.tert));
  }

  SizeType count() const { return _count; }
  /// The first of `count()` offsets in voxels; null if there is none.
  const int64* offsets() const { return _firstOffset; }
  /// The mask's values at the same entries.
  const MaskVoxel* values() const { return _firstValue; }
  const Dimension<SizeType>& interiorSize() const { return _interiorSize; }
  const Position<SizeType>& interiorOrigin() const { return _interiorOrigin; }

private:
  class ZeroCounter : public Functor {
  public:
    void operator()(const MaskVoxel& voxel) { _count += voxel == MaskVoxel(0) ? 1u : 0u; }
    SizeType count() const { return _count; }

  private:
    SizeType _count = 0;
  };

  /// Writes offsets and values of the voxels of the element and follows the box that holds them and the anchor.
  class OffsetCalculator : public Functor {
  public:
    OffsetCalculator(const IVolume& volume, const Dimension<SizeType>& maskDimension, const Position<SizeType>& anchor,
                     int64* offset, MaskVoxel* value)
        : _volume(volume),
          _maskDimension(maskDimension),
          _anchorOffset(volume.getOffset(anchor)),
          _low(anchor),
          _high(anchor),
          _offset(offset),
          _value(value) {}

    void operator()(const MaskVoxel& voxel) {
      if (voxel != MaskVoxel(0)) {
        *_offset++ = _volume.getOffset(_position) - _anchorOffset;
        *_value++ = voxel;
        _low = combine(_low, [](SizeType a, SizeType b) { return std::min(a, b); });
        _high = combine(_high, [](SizeType a, SizeType b) { return std::max(a, b); });
      }
      if (++_position.prim == _maskDimension.prim) {
        _position.prim = 0;
        if (++_position.sec == _maskDimension.sec) {
          _position.sec = 0;
          ++_position.tert;
        }
      }
    }
    const Position<SizeType>& low() const { return _low; }
    const Position<SizeType>& high() const { return _high; }

  private:
    template <class Choose>
    Position<SizeType> combine(const Position<SizeType>& corner, const Choose& choose) const {
      return {choose(corner.prim, _position.prim), choose(corner.sec, _position.sec),
              choose(corner.tert, _position.tert)};
    }

    const IVolume& _volume;
    const Dimension<SizeType> _maskDimension;
    const int64 _anchorOffset;
    Position<SizeType> _position, _low, _high;
    int64* _offset;
    MaskVoxel* _value;
  };

  static void check(const SmartPointer<IVolume>& volume, const MaskPtr& mask, const Position<SizeType>& anchor) {
    if (mask == nullptr) {
      throw std::invalid_argument("NORV::Tavi::Iterating::MaskOffsets::MaskFunktor::MaskFunktor() mask_ is NULL");
    }
    constexpr const char* function = "NORV::Tavi::Iterating::MaskOffsets::MaskFunktor()";
    constexpr const char* file = "TaviOperators/include/../../Tavi/include/Tavi/MaskOffsets";
    if (volume == nullptr) {
      throw Exceptions::NULLPointer(function, "volume_");
    }
    if (anchor.prim >= mask->getDimPrim() || anchor.sec >= mask->getDimSec() || anchor.tert >= mask->getDimTert()) {
      throw Exceptions::InvalidArg({function, file, 318}, "Anchor is not inside of mask_!");
    }
    if (mask->getDimPrim() > volume->getDimPrim() || mask->getDimSec() > volume->getDimSec() ||
        mask->getDimTert() > volume->getDimTert()) {
      throw Exceptions::InvalidArg({function, file, 324}, "Mask is bigger than volume!");
    }
  }

  VolumePtr<int64> _offsets;
  MaskPtr _values;
  int64* _firstOffset = nullptr;
  MaskVoxel* _firstValue = nullptr;
  SizeType _count = 0;
  Dimension<SizeType> _interiorSize;
  Position<SizeType> _interiorOrigin;
};

}  // namespace NORV::Tavi::Iterating
