#pragma once

#include <Parameter.hpp>
#include <RekHeaderComposite.hpp>

#include <string>

/// Writes the view of a volume to a REK file inside LZ4 frames.
///
/// The file is created or truncated. The header and each slice make one frame of independent blocks of 4 MiB, with a
/// checksum. The extension of the name decides as for RekWriter: that of "volume.rek.lz4" is neither "rek" nor "raw".
///
/// - NaN: the bits of every voxel are kept.
/// - Failures: InvalidParameterObjectException without inputVolume; std::invalid_argument for a name that is no file
///   name; std::runtime_error for a file that cannot be opened or written; std::overflow_error for extents beyond 32
///   bits. What was written stays, also after an abort: whole slices.
/// - Halo: whole volume.
/// - Memory: one encoded block of at most 4 MiB, and one slice if the slices of the view are not dense.
/// - Threads: serial. One step of progress per slice.
/// - Cost: that of encoding.
namespace NORV::TaviOperators::RekLz4Writer {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<SmartPointer<IVolume>> inputVolume;
  Property<RekHeaderPtr> inputHeader;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to write"});
    append("inputVolume", inputVolume, {Takes::volume, required, "volume whose view is written"});
    append("inputHeader", inputHeader, {Takes::object, optional, "header to start from, as a reader hands it out"});
  }
  std::string getType() const override { return "NORV::TaviOperators::RekLz4Writer::Parameter"; }
};

}  // namespace NORV::TaviOperators::RekLz4Writer
