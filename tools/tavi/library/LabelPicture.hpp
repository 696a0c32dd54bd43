#pragma once

#include <Common.hpp>
#include <Picture.hpp>

namespace NORV::TaviTool {

/// Looks through a scan along z, y and x, side by side: the mean grey value along each line of sight, and over it the
/// nearest object of a label volume of `uint32` and of the same extents, each label in a colour of its own.
Picture seeThrough(const SmartPointer<IVolume>& scan, const SmartPointer<IVolume>& labels, SizeType numberOfLabels);

}  // namespace NORV::TaviTool
