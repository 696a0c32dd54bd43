#pragma once

#include <Parameter.hpp>
#include <RekHeaderComposite.hpp>

#include <string>

/// Writes the view of a volume to a REK file.
///
/// The file is created or truncated. The extension of its name decides which fields of the header hold the extents:
/// "rek" the long fields, and the short ones if they can; "raw" the short fields, or those of an image if they cannot;
/// any other the long fields, and the short ones or those of an image if they can.
///
/// - NaN: the bits of every voxel are kept.
/// - Failures: InvalidParameterObjectException without inputVolume; std::invalid_argument for a name that is no file
///   name; std::runtime_error for a file that cannot be opened or written; std::overflow_error for extents beyond 32
///   bits. What was written stays, also after an abort: whole slices.
/// - Halo: whole volume.
/// - Memory: none if the slices of the view are dense, otherwise one slice.
/// - Threads: serial. One step of progress per slice.
/// - Cost: one write per slice, at the speed of the file system.
namespace NORV::TaviOperators::RekWriter {

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
  std::string getType() const override { return "NORV::TaviOperators::RekWriter::Parameter"; }
};

}  // namespace NORV::TaviOperators::RekWriter
