#pragma once

#include <Parameter.hpp>

/// Reads the voxel type and the extents of a VTI file, but no voxel.
///
/// The operator has no exported frame; the class factory makes it as "NORV::TaviOperators::VtiTypeReader::Operator".
/// It also reports 64-bit integers, which no reader accepts.
///
/// - Failures: InvalidParameterObjectException for a file name that is none and for a file that does not open; BadFile
///   for a file that is no VTI file or one of a kind that is not supported.
/// - Memory: the text of the file up to its first DataArray.
/// - Threads: serial. No steps of progress.
/// - Cost: does not depend on the size of the volume.
namespace NORV::TaviOperators::VtiTypeReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<std::string> outputVoxelType;
  Property<Dimension<SizeType>> outputDimension;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to look into"});
    append("outputVoxelType", outputVoxelType, {Takes::text, optional, "name of the voxel type, as \"NORV::uint8\""});
    append("outputDimension", outputDimension,
           KeyInfo{Takes::dimension, optional, "extents of the volume"}.in("voxels"));
  }
  std::string getType() const override { return "NORV::TaviOperators::VtiTypeReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::VtiTypeReader
