#pragma once

#include <Parameter.hpp>

/// Finds the voxel type of the volume in a multi-page TIFF file.
///
/// The bits of a sample decide: 8, 16 and 32 are NORV::uint8, NORV::uint16 and NORV::uint32, whatever the sample
/// format. It has no exported frame: the class factory makes "NORV::TaviOperators::TiffVolumeTypeReader::Operator".
///
/// - Failures: InvalidParameterObjectException for a file name that is none and for images of several samples;
///   FileOpen for a file that cannot be opened or is no TIFF file; InvalidData for a missing tag, for images that are
///   no slices of one volume or have no end, and for other counts of bits.
/// - Memory: none beyond the tags of two images.
/// - Threads: serial. No steps of progress.
namespace NORV::TaviOperators::TiffVolumeTypeReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<std::string> outputVoxelType;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to look into"});
    append("outputVoxelType", outputVoxelType, {Takes::text, optional, "name of the voxel type, as \"NORV::uint8\""});
  }
  std::string getType() const override { return "NORV::TaviOperators::TiffVolumeTypeReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::TiffVolumeTypeReader
