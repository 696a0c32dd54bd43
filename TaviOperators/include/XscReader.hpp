#pragma once

#include <Parameter.hpp>

#include <string>

/// Reads an XSC file, one 16-bit image, into a volume of one slice.
///
/// The file holds its width and height in four bytes and then the voxels, little-endian; nothing marks it as such.
///
/// - Border: every voxel that the file holds is written. What a truncated file leaves out is no failure; these voxels
///   are undefined.
/// - Failures: InvalidParameterObjectException for a name that is no file name and for an outputVolume of another voxel
///   type; FileOpen for a file that does not open; std::out_of_range if one extent of the image is zero. A file of
///   which both are zero, or that is empty, gives an empty volume.
/// - Halo: whole volume.
/// - Memory: none beyond the output if its rows are dense, otherwise one slice.
/// - Threads: serial. No steps of progress; an abort changes nothing.
/// - Cost: one read, at the speed of the file system.
namespace NORV::TaviOperators::XscReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to read"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target with uint16 voxels; made if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::XscReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::XscReader
