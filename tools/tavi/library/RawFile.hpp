#pragma once

#include <Common.hpp>
#include <Session.hpp>
#include <VolumeFiles.hpp>

#include <string>

/// Files of voxels and nothing else, prim fastest, tert slowest.
namespace NORV::TaviTool {

/// Throws Failure for a file that does not open or whose size is not that of the volume.
void requireRawSize(const VolumeFile& file);

/// `file` has voxel type and extents.
SmartPointer<IVolume> readRaw(Session& session, const VolumeFile& file);

/// Writes the view of the volume to the file `name`; messages name `file.name`.
void writeRaw(Session& session, const SmartPointer<IVolume>& volume, const VolumeFile& file, const std::string& name);

}  // namespace NORV::TaviTool
