#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Names.hpp>
#include <Impl/Frame/OperatorByName.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/RegionOfInterest.hpp>
#include <Tavi/Volume.hpp>

#include <Reconstruction/NeighbourOffsets.hpp>

namespace NORV::TaviOperators::Impl {

/// Where a padded volume has its shell: on all sides, in no slice but those of the interior, or at the ends of the
/// rows of the interior only.
enum class Shell { around, inSlices, inRows };

/// A dense work volume with a shell of one voxel, so that each interior voxel has all of its neighbours and loops need
/// no bounds test. Neither interior nor shell are initialised.
///
/// Offsets are signed 64-bit distances from the first voxel of the block.
template <class T>
class PaddedVolume {
public:
  /// Throws `std::bad_alloc` or `std::overflow_error` for extents that no memory holds.
  explicit PaddedVolume(const Dimension<SizeType>& interior, Shell shell = Shell::around)
      : _interior(interior),
        _marginSec(marginSec(interior, shell)),
        _marginTert(shell != Shell::around && interior.tert > 0 ? 0 : 1),
        _volume(new Volume<T>(
            Dimension<SizeType>(interior.prim + 2, interior.sec + 2 * _marginSec, interior.tert + 2 * _marginTert))) {}

  /// The nested operator that sets the shell: run it with `requestShell`.
  static std::string shellOperator() {
    return composeIdentifier(Names("BorderInitialization"), Volume<T>::identifier());
  }
  SmartPointer<IComposite> requestShell(T value) const {
    const SmartPointer<IComposite> request =
        Tavi::Factory::getClassFactory().createInstance(Names("BorderInitialization").parameterType());
    request->setValue("modifyVolume", SmartPointer<IComposite>(_volume));
    request->setValue("inputExclusionRoi", SmartPointer<IComposite>(new Tavi::RoiComposite(region())));
    request->setValue("inputBorderValue", SmartPointer<IComposite>(new Data<T>(value)));
    return request;
  }

  /// The volume itself; it shows the shell until `showInterior`.
  const VolumePtr<T>& volume() const { return _volume; }
  void showInterior() { _volume->setRoi(region()); }

  T* data() { return _volume->getData(); }
  const T* data() const { return _volume->getData(); }
  /// Voxels in the block, shell included.
  SizeType size() const { return _volume->getAllocatedDimension().size(); }
  Dimension<SizeType> extents() const { return _interior; }

  Strides strides() const { return stridesFor(_interior, _marginSec); }
  /// Those of a padded volume before it is made.
  static Strides stridesFor(const Dimension<SizeType>& interior, Shell shell) {
    return stridesFor(interior, marginSec(interior, shell));
  }
  /// The offset of a voxel of the interior.
  int64 offset(SizeType prim, SizeType sec, SizeType tert) const {
    const Strides stride = strides();
    return static_cast<int64>(prim + 1) + static_cast<int64>(sec + _marginSec) * stride.sec +
           static_cast<int64>(tert + _marginTert) * stride.tert;
  }
  /// The voxel of the interior that an offset leads to.
  Position<SizeType> position(int64 offset) const {
    const Strides stride = strides();
    const int64 inSlice = offset % stride.tert;
    return {static_cast<SizeType>(inSlice % stride.sec) - 1, static_cast<SizeType>(inSlice / stride.sec) - _marginSec,
            static_cast<SizeType>(offset / stride.tert) - _marginTert};
  }

  View<T> interior() {
    const Strides stride = strides();
    return {data() + (_interior.size() == 0 ? 0 : offset(0, 0, 0)),
            _interior.prim,
            _interior.sec,
            _interior.tert,
            stride.prim,
            stride.sec,
            stride.tert};
  }

private:
  static SizeType marginSec(const Dimension<SizeType>& interior, Shell shell) {
    return shell == Shell::inRows && interior.sec > 0 ? 0 : 1;
  }
  static Strides stridesFor(const Dimension<SizeType>& interior, SizeType marginSec) {
    const auto sec = static_cast<int64>(interior.prim + 2);
    return {1, sec, sec * static_cast<int64>(interior.sec + 2 * marginSec)};
  }

  RegionOfInterest region() const {
    const bool isEmpty = _interior.size() == 0;
    return RegionOfInterest(_interior, Position<SizeType>(1, isEmpty ? 1 : _marginSec, isEmpty ? 1 : _marginTert));
  }

  Dimension<SizeType> _interior;
  SizeType _marginSec;
  SizeType _marginTert;
  VolumePtr<T> _volume;
};

}  // namespace NORV::TaviOperators::Impl
