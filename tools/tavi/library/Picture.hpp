#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <string>
#include <vector>

/// Pictures of slices.
namespace NORV::TaviTool {

/// The smallest and the largest voxel, each a `Data` of the voxel type.
struct Extremes {
  SmartPointer<IComposite> minimum, maximum;
};
Extremes extremesOf(Session& session, const SmartPointer<IVolume>& volume);

/// The grey values that become black and white.
struct GreyRange {
  double black = 0.0, white = 0.0;
};
GreyRange greyRangeOf(Session& session, const SmartPointer<IVolume>& volume);

/// Rows from top to bottom, each from left to right; grey, or red, green and blue side by side.
struct Picture {
  SizeType width = 0, height = 0;
  SizeType channels = 1;
  std::vector<uint8> pixels;
};

/// Between black and white; a NaN is black.
uint8 greyOf(double value, const GreyRange& range);

/// A slice across an axis. Across z, x points right and y down; across y, x points right and z down; across x, y points
/// right and z down. A NaN is black. The index must be inside.
Picture sliceOf(const SmartPointer<IVolume>& volume, char axis, SizeType index, const GreyRange& range);

/// Side by side, or one above the other, on black with a gap between them. All are grey or all are coloured.
Picture sideBySide(const std::vector<Picture>& pictures, SizeType gap);
Picture stacked(const std::vector<Picture>& pictures, SizeType gap);

/// The middle slices across z, y and x, side by side.
Picture threeSlices(const SmartPointer<IVolume>& volume, const GreyRange& range);

/// A portable grey map (".pgm"), a portable pixmap (".ppm") where the picture is coloured, or whatever kind of volume
/// file with 8-bit voxels the name of a grey one asks for.
void savePicture(Session& session, const Picture& picture, const std::string& file);

}  // namespace NORV::TaviTool
