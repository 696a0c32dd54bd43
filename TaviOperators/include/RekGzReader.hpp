#pragma once

#include <Parameter.hpp>
#include <RekHeaderComposite.hpp>

#include <string>

/// Reads a REK file inside a gzip stream into a volume.
///
/// The file decides the voxel type. The long extents in its header hold if there are any, then the short ones, then
/// those of a single image. A file that is not compressed is read as well.
///
/// - Border: every voxel is written. After an abort the volume is filled in part.
/// - NaN: the bits of every voxel are kept.
/// - Failures: those of RekGzTypeReader; std::invalid_argument for a file of 64-bit integers; std::runtime_error for
///   voxels that cannot be read, also where a file is too small to hold those of its header;
///   InvalidParameterObjectException for an outputVolume of another voxel type.
/// - Halo: whole volume.
/// - Memory: beyond the output the buffers of the decoder, below 64 KiB, and one slice if the slices of the output are
///   not dense.
/// - Threads: serial. One step of progress per slice.
/// - Cost: that of decoding. Slices are decoded in place.
namespace NORV::TaviOperators::RekGzReader {

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
  std::string getType() const override { return "NORV::TaviOperators::RekGzReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::RekGzReader
