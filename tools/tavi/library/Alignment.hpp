#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <array>
#include <string>

/// A part in the directions of its principal axes.
namespace NORV::TaviTool {

using Direction = std::array<double, 3>;

struct PrincipalAxes {
  bool exist = false;                 ///< an object of fewer than two voxels has none
  std::array<Direction, 3> axes{};    ///< in the scan, of length 1; the longest extent first
  std::array<double, 3> variances{};  ///< along them, in voxels squared
  Dimension<SizeType> box;            ///< that holds the part once it is aligned
  SmartPointer<IVolume> matrix;       ///< from positions in the scan to positions in the box
};

/// A volume of 0 and 1: 1 for the part with its pores. The part is what the air does not reach that surrounds it: the
/// voxels from `solid` on, and darker ones apart from the border of the volume.
SmartPointer<IVolume> partOf(Session& session, const SmartPointer<IVolume>& scan,
                             const SmartPointer<IComposite>& solid);

/// Of the voxels of the value 1.
PrincipalAxes principalAxesOf(Session& session, const SmartPointer<IVolume>& part);

/// Resamples with trilinear interpolation. The matrix maps positions of the volume to those of the result.
SmartPointer<IVolume> resampled(Session& session, const SmartPointer<IVolume>& volume,
                                const SmartPointer<IVolume>& matrix, const Dimension<SizeType>& size, double outer,
                                const std::string& doing);

/// A rotation about the middle of a volume, into extents that hold all of it.
struct Turn {
  SmartPointer<IVolume> matrix;
  Dimension<SizeType> size;
  std::array<Direction, 3> axes{};  ///< where the axes x, y and z point afterwards
};
/// The angles of EulerRotationMatrix, in degrees.
Turn turnAbout(const Dimension<SizeType>& size, double heading, double attitude, double bank);

}  // namespace NORV::TaviTool
