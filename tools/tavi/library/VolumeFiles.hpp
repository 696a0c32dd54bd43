#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <optional>
#include <string>

/// Volumes in files: which operator reads and writes which kind of file is decided here and nowhere else.
namespace NORV::TaviTool {

/// A kind of volume file, by the end of its name.
struct FileFormat {
  const char* extension;
  const char* reader;
  const char* writer;
};

/// "volume.rek", "volume.raw:256x256x128:uint16:big": a file name with voxel type, extents and byte order. A raw
/// file needs extents and voxel type to be read; its bytes are little-endian unless "big" is given. For a file to
/// write, they are the voxel type and extents of the volume to make.
struct VolumeFile {
  std::string name;
  std::string voxelType;
  std::optional<Dimension<SizeType>> dimension;
  bool isBigEndian = false;
};

/// Throws UsageError, which begins with the key unless that is empty.
VolumeFile parseVolumeFile(const std::string& key, const std::string& text);

/// The kind of a file by its name; throws UsageError, which lists the known ends of names, for any other.
const FileFormat& formatOf(const std::string& file);

/// The end of the name of a volume file as it is written there; empty for any other name.
std::string volumeExtensionOf(const std::string& file);

/// Whether a name has the end of a volume file that this library writes.
bool isWritableVolumeName(const std::string& file);

/// The voxel types that the writer of the file takes.
std::vector<std::string> writableTypes(const std::string& file);

/// Throws UsageError for what cannot be read or written by its name, and Failure for a folder that takes no file,
/// before anything is opened. `text` is as for parseVolumeFile.
void requireReadable(const std::string& text);
void requireWritable(const std::string& text);
/// Throws UsageError where the writer of the target has no instance for the voxel type.
void requireVoxelType(const std::string& file, const std::string& voxelType);

/// `text` is as for parseVolumeFile.
SmartPointer<IVolume> loadVolume(Session& session, const std::string& text);

/// Voxel type and extents from the head of a file. The extents are absent for formats whose head has none.
struct VolumeHead {
  std::string voxelType;
  std::optional<Dimension<SizeType>> dimension;
};
/// Reads no voxel; throws as loadVolume does for a file that does not open or whose head is no such file's.
VolumeHead headOf(Session& session, const std::string& text);

/// Writes beside the target and puts the file in its place when it is complete, so that a failure or an interrupt
/// costs no file that was there before. Targets that are no regular files are written directly. Voxel type and extents
/// in `text` are for who makes the volume.
void saveVolume(Session& session, const SmartPointer<IVolume>& volume, const std::string& text);

/// Throws Failure for a file that is shorter than its volume, where the operator that read or wrote it does not check.
void requireWholeFile(const std::string& writtenName, const std::string& shownName, const std::string& op,
                      const IVolume& volume);

/// Writes a file that is no volume, likewise.
void writeText(Session& session, const std::string& text, const std::string& file);

}  // namespace NORV::TaviTool
