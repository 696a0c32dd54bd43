#pragma once

#include <Parameter.hpp>

/// Writes the view of a volume to a multi-page TIFF file, each slice as one page.
///
/// Each page is one strip, and has a document of meta-information with voxel size and description as its image
/// description. The resolution is set if the voxel size along both prim and sec is above 0.
///
/// - Failures: InvalidParameterObjectException without inputVolume and for a file name that is none; FileCreate for a
///   file that cannot be created; InvalidData for a compression other than 1 and 5; `std::overflow_error` for slices of
///   more than 32 bits along an axis, and for an uncompressed volume beyond the 4 GiB of the format; FileWrite for a
///   file that cannot be written to its end. A file that exists keeps its content if extents, compression or size are
///   refused; otherwise what has been written stays.
/// - Halo: whole volume.
/// - Memory: none if the view's slices are dense, otherwise one slice; with compression one slice more.
/// - Threads: serial. One step of progress per slice. After an abort the file holds the slices written so far.
/// - Cost: as libtiff encodes.
namespace NORV::TaviOperators::TiffVolumeWriter {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<std::string> inputFilename;
  Property<Triple<float32>> inputVoxelSize_mm;
  Property<uint16> inputCompression;
  Property<std::string> inputSoftware;
  Property<std::string> inputDescription;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of uint8, uint16 or uint32 to write"});
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to write"});
    append("inputVoxelSize_mm", inputVoxelSize_mm,
           KeyInfo{Takes::dimension, optional, "extents of a voxel"}.within("from 0").in("mm").ifAbsent("unknown"));
    append("inputCompression", inputCompression,
           KeyInfo{Takes::number, optional, "1 for none, 5 for LZW"}.within("1 or 5").ofType("NORV::uint16"));
    append("inputSoftware", inputSoftware, {Takes::text, optional, "software to name in the file"});
    append("inputDescription", inputDescription, {Takes::text, optional, "description of the volume"});
    inputCompression = uint16{1};
  }
  std::string getType() const override { return "NORV::TaviOperators::TiffVolumeWriter::Parameter"; }
};

}  // namespace NORV::TaviOperators::TiffVolumeWriter
