#pragma once

#include <Common.hpp>
#include <Session.hpp>

/// Objects of a binary volume: which ones the volume cuts off, and where touching ones part.
namespace NORV::TaviTool {

/// A `uint8` volume of 0 and 1 without the objects that reach the border of the volume.
struct InnerObjects {
  SmartPointer<IVolume> binary;
  SizeType objects = 0;  ///< inside; objects connect through faces, edges and corners
  SizeType removed = 0;  ///< at the border
};
InnerObjects innerObjectsOf(Session& session, const SmartPointer<IVolume>& binary, const char* doing);

/// A maximum of the distance becomes an object of its own where the way to the next one falls by more than this: a
/// lower one is a step of the voxel grid. The distance counts 3 for a step along an axis.
inline constexpr SizeType separationHeight = 2;

/// Divides objects where they narrow: the distance to the background, without its low maxima, upside down, is a relief
/// whose catchment basins are the objects. The distance is twice the steps through faces and once those that may also
/// go through edges and corners, which is nearer to the Euclidean distance than each alone: the one hardly narrows
/// along the diagonals of space, the other along those of the planes. Labels from 1 on, `uint32`; `objects` becomes
/// their number. There must be an object.
SmartPointer<IVolume> separated(Session& session, const SmartPointer<IVolume>& binary, SizeType& objects);

}  // namespace NORV::TaviTool
