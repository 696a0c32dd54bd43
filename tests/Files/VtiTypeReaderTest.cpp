#include "VtiFiles.hpp"
#include "support/FailingAllocation.hpp"

#include <filesystem>

namespace NORV::Tests {
namespace {

const std::string identifier = "NORV::TaviOperators::VtiTypeReader::Operator";

class VtiTypeReader : public VtiFiles {
protected:
  SmartPointer<TaviOperators::VtiTypeReader::Parameter> request(const std::string& file) const {
    const auto parameter = makeParameter<TaviOperators::VtiTypeReader::Parameter>();
    parameter->inputFilename = file;
    return parameter;
  }
  SmartPointer<TaviOperators::VtiTypeReader::Parameter> lookInto(const std::string& text) const {
    const auto parameter = request(write(text));
    createTyped(identifier)->apply(parameter);
    return parameter;
  }
  void expectFound(const std::string& text, const std::string& type, const Dimension<SizeType>& extents) const {
    const auto parameter = lookInto(text);
    EXPECT_EQ(parameter->outputVoxelType.value(), type);
    EXPECT_EQ(parameter->outputDimension.value(), extents);
  }
  void expectBad(const std::string& text, const std::string& words,
                 const std::source_location& place = std::source_location::current()) const {
    const NoFileLeftOpen check;
    const auto parameter = request(write(text));
    expectFailure<Exceptions::BadFile>([&] { createTyped(identifier)->apply(parameter); }, words, "VtiTypeReader",
                                       place);
    EXPECT_EQ(parameter->outputVoxelType.value(), "");
    EXPECT_EQ(parameter->outputDimension.value(), Dimension<SizeType>());
  }
};

using VtiTypeReaderFailure = VtiTypeReader;

TEST_F(VtiTypeReader, ParameterHasItsKeysInOrderAndItsDefaults) {
  const TaviOperators::VtiTypeReader::Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter.getKey(0), "inputFilename");
  EXPECT_EQ(parameter.getKey(1), "outputVoxelType");
  EXPECT_EQ(parameter.getKey(2), "outputDimension");
  EXPECT_EQ(parameter.inputFilename.value(), "");
  EXPECT_EQ(parameter.outputVoxelType.value(), "");
  EXPECT_EQ(parameter.outputDimension.value(), Dimension<SizeType>());
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::VtiTypeReader::Parameter");
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::VtiTypeReader::Parameter"));
  EXPECT_TRUE(isRegistered(identifier));
}

TEST_F(VtiTypeReader, KnowsTenVoxelTypes) {
  const NoFileLeftOpen check;
  for (const auto& [type, name] : std::vector<std::pair<std::string, std::string>>{{"Int8", "NORV::int8"},
                                                                                   {"UInt8", "NORV::uint8"},
                                                                                   {"Int16", "NORV::int16"},
                                                                                   {"UInt16", "NORV::uint16"},
                                                                                   {"Int32", "NORV::int32"},
                                                                                   {"UInt32", "NORV::uint32"},
                                                                                   {"Int64", "NORV::int64"},
                                                                                   {"UInt64", "NORV::uint64"},
                                                                                   {"Float32", "NORV::float32"},
                                                                                   {"Float64", "NORV::float64"}}) {
    VtiDocumentText document = VtiDocumentText().extents({7, 1, 300});
    document.array.replace(document.array.find("UInt8"), 5, type);
    expectFound(document.text(), name, {7, 1, 300});
  }
  for (const std::string type : {"String", "Bit", "uint8", "NORV::uint8", ""}) {
    VtiDocumentText document;
    document.array.replace(document.array.find("UInt8"), 5, type);
    expectBad(document.text(), "Format not supported!");
  }
}

TEST_F(VtiTypeReader, LooksIntoWhatTheWriterWrites) {
  forEachVoxelType([this]<class T>() {
    const TestVolume<T> input({5, 4, 3}, regionLayout);
    for (const std::string format : {"ascii", "binary", "appended"}) {
      writeVti(writeRequest(folder / "a.vti", input, format, format == "binary"));
      expectFound(readFile(folder / "a.vti"), Tavi::typeName<T>, {5, 4, 3});
    }
  });
}

TEST_F(VtiTypeReader, ReadsTheHeadOnly) {
  std::string text = VtiDocumentText().text();
  const auto end = text.find("</DataArray>");
  expectFound(text.substr(0, end), "NORV::uint8", {2, 2, 2});
  expectFound(text.substr(0, end) + std::string("\0\xFF<&<<>>\"'", 10), "NORV::uint8", {2, 2, 2});
  for (std::size_t length = 0; length < end; ++length) {
    expectBad(text.substr(0, length), "Format not supported!");
  }
  const std::string file = write(text.substr(0, end));
  std::filesystem::resize_file(file, std::uintmax_t{1} << 40);  // takes no space on the disk
  const auto parameter = request(file);
  const auto reader = createTyped(identifier);
  EXPECT_LT(extraBytesOf([&] { reader->apply(parameter); }), 100'000);
  EXPECT_EQ(parameter->outputVoxelType.value(), "NORV::uint8");
}

TEST_F(VtiTypeReader, FollowsElementsInDocumentsOfAllKinds) {
  const std::string text = VtiDocumentText().text();
  const auto with = [&text](const std::string& before, const std::string& inserted) {
    std::string changed = text;
    return changed.insert(changed.find(before), inserted);
  };
  const Dimension<SizeType> extents(2, 2, 2);
  expectFound(" \t\r\n" + text, "NORV::uint8", extents);
  expectFound(with("<VTKFile", "<!-- <DataArray type='Int8'> -- > -->"), "NORV::uint8", extents);
  expectFound(with("<VTKFile", "<!---->"), "NORV::uint8", extents);
  expectFound(with("<VTKFile", "<!DOCTYPE VTKFile [<!ENTITY a \"<DataArray>\">]>"), "NORV::uint8", extents);
  expectFound(with("<Piece", "<![CDATA[<DataArray> ]] > ]]>"), "NORV::uint8", extents);
  expectFound(with("<Piece", "<?other <DataArray> ?>"), "NORV::uint8", extents);
  expectFound(with("<Piece", "<a x='>' y=\"/><DataArray>'\"/>"), "NORV::uint8", extents);
  expectFound(with("<Piece", "<a\tx='1'><b\n/><c ></c >text</a\r>"), "NORV::uint8", extents);
  expectFound(with("<Piece", "<FieldData/>\n<Data>1</Data>"), "NORV::uint8", extents);
  std::string closed = text;
  closed.replace(closed.find("></DataArray>"), 13, "/>");
  expectFound(closed, "NORV::uint8", extents);
}

TEST_F(VtiTypeReaderFailure, WhatIsNoXmlDocument) {
  for (const std::string text : {"", " ", "x", "<VTKFile", "<?xm", "<?XML version=\"1.0\"?>", "<?xml", "<?xml?>",
                                 "<?xml?><a></a>", "<?xml?><!-- <DataArray>", "<?xml?><a x='<DataArray>"}) {
    expectBad(text, "Format not supported!");
  }
  expectBad("x" + VtiDocumentText().text(), "Format not supported!");
  expectBad("\xEF\xBB\xBF" + VtiDocumentText().text(), "Format not supported!");
  VtiDocumentText document;
  document.start.clear();
  expectBad(document.text(), "Format not supported!");
  expectBad("<?xml?><a></b><DataArray>", "Invalid VTI header");
  expectBad("<?xml?></a><DataArray>", "Invalid VTI header");
  expectBad("<?xml?><a b=c><DataArray>", "Invalid VTI header");
}

TEST_F(VtiTypeReaderFailure, FileNamesAreCheckedFirst) {
  const NoFileLeftOpen check;
  const auto reader = createTyped(identifier);
  expectRefusal([&] { reader->apply(request("")); }, identifier + "::apply input filename is empty");
  expectRefusal([&] { reader->apply(request("a=b.vti")); }, identifier + "::apply input filename is invalid");
  expectRefusal([&] { reader->apply(request(folder / "absent.vti")); }, identifier + "::apply could not open file");
  expectRefusal([&] { reader->apply(request(folder.path())); }, identifier + "::apply could not open file");
  expectRefusal([&] { reader->apply(makeParameter<TaviOperators::VtiReader::Parameter>()); }, identifier + "::apply");
}

/// Both readers validate alike; each names itself.
TEST_F(VtiTypeReaderFailure, DocumentsAreValidatedInOrder) {
  const auto typed = createTyped(typedIdentifier<uint8>("VtiReader"));
  const auto expectBoth = [&](const VtiDocumentText& document, const std::string& words,
                              const std::source_location& place = std::source_location::current()) {
    expectBad(document.text(), words, place);
    expectFailure<Exceptions::BadFile>([&] { typed->apply(readRequest(folder / "volume.vti")); }, words, "VtiReader",
                                       place);
  };
  VtiDocumentText document;
  const auto replace = [](std::string& part, const std::string& what, const std::string& with) {
    ASSERT_NE(part.find(what), std::string::npos) << what;
    part.replace(part.find(what), what.size(), with);
  };
  // From the last check to the first, with all later ones failing too.
  document.array += " NumberOfComponents=\"2\"";
  expectBoth(document, "VTI DataArray with more than 1 component are not supported");
  for (const std::string components : {"0", "-1", "x", "", "11"}) {
    VtiDocumentText other;
    other.array += " NumberOfComponents=\"" + components + "\"";
    expectBoth(other, "VTI DataArray with more than 1 component are not supported");
  }
  for (const std::string attribute : {"type=\"UInt8\" ", "Name=\"Volume\" ", "format=\"appended\" "}) {
    VtiDocumentText other = document;
    replace(other.array, attribute, "");
    expectBoth(other, "VTI DataArray is missing or invalid");
  }
  for (const std::string name : {"volume", "Volume ", "'", "x' or '1'='1", "", "Volume\"><x y=\"1"}) {
    VtiDocumentText other = document;
    other.points = "Scalars=\"" + name + "\"";
    if (name.find('"') == std::string::npos) {
      expectBoth(other, "VTI DataArray is missing or invalid");
    }
  }
  document.points = "Vectors=\"Volume\"";
  expectBoth(document, "VTI file has no scalars as point data");
  document.piece = "";
  expectBoth(document, "VTI file must have exactly 1 piece");
  for (const std::string image :
       {"WholeExtent=\"0 1 0 1 0\" Origin=\"0 0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 1 0 1 0 x\" Origin=\"0 0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 1 0 1 0 -2\" Origin=\"0 0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 1 0 1 0 -1\" Origin=\"0 0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 9223372036854775807 0 1 0 1\" Origin=\"0 0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"-9223372036854775808 1 0 1 0 1\" Origin=\"0 0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 9999999999999999999 0 1 0 1\" Origin=\"0 0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 4294967295 0 4294967295 0 4294967295\" Origin=\"0 0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 1 0 1 0 1\" Origin=\"0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 1 0 1 0 1\" Origin=\"0 0 x\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 1 0 1 0 1\" Origin=\"0 0 0\" Spacing=\"1 1 1e999\"",
        "WholeExtent=\"0 1 0 1 0 1\" Origin=\"0 0 0\" Spacing=\"\"", "Origin=\"0 0 0\" Spacing=\"1 1 1\"",
        "WholeExtent=\"0 1 0 1 0 1\" Spacing=\"1 1 1\"", "WholeExtent=\"0 1 0 1 0 1\" Origin=\"0 0 0\""}) {
    VtiDocumentText other = document;
    other.image = image;
    expectBoth(other, "Invalid VTI file");
  }
  document.image = "";
  expectBoth(document, "Invalid VTI file");
  replace(document.root, "LittleEndian", "BigEndian");
  expectBoth(document, "Only little endian byte order is supported");
  replace(document.root, "BigEndian", "Middle");
  expectBoth(document, "Invalid byte_order");
  for (const std::string version : {"1.0", "0.10", "0.1 ", ""}) {
    VtiDocumentText other = document;
    replace(other.root, "0.1", version);
    expectBoth(other, "File version not supported");
  }
  replace(document.root, "0.1", "1.0");
  replace(document.root, "ImageData", "PolyData");
  expectBoth(document, "No VTI image data file");
  document.root += " compressor=\"vtkLZ4DataCompressor\"";
  expectBoth(document, "Unknown compression class");
  for (const std::string attribute : {"type=\"PolyData\" ", "version=\"1.0\" ", "byte_order=\"Middle\" "}) {
    VtiDocumentText other = document;
    replace(other.root, attribute, "");
    expectBoth(other, "Invalid VTI header");
  }
}

TEST_F(VtiTypeReaderFailure, OnePieceOnly) {
  VtiDocumentText document;
  document.behindPiece = "<Piece Extent=\"0 0 0 0 0 0\"/>";
  // The head ends before the second piece; only the reader sees it.
  expectFound(document.text(), "NORV::uint8", {2, 2, 2});
  expectFailure<Exceptions::BadFile>([&] { readVti(folder / "volume.vti"); }, "VTI file must have exactly 1 piece",
                                     "VtiReader");
  std::string before = VtiDocumentText().text();
  before.insert(before.find("<Piece"), "<Piece Extent=\"0 0 0 0 0 0\"/>");
  expectBad(before, "VTI file must have exactly 1 piece");
}

TEST_F(VtiTypeReaderFailure, DeepDocumentsDoNotEndTheProcess) {
  std::string deep = "<?xml?>";
  for (int i = 0; i < 200'000; ++i) {
    deep += "<a>";
  }
  expectBad(deep, "Format not supported!");
  expectBad(deep + "<DataArray>", "Invalid VTI header");
}

}  // namespace
}  // namespace NORV::Tests
