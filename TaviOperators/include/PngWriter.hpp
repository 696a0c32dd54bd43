#pragma once

#include <Parameter.hpp>
#include <Tavi/Map.hpp>

#include <string>

/// Writes the view of a volume of one slice to a grey PNG file of 8 or 16 bits.
///
/// The file is created or truncated. Texts are written in the order of their keywords, before the image.
///
/// - Failures: InvalidParameterObjectException without inputVolume, for a view of several slices and for a name that is
///   no file name; std::overflow_error for extents beyond 32 bits; FileCreate for a file that cannot be created;
///   InvalidData for what libpng refuses, such as filters or keywords that PNG does not have, and for a file that
///   cannot be written; FileWrite where only the last bytes fail. What was written stays.
/// - Halo: whole volume.
/// - Memory: 8 bytes per row and the buffers of libpng; one slice if the rows of the view are not dense.
/// - Threads: serial. No steps of progress; an abort changes nothing.
/// - Cost: as libpng encodes.
namespace NORV::TaviOperators::PngWriter {

using InformationMap = Tavi::Container::Map<std::string, std::string>;

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<std::string> inputFilename;
  Property<int32> inputFilters;
  Property<int32> inputCompressionLevel;
  Property<bool> inputIncorrectByteOrder;
  Property<uint32> inputPixelsPerMeterPrim;
  Property<uint32> inputPixelsPerMeterSec;
  Property<SmartPointer<InformationMap>> inputInformationMap;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of one slice, uint8 or uint16"});
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to write"});
    append("inputFilters", inputFilters,
           KeyInfo{Takes::count, optional, "mask of row filters: 8 none, 16 sub, 32 up, 64 average, 128 Paeth"}.within(
               "sums of these"));
    append("inputCompressionLevel", inputCompressionLevel,
           KeyInfo{Takes::count, optional, "level of compression; -1 is the default of zlib"}.within("-1 to 9"));
    append("inputIncorrectByteOrder", inputIncorrectByteOrder,
           {Takes::flag, optional, "whether 16-bit voxels are written with the bytes in the order of this machine"});
    append("inputPixelsPerMeterPrim", inputPixelsPerMeterPrim,
           KeyInfo{Takes::count, optional, "resolution along prim"}.within("0 to 2147483647").in("voxels per metre"));
    append("inputPixelsPerMeterSec", inputPixelsPerMeterSec,
           KeyInfo{Takes::count, optional, "resolution along sec"}.within("0 to 2147483647").in("voxels per metre"));
    append("inputInformationMap", inputInformationMap, {Takes::object, optional, "texts to write, by keyword"});
    inputFilters = 8;
    inputCompressionLevel = -1;
  }
  std::string getType() const override { return "NORV::TaviOperators::PngWriter::Parameter"; }
};

}  // namespace NORV::TaviOperators::PngWriter
