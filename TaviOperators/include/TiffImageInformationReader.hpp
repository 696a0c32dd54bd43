#pragma once

#include <Parameter.hpp>
#include <TiffImageInformation.hpp>

/// Lists the tags of all directories of a TIFF file; no pixel is read.
///
/// It has no exported frame: the class factory makes "NORV::TaviOperators::TiffImageInformationReader::Operator".
///
/// - Failures: InvalidParameterObjectException for a file name that is none; FileOpen for a file that cannot be opened
///   or is no TIFF file; InvalidData for a directory without a required tag; FileRead for directories that cannot be
///   followed to their end, as they are cyclic or lead out of the file. What libtiff said is additional information of
///   the failure. The list stays as it was.
/// - Memory: the records, in proportion to the size of the file.
/// - Threads: serial. No steps of progress; an abort ends the list early.
namespace NORV::TaviOperators::TiffImageInformationReader {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<std::string> inputFilename;
  Property<TiffImageInformationListPtr> outputTiffImageInformationList;

  Parameter() {
    append("inputFilename", inputFilename, {Takes::fileName, required, "file to look into"});
    append("outputTiffImageInformationList", outputTiffImageInformationList,
           {Takes::object, optional, "the tags of each directory, in the order of the file"});
    outputTiffImageInformationList = TiffImageInformationListPtr(new TiffImageInformationList);
  }
  std::string getType() const override { return "NORV::TaviOperators::TiffImageInformationReader::Parameter"; }
};

}  // namespace NORV::TaviOperators::TiffImageInformationReader
