#pragma once

#include <Parameter.hpp>

/// Writes the view of a volume to a VTI file, XML image data of the VTK toolkit.
///
/// The format "ascii" writes numbers, of six significant digits where they are floating-point; "binary" writes base64
/// inside the array, "appended" base64 at the end of the document. Base64 is compressed slice by slice on request.
///
/// - Border: every voxel of the view is written.
/// - NaN: stays NaN.
/// - Failures: InvalidParameterObjectException for a file name that is none, without inputVolume, and for an unknown
///   format or compression; `std::overflow_error` for more than 4 GiB of voxels, or of a slice where compressed;
///   FileCreate and FileWrite. A file that could not be written completely stays.
/// - Halo: whole volume.
/// - Memory: for compressed voxels all compressed slices, and for each thread two slices; otherwise a small buffer.
/// - Threads: slices are compressed in parallel, all else is serial. Two steps of progress for each slice. After an
///   abort the file ends behind a whole slice, or does not exist yet.
/// - Cost: that of the file system and of zlib; base64 is encoded faster than a file is written.
namespace NORV::TaviOperators::VtiWriter {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<std::string> inputFilename;
  Property<Triple<double>> inputSpacing;
  Property<Triple<double>> inputOrigin;
  Property<std::string> inputFormat;
  Property<std::string> inputCompression;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume whose view is written"});
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to write"});
    append("inputSpacing", inputSpacing, {Takes::dimension, optional, "distances between voxels, three numbers"});
    append("inputOrigin", inputOrigin, {Takes::position, optional, "place of the first voxel, three numbers"});
    append(
        "inputFormat", inputFormat,
        KeyInfo{Takes::text, optional, "form of the voxels"}.within("ascii, binary or appended").ifAbsent("appended"));
    append("inputCompression", inputCompression,
           KeyInfo{Takes::text, optional, "compression of base64"}.within("vtkZLibDataCompressor").ifAbsent("none"));
    inputFormat = std::string("appended");
  }
  std::string getType() const override { return "NORV::TaviOperators::VtiWriter::Parameter"; }
};

}  // namespace NORV::TaviOperators::VtiWriter
