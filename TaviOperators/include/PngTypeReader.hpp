#pragma once

#include <Parameter.hpp>

#include <string>

/// Reads the voxel type and the extents of a PNG file, but no voxel.
///
/// The operator has no exported frame; the class factory makes it as "NORV::TaviOperators::PngTypeReader::Operator".
///
/// - Failures: InvalidParameterObjectException for a name that is no file name; FileOpen for a file that does not open;
///   InvalidData for a file that is no PNG file, or whose image is not grey with 8 or 16 bits.
/// - Memory: what stands before the image, which libpng limits to a few mebibytes.
/// - Threads: serial. No steps of progress.
/// - Cost: does not depend on the size of the image.
namespace NORV::TaviOperators::PngTypeReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<std::string> outputVoxelType;
  Property<Dimension<SizeType>> outputDim;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to look into"});
    append("outputVoxelType", outputVoxelType, {Takes::text, optional, "name of the voxel type, as \"NORV::uint8\""});
    append("outputDim", outputDim, KeyInfo{Takes::dimension, optional, "extents of the image"}.in("voxels"));
  }
  std::string getType() const override { return "NORV::TaviOperators::PngTypeReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::PngTypeReader
