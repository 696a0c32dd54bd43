#pragma once

#include <Parameter.hpp>
#include <RekHeaderComposite.hpp>

#include <string>

/// Reads a REK file inside LZ4 frames into a volume.
///
/// The file decides the voxel type. The long extents in its header hold if there are any, then the short ones, then
/// those of a single image. The bounds of the frames do not matter.
///
/// - Border: every voxel is written. After an abort the volume is filled in part.
/// - NaN: the bits of every voxel are kept.
/// - Failures: those of RekLz4TypeReader; std::invalid_argument for a file of 64-bit integers; std::runtime_error with
///   the text of the decoder for voxels that cannot be read, also where a file is too small to hold those of its
///   header; InvalidParameterObjectException for an outputVolume of another voxel type.
/// - Halo: whole volume.
/// - Memory: beyond the output the buffers of the decoder, at most two blocks of 4 MiB, and one slice if the slices of
///   the output are not dense.
/// - Threads: serial. One step of progress per slice.
/// - Cost: that of decoding.
namespace NORV::TaviOperators::RekLz4Reader {

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
  std::string getType() const override { return "NORV::TaviOperators::RekLz4Reader::Parameter"; }
};

}  // namespace NORV::TaviOperators::RekLz4Reader
