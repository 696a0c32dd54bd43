#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <optional>
#include <string>

/// Structuring elements: volumes of `uint8` whose voxels that are not 0 belong to the element.
namespace NORV::TaviTool {

/// All fill the box of their extents as far as their shape allows. A ball holds the voxels whose centres are not
/// outside the ellipsoid with semi-axes (extent - 1) / 2; a cross holds the three lines through the middle voxel. Both
/// need a middle voxel, so odd extents.
struct MaskSpec {
  std::string shape;  ///< "box", "ball" or "cross"
  Dimension<SizeType> dimension;
};

/// Throws UsageError, which names the argument, for a shape or extents that no mask can have.
MaskSpec parseMask(const std::string& argument, const std::string& shape, const std::string& dimension);

/// "ball:9x9x9" given for a key; nothing where the text does not begin with a shape and a colon, so is a file.
std::optional<MaskSpec> findMask(const std::string& key, const std::string& text);

/// Whether the shape of a mask may stand in place of a file.
bool mayBeMask(const KeyDescription& key);

/// Whether the text stands for the middle of the mask that the position is one of.
bool isMiddle(const KeyDescription& key, const std::string& text);

SmartPointer<IVolume> makeMask(Session& session, const MaskSpec& spec);

/// The position of the middle voxel; that behind the middle along even extents.
Position<SizeType> middleOf(const Dimension<SizeType>& dimension);

}  // namespace NORV::TaviTool
