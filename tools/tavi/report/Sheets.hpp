#pragma once

#include <Common.hpp>
#include <Picture.hpp>
#include <Session.hpp>

#include <array>
#include <string>
#include <vector>

/// The pictures of a report.
namespace NORV::TaviTool::Report {

/// The slices of a volume across one axis as tiles of one picture, row by row.
struct Sheet {
  std::string uri;                 ///< PNG, as a data URI
  SizeType width = 0, height = 0;  ///< of a tile
  SizeType columns = 1;            ///< tiles side by side
  SizeType extent = 0;             ///< slices that the volume has
  std::vector<SizeType> slices;    ///< those that are tiles
};
/// Across z, y and x.
using Sheets = std::array<Sheet, 3>;

/// In 128 shades of grey, as the last bit is noise that takes space: 1, 3 to 255. Each pixel is the mean of the voxels
/// that it covers.
Sheets greySheets(Session& session, const SmartPointer<IVolume>& volume, const GreyRange& range);

/// Label l becomes 1 + (l - 1) % colours, and 0 stays; each pixel is one voxel.
Sheets labelSheets(Session& session, const SmartPointer<IVolume>& labels, SizeType colours);

/// A grey or coloured picture as a data URI. The operator PngWriter writes it, so it is grey: of a coloured one
/// the planes stand one below the other.
std::string pngUri(Session& session, const Picture& picture);

}  // namespace NORV::TaviTool::Report
