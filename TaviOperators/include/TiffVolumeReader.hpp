#pragma once

#include <Parameter.hpp>

/// Reads a multi-page TIFF file into a volume, each page into one slice.
///
/// Samples of 8, 16 and 32 bits become uint8, uint16 and uint32, whatever the sample format: the bits of a float32 are
/// read unchanged. Voxel size and description come from the document of meta-information that TiffVolumeWriter puts
/// into the image description of the first page. Without such a document the description is the whole text, and the
/// resolution gives the voxel size of two axes.
///
/// - Failures: InvalidParameterObjectException for a file name that is none, for images of several samples or of other
///   bits than the operator's, and for an output of another voxel type; FileOpen for a file that cannot be opened or is
///   no TIFF file; InvalidData for a missing tag, for images that are no slices of one volume, whose chain has no end,
///   or that a file of this size cannot hold; FileRead for an image that cannot be decoded. What libtiff said is
///   additional information of the failure. Until the first image is decoded, a volume of the host is untouched.
/// - Halo: whole volume.
/// - Memory: none beyond the output if its slices are dense, otherwise one slice; the output's size is at most what the
///   compression allows a file of this size to hold.
/// - Threads: serial. One step of progress per slice. After an abort the volume is filled in part.
/// - Cost: as libtiff decodes. The directories are read three times, some microseconds each, as all are checked before
///   the first image is decoded.
namespace NORV::TaviOperators::TiffVolumeReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<Triple<float32>> outputVoxelSize_mm;
  Property<std::string> outputDescription;
  Property<std::string> outputSoftware;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to read"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the file's voxel type; made if absent"});
    append("outputVoxelSize_mm", outputVoxelSize_mm,
           KeyInfo{Takes::dimension, optional, "extents of a voxel, 0 where the file has none"}.in("mm"));
    append("outputDescription", outputDescription, {Takes::text, optional, "description of the volume"});
    append("outputSoftware", outputSoftware, {Takes::text, optional, "software that the file names"});
  }
  std::string getType() const override { return "NORV::TaviOperators::TiffVolumeReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::TiffVolumeReader
