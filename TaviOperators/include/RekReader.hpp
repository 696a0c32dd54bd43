#pragma once

#include <Parameter.hpp>
#include <RekHeaderComposite.hpp>

#include <string>

/// Reads a REK file into a volume.
///
/// The file decides the voxel type. The size of the file decides which of the three descriptions of the extents in its
/// header holds.
///
/// - Border: every voxel is written. After an abort the volume is filled in part.
/// - NaN: the bits of every voxel are kept.
/// - Failures: those of RekTypeReader; std::invalid_argument for a file of 64-bit integers; std::runtime_error for
///   voxels that cannot be read; InvalidParameterObjectException for an outputVolume of another voxel type. A given
///   volume stays as it is until the header is accepted.
/// - Halo: whole volume.
/// - Memory: none beyond the output if its slices are dense, otherwise one slice.
/// - Threads: serial. One step of progress per slice.
/// - Cost: one read per slice, at the speed of the file system.
namespace NORV::TaviOperators::RekReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<RekHeaderPtr> outputHeader;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to read"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the file's voxel type; made if absent"});
    append("outputHeader", outputHeader, {Takes::object, optional, "the 2048 bytes before the voxels"});
    outputHeader = RekHeaderPtr(new RekHeaderPtr::Pointee);
  }
  std::string getType() const override { return "NORV::TaviOperators::RekReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::RekReader
