#pragma once

#include <Parameter.hpp>
#include <RekHeaderComposite.hpp>

#include <string>

/// Looks into a REK file inside a gzip stream, but reads no voxel.
///
/// The long extents hold if there are any, then the short ones, then those of a single image. It has no exported frame.
///
/// - Failures: std::invalid_argument for a name that is no file name; std::runtime_error for a file that does not open,
///   holds no whole header, has an unknown voxel type or no extents; std::out_of_range for negative extents;
///   std::overflow_error for extents beyond 64 bits.
/// - Memory: the buffers of the decoder, below 64 KiB.
/// - Threads: serial. No steps of progress.
/// - Cost: decodes 2048 bytes.
namespace NORV::TaviOperators::RekGzTypeReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<std::string> outputVoxelType;
  Property<Dimension<SizeType>> outputDimension;
  Property<RekHeaderPtr> outputHeader;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to look into"});
    append("outputVoxelType", outputVoxelType, {Takes::text, optional, "name of the voxel type, as \"NORV::uint8\""});
    append("outputDimension", outputDimension, {Takes::dimension, optional, "extents of the volume in voxels"});
    append("outputHeader", outputHeader, {Takes::object, optional, "the 2048 bytes before the voxels"});
    outputHeader = RekHeaderPtr(new RekHeaderPtr::Pointee);
  }
  std::string getType() const override { return "NORV::TaviOperators::RekGzTypeReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::RekGzTypeReader
