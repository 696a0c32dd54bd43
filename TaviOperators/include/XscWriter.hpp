#pragma once

#include <Parameter.hpp>

#include <string>

/// Writes the view of a volume of one slice to an XSC file, a 16-bit image.
///
/// The file is created or truncated: width and height in four bytes, then the voxels, little-endian.
///
/// - Failures: InvalidParameterObjectException without inputVolume, for a view of several slices, and for a name that
///   is no file name; std::overflow_error for a width or height beyond 32767; FileCreate for a file that cannot be
///   created. Whether the bytes reach the disk is not checked: a full disk leaves a truncated file.
/// - Halo: whole volume.
/// - Memory: none if the rows of the view are dense, otherwise one slice.
/// - Threads: serial. No steps of progress; an abort changes nothing.
/// - Cost: one write, at the speed of the file system.
namespace NORV::TaviOperators::XscWriter {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<std::string> inputFilename;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "uint16 volume of one slice"});
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to write"});
  }
  std::string getType() const override { return "NORV::TaviOperators::XscWriter::Parameter"; }
};

}  // namespace NORV::TaviOperators::XscWriter
