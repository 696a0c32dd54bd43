#pragma once

#include <Parameter.hpp>
#include <Tavi/Map.hpp>

#include <string>

/// Reads a grey PNG file of 8 or 16 bits into a new volume of one slice.
///
/// The file decides the voxel type, uint8 or uint16. A volume that is given as output is not used. Texts of the file
/// are added to the map, or replace those with the same keyword.
///
/// - Border: every voxel is written.
/// - Failures: InvalidParameterObjectException for a name that is no file name; FileOpen for a file that does not open;
///   InvalidData for a file that is no PNG file or that libpng cannot decode, for an image that is not grey with 8 or
///   16 bits, and for one that a file of this size cannot hold. What libpng said is additional information of the
///   failure.
/// - Halo: whole volume.
/// - Memory: none beyond the output but 8 bytes per row and the buffers of libpng.
/// - Threads: serial. No steps of progress; an abort changes nothing.
/// - Cost: as libpng decodes.
namespace NORV::TaviOperators::PngReader {

using InformationMap = Tavi::Container::Map<std::string, std::string>;

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<bool> inputIncorrectByteOrder;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<uint32> outputPixelsPerMeterPrim;
  Property<uint32> outputPixelsPerMeterSec;
  Property<SmartPointer<InformationMap>> outputInformationMap;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to read"});
    append("inputIncorrectByteOrder", inputIncorrectByteOrder,
           {Takes::flag, optional, "whether 16-bit voxels keep the order of the bytes in the file"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "the new volume"});
    append("outputPixelsPerMeterPrim", outputPixelsPerMeterPrim,
           KeyInfo{Takes::count, optional, "resolution along prim, 0 where the file has none"}.in("voxels per metre"));
    append("outputPixelsPerMeterSec", outputPixelsPerMeterSec,
           KeyInfo{Takes::count, optional, "resolution along sec, 0 where the file has none"}.in("voxels per metre"));
    append("outputInformationMap", outputInformationMap,
           {Takes::object, optional, "texts of the file by keyword; made if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::PngReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::PngReader
