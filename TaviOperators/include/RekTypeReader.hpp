#pragma once

#include <Parameter.hpp>
#include <RekHeaderComposite.hpp>

#include <string>

/// Looks into a REK file: voxel type, extents and header, but no voxel.
///
/// The size of the file decides which of the three descriptions of the extents in its header holds. It has no exported
/// frame.
///
/// - Failures: std::invalid_argument for a name that is no file name; std::runtime_error for a file that does not open,
///   is too small, has an unknown voxel type, or whose size fits none of the extents or several that differ;
///   std::out_of_range for negative extents; std::overflow_error for extents beyond 64 bits.
/// - Memory: the header.
/// - Threads: serial. No steps of progress.
/// - Cost: one read of 2048 bytes.
namespace NORV::TaviOperators::RekTypeReader {

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
  std::string getType() const override { return "NORV::TaviOperators::RekTypeReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::RekTypeReader
