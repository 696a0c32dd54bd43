#pragma once

#include <Parameter.hpp>
#include <RekHeaderComposite.hpp>

#include <string>

/// Writes the view of a volume to a REK file inside a gzip stream.
///
/// The file is created or truncated, and compressed at the default level. The extension of its name decides as for
/// RekWriter: that of "volume.rek.gz" is neither "rek" nor "raw".
///
/// - NaN: the bits of every voxel are kept.
/// - Failures: InvalidParameterObjectException without inputVolume; std::invalid_argument for a name that is no file
///   name; std::runtime_error for a file that cannot be opened or written; std::overflow_error for extents beyond 32
///   bits. What was written stays, also after an abort: whole slices.
/// - Halo: whole volume.
/// - Memory: the buffers of the encoder, below 512 KiB, and one slice if the slices of the view are not dense.
/// - Threads: serial. One step of progress per slice.
/// - Cost: that of encoding.
namespace NORV::TaviOperators::RekGzWriter {

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
  std::string getType() const override { return "NORV::TaviOperators::RekGzWriter::Parameter"; }
};

}  // namespace NORV::TaviOperators::RekGzWriter
