#pragma once

#include <Tavi/Export.hpp>
#include <Tavi/IComposite.hpp>
#include <Tavi/IVolume.hpp>
#include <Tavi/SmartPointer.hpp>
#include <Tavi/Types.hpp>
#include <Tavi/Volume.hpp>

namespace NORV::TaviOperators {

/// A spatial transform that is described by named parameters, as a 4 x 4 matrix. It has no lock: a transform must not
/// change while it is read.
class TAVI_EXPORT IAffineTransformMatrix : public Tavi::Persistence::IComposite {
public:
  ~IAffineTransformMatrix() override = default;

  /// The matrix as a new volume of 4 x 4 x 1 voxels, the element of row r and column c at x = c, y = r.
  virtual Tavi::VolumePtr<float64> getMatrix() const = 0;
  /// The same as a volume of any voxel type.
  virtual Tavi::SmartPointer<Tavi::IVolume> getMatrixVolume() const = 0;
};

}  // namespace NORV::TaviOperators
