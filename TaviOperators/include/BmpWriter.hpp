#pragma once

#include <Parameter.hpp>
#include <RGB.hpp>

/// Writes the one slice of a volume to a BMP image of 8 bits with a palette.
///
/// The voxels are written as the indices of the palette, which is grey if none is given.
///
/// - Failures: InvalidParameterObjectException without inputVolume, for more than one slice, for a file name that is
/// none
///   and for a palette of more than 256 colours; `std::overflow_error` for extents and files beyond 32 bits; FileCreate
///   for a file that cannot be created; FileWrite for a file that cannot be written to its end. Before FileWrite, a
///   file that exists keeps its content.
/// - Halo: whole volume.
/// - Memory: one row.
/// - Threads: serial. One step of progress.
/// - Cost: one pass over the voxels.
namespace NORV::TaviOperators::BmpWriter {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<std::string> inputFilename;
  Property<uint32> inputPixelsPerMeterPrim;
  Property<uint32> inputPixelsPerMeterSec;
  Property<ColorTablePtr> inputColorTable;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of uint8 with one slice to write"});
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to write"});
    append("inputPixelsPerMeterPrim", inputPixelsPerMeterPrim,
           KeyInfo{Takes::number, optional, "resolution along prim"}.in("pixels per metre").ofType("NORV::uint32"));
    append("inputPixelsPerMeterSec", inputPixelsPerMeterSec,
           KeyInfo{Takes::number, optional, "resolution along sec"}.in("pixels per metre").ofType("NORV::uint32"));
    append("inputColorTable", inputColorTable,
           KeyInfo{Takes::object, optional, "vector of up to 256 colours"}.ifAbsent("grey values"));
  }
  std::string getType() const override { return "NORV::TaviOperators::BmpWriter::Parameter"; }
};

}  // namespace NORV::TaviOperators::BmpWriter
