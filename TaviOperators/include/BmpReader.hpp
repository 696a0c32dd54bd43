#pragma once

#include <Parameter.hpp>
#include <RGB.hpp>

/// Reads a BMP image of 8 bits with a palette into a volume of one slice.
///
/// The voxels are the indices of the file; the palette is handed out beside them and maps none of them.
///
/// - Failures: InvalidParameterObjectException for a file name that is none and for an output of another voxel type
/// than
///   uint8; FileOpen for a file that cannot be opened; InvalidData for headers of other images, and for extents or a
///   palette that the file does not hold; FileRead for rows that cannot be read. A volume of the host is untouched
///   until the headers have been accepted.
/// - Halo: whole volume.
/// - Memory: the palette and one row.
/// - Threads: serial. One step of progress.
/// - Cost: one pass over the file.
namespace NORV::TaviOperators::BmpReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<uint32> outputPixelsPerMeterPrim;
  Property<uint32> outputPixelsPerMeterSec;
  Property<ColorTablePtr> outputColorTable;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to read"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of voxel type uint8; made if absent"});
    append("outputPixelsPerMeterPrim", outputPixelsPerMeterPrim,
           KeyInfo{Takes::number, optional, "resolution along prim"}.in("pixels per metre").ofType("NORV::uint32"));
    append("outputPixelsPerMeterSec", outputPixelsPerMeterSec,
           KeyInfo{Takes::number, optional, "resolution along sec"}.in("pixels per metre").ofType("NORV::uint32"));
    append("outputColorTable", outputColorTable,
           {Takes::object, optional, "vector that takes the palette; made if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::BmpReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::BmpReader
