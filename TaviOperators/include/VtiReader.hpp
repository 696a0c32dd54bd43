#pragma once

#include <Parameter.hpp>

/// Reads a VTI file, the XML image data of the VTK toolkit, into a volume.
///
/// The file holds one piece with one scalar array: as numbers, as base64 inside the array, or as base64 appended to the
/// document. Base64 may consist of blocks that zlib has compressed. All voxel types but the 64-bit integers are read.
///
/// - Border: every voxel is written.
/// - NaN: stays NaN.
/// - Failures: InvalidParameterObjectException for a file name that is none and for a file or an output volume of
///   another voxel type; FileOpen and FileRead; BadFile for a file that is no VTI file or one of a kind that is not
///   supported; InvalidData for base64 that is none, does not fill the volume or holds a corrupt block. An output
///   volume is untouched until all has been checked but what is inside of compressed blocks.
/// - Halo: whole volume.
/// - Memory: the file; for compressed voxels also a compressed block for each thread, and a decompressed one where
///   blocks do not lie in the view as one piece. What a file cannot hold is refused before memory is asked for.
/// - Threads: blocks are decompressed in parallel, all else is serial. Progress counts pieces of the file, then voxels,
///   or slices for numbers. After an abort the volume is filled in part.
/// - Cost: that of the file system and of zlib; base64 is decoded faster than a file is read.
namespace NORV::TaviOperators::VtiReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<Triple<double>> outputSpacing;
  Property<Triple<double>> outputOrigin;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to read"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the file's voxel type; made if absent"});
    append("outputSpacing", outputSpacing, {Takes::dimension, optional, "distances between voxels, three numbers"});
    append("outputOrigin", outputOrigin, {Takes::position, optional, "place of the first voxel, three numbers"});
  }
  std::string getType() const override { return "NORV::TaviOperators::VtiReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::VtiReader
