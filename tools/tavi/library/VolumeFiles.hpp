#pragma once

#include <Common.hpp>
#include <Session.hpp>

#include <string>

/// Volumes in files: which operator reads and writes which kind of file is decided here and nowhere else.
namespace NORV::TaviTool {

/// A kind of volume file, by the end of its name.
struct FileFormat {
  const char* extension;
  const char* reader;
  const char* writer;
};

/// The kind of a file by its name; throws UsageError, which lists the known ends of names, for any other.
const FileFormat& formatOf(const std::string& file);

/// The end of the name of a volume file as it is written there; empty for any other name.
std::string volumeExtensionOf(const std::string& file);

/// Whether a name has the end of a volume file that this library writes.
bool isWritableVolumeName(const std::string& file);

/// Throws UsageError for a name that cannot be read or written, and Failure for a folder that takes no file, before
/// anything is opened.
void requireReadable(const std::string& file);
void requireWritable(const std::string& file);

SmartPointer<IVolume> loadVolume(Session& session, const std::string& file);

/// Writes beside the target and puts the file in its place when it is complete, so that a failure or an interrupt
/// costs no file that was there before. Targets that are no regular files are written directly.
void saveVolume(Session& session, const SmartPointer<IVolume>& volume, const std::string& file);

/// Writes a file that is no volume, likewise.
void writeText(Session& session, const std::string& text, const std::string& file);

}  // namespace NORV::TaviTool
