#include "VtiFiles.hpp"
#include "support/FailingAllocation.hpp"

#include <sys/stat.h>

#include <filesystem>
#include <utility>

namespace NORV::Tests {
namespace {

using Frame = TaviOperators::DLL::VtiReader::Operator;

const std::string inApply = "NORV::TaviOperators::VtiReader::Operator::apply";
const std::string decodeUncompressed = "NORV::TaviOperators::VtiReader::Operator::decodeUncompressed";
const std::string decodeCompressed = "NORV::TaviOperators::VtiReader::Operator::decodeCompressed";
const std::string base64 = "NORV::TaviOperators::Base64";

class VtiReaderFailure : public VtiFiles {
protected:
  /// Requires a failure of the typed reader that leaves the host's volume as it was.
  template <class Failure>
  void expectRefused(const std::string& text, const std::string& message, const std::string& origin,
                     const std::source_location& place = std::source_location::current()) const {
    const testing::ScopedTrace trace(place.file_name(), static_cast<int>(place.line()), "expectRefused");
    const NoFileLeftOpen check;
    const TestVolume<uint8> output({3, 1, 2});
    const auto parameter = readRequest(write(text), output);
    expectFailure<Failure>([&] { reader->apply(parameter); }, message, origin);
    EXPECT_EQ(output.volume()->getDimension(), Dimension<SizeType>(3, 1, 2));
    EXPECT_EQ(output.voxels(), std::vector<uint8>(6, 77));
    EXPECT_EQ(parameter->outputVolume.value(), SmartPointer<IVolume>(output.volume()));
    EXPECT_EQ(parameter->outputSpacing.value(), Triple<double>(0, 0, 0));
  }
  void expectBad(const VtiDocumentText& document, const std::string& words,
                 const std::source_location& place = std::source_location::current()) const {
    expectRefused<Exceptions::BadFile>(document.text(), words, "VtiReader", place);
  }
  void expectInvalid(const VtiDocumentText& document, const std::string& words, const std::string& origin,
                     const std::source_location& place = std::source_location::current()) const {
    expectRefused<Exceptions::InvalidData>(document.text(), words, origin, place);
  }

  SmartPointer<IOperator> reader = createTyped(typedIdentifier<uint8>("VtiReader"));
};

VtiDocumentText withPayload(const std::string& payload, bool isCompressed = false) {
  VtiDocumentText document;
  document.payload = "_" + payload;
  return isCompressed ? document.compressed() : document;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  const auto at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what;
  return text.replace(at, what.size(), with);
}

TEST_F(VtiReaderFailure, FileNamesAreCheckedFirst) {
  const NoFileLeftOpen check;
  expectRefusal([&] { reader->apply(readRequest("")); }, inApply + " input filename is empty");
  expectRefusal([&] { reader->apply(readRequest("a=b.vti")); }, inApply + " input filename is invalid");
  const std::string typeReader = "NORV::TaviOperators::VtiTypeReader::Operator::apply";
  expectRefusal([&] { Frame().apply(readRequest("")); }, typeReader + " input filename is empty");
  expectRefusal([&] { Frame().apply(readRequest("a=b.vti")); }, typeReader + " input filename is invalid");
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& file : {folder / "absent.vti", folder.path(), pipe}) {
    expectFailure<Exceptions::FileOpen>([&] { reader->apply(readRequest(file)); }, "Couldn't open file '" + file + "'!",
                                        "VtiReader");
    expectRefusal([&] { Frame().apply(readRequest(file)); }, typeReader + " could not open file");
  }
}

TEST_F(VtiReaderFailure, AFileThatIsShorterThanItsSizeIsReported) {
  const std::string file = "/sys/kernel/mm/transparent_hugepage/enabled";  // says that it has a page
  if (!std::filesystem::exists(file) || std::filesystem::file_size(file) < 4096) {
    GTEST_SKIP() << "this system has no such file";
  }
  const NoFileLeftOpen check;
  expectFailure<Exceptions::FileRead>([&] { reader->apply(readRequest(file)); },
                                      "Couldn't read from file '" + file + "'!", "VtiReader");
}

TEST_F(VtiReaderFailure, AnotherParameterObjectIsRefused) {
  for (const SmartPointer<IComposite>& other :
       {SmartPointer<IComposite>(new Data<int32>(1)),
        SmartPointer<IComposite>(new TaviOperators::VtiTypeReader::Parameter)}) {
    expectRefusal([&] { Frame().apply(other); },
                  "NORV::TaviOperators::DLL::VtiReader::Operator::getOperatorTypeFromParameterObject: invalid "
                  "parameter object!");
    expectRefusal([&] { reader->apply(other); }, inApply);
  }
}

TEST_F(VtiReaderFailure, WhatIsNoDocumentIsNoHeader) {
  for (const std::string text : {"", " ", "text", "<", "<VTKFile", "<VTKFile>", "<VTKFile></Other>", "<?xml?>"}) {
    expectRefused<Exceptions::BadFile>(text, "Invalid VTI header", "VtiReader");
  }
  expectRefused<Exceptions::BadFile>(std::string(100'000, '\0'), "Invalid VTI header", "VtiReader");
  const std::string text = VtiDocumentText().text();
  for (std::size_t length = 0; length + 3 < text.size(); ++length) {
    expectRefused<Exceptions::BadFile>(text.substr(0, length), "Invalid VTI header", "VtiReader");
  }
}

TEST_F(VtiReaderFailure, PiecesThatDifferFromTheWholeAreRefusedByTheReaderOnly) {
  VtiDocumentText document;
  for (const std::string extent : {"0 1 0 1 1 2", "0 1 0 1 0 0", "1 2 0 1 0 1", "0 1 0 1 0", ""}) {
    document.piece = "Extent=\"" + extent + "\"";
    expectBad(document, "Extent of piece does not match whole extent");
    const auto type = makeParameter<TaviOperators::VtiTypeReader::Parameter>();
    type->inputFilename = folder / "volume.vti";
    createTyped("NORV::TaviOperators::VtiTypeReader::Operator")->apply(type);
    EXPECT_EQ(type->outputDimension.value(), Dimension<SizeType>(2, 2, 2));
  }
}

TEST_F(VtiReaderFailure, EachInstanceReadsItsOwnVoxelTypeOnly) {
  for (const std::string type : {"Int8", "UInt16", "Float64", "Int64", "UInt64", "String", "uint8", ""}) {
    const std::string text = replaced(VtiDocumentText().text(), "UInt8", type);
    expectRefusal([&] { reader->apply(readRequest(write(text))); },
                  inApply + " operator type and file type don't match");
  }
  forEachVoxelType([this]<class T>() {
    const std::string text = replaced(VtiDocumentText().text(), "UInt8", vtiType<T>());
    if (!std::is_same_v<T, uint8>) {
      expectRefusal([&] { reader->apply(readRequest(write(text))); },
                    inApply + " operator type and file type don't match");
    }
  });
}

TEST_F(VtiReaderFailure, SixtyFourBitIntegersHaveNoInstance) {
  for (const auto& [type, name] :
       {std::pair<std::string, std::string>{"Int64", "NORV::int64"}, {"UInt64", "NORV::uint64"}}) {
    const std::string file = write(replaced(VtiDocumentText().text(), "UInt8", type));
    expectStandard<std::invalid_argument>(
        [&] { Frame().apply(readRequest(file)); },
        "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
        "NORV::TaviOperators::VtiReader::Operator< NORV::Tavi::Volume< " +
            name + " , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
  }
}

TEST_F(VtiReaderFailure, AVolumeOfAnotherClassIsRefusedAndKept) {
  const TestVolume<int8> other({2, 2, 2});
  const std::string text = "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type";
  expectRefusal([&] { Frame().apply(readRequest(write(VtiDocumentText().text()), other)); }, text);
  // Looked at before the content.
  expectRefusal([&] { Frame().apply(readRequest(write(withPayload("").text()), other)); }, text);
  EXPECT_EQ(other.voxels(), std::vector<int8>(8, 77));
}

TEST_F(VtiReaderFailure, TheArrayMustHaveContentOfAKnownFormat) {
  for (const std::string format : {"ascii", "binary"}) {
    for (const std::string text : {"", " \n", "<Other/>"}) {
      expectBad(VtiDocumentText().inArray(format, text), "Missing DataArray content");
    }
  }
  for (const std::string format : {"", "raw", "Ascii"}) {
    expectBad(VtiDocumentText().inArray(format, "1"), "Unknown DataArray format");
  }
}

TEST_F(VtiReaderFailure, TheAppendedSectionIsCheckedInOrder) {
  VtiDocumentText document;
  document.section = "encoding=\"raw\"";
  document.payload.clear();
  VtiDocumentText withoutOffset = document;
  withoutOffset.array = "type=\"UInt8\" Name=\"Volume\" format=\"appended\"";
  expectBad(withoutOffset, "offset attribute is missing");
  VtiDocumentText without = document;
  without.hasSection = false;
  expectBad(without, "There must be exactly 1 AppendedData section");
  without.hasSection = true;
  without.section.clear();
  expectBad(without, "There must be exactly 1 AppendedData section");
  VtiDocumentText two = document;
  two.payload = "</AppendedData><AppendedData encoding=\"base64\">_";
  expectBad(two, "There must be exactly 1 AppendedData section");
  expectBad(document, "Only base64 encoding is supported");
  document.section = "encoding=\"base64\"";
  expectBad(document, "Missing AppendedData content");
  document.payload = plainPayload("abcdefgh");
  expectBad(document, "AppendedData section doesn't start with '_' symbol");
}

TEST_F(VtiReaderFailure, OffsetsMustBeNumbersInsideTheSection) {
  const auto withOffset = [](const std::string& offset) {
    VtiDocumentText document;
    document.array = replaced(document.array, "offset=\"0\"", "offset=\"" + offset + "\"");
    return document;
  };
  for (const std::string offset : {"", "x", "-1", "18446744073709551616"}) {
    expectBad(withOffset(offset), "offset attribute is invalid");
  }
  for (const std::string offset : {"1", "11", "16", "17", "1000000", "4294967296", "18446744073709551615"}) {
    const auto document = withOffset(offset);
    if (offset != "1") {
      expectInvalid(document, "String is not base64 encoded!", base64);
    } else {
      expectInvalid(document, "String is not base64 encoded!", base64);  // the count is another, and large
    }
  }
}

TEST_F(VtiReaderFailure, AStreamOfAnotherSizeThanTheVolume) {
  for (const std::size_t bytes : {0u, 1u, 4u, 7u, 9u, 12u, 100u}) {
    const std::string payload = plainPayload(std::string(bytes, 'x'));
    expectInvalid(withPayload(payload), "Array size incorrect", decodeUncompressed);
    expectInvalid(VtiDocumentText().inArray("binary", payload), "Array size incorrect", decodeUncompressed);
  }
  // The count decides, whatever follows.
  expectInvalid(withPayload(naiveBase64(word(2) + "abcdefgh")), "Array size incorrect", decodeUncompressed);
}

TEST_F(VtiReaderFailure, StreamsThatAreNoBase64) {
  const std::string payload = plainPayload("abcdefgh"), words = "String is not base64 encoded!";
  ASSERT_EQ(payload.size(), 16u);
  for (std::size_t length = 0; length < payload.size(); ++length) {
    expectInvalid(withPayload(payload.substr(0, length)), words, base64);
  }
  for (std::size_t i = 0; i < payload.size(); ++i) {
    for (const char c : {' ', '=', '-', '_', '\n', '\x7F', '\xC4'}) {
      std::string wrong = payload;
      wrong[i] = c;
      if (i < 14 || c != '=') {
        expectInvalid(withPayload(wrong), words, base64);
      }
    }
  }
  expectInvalid(withPayload(naiveBase64(word(4294967295u) + "abcdefgh")), words, base64);
  expectInvalid(withPayload("/////////////////////w=="), words, base64);
}

TEST_F(VtiReaderFailure, BlockTablesThatDoNotFitTheVolume) {
  const auto table = [](std::size_t blocks, std::size_t bytes, std::size_t last, const std::vector<std::string>& all) {
    std::string sizes, data;
    for (const std::string& block : all) {
      sizes += word(block.size());
      data += block;
    }
    return withPayload(naiveBase64(word(blocks) + word(bytes) + word(last) + sizes) + naiveBase64(data), true);
  };
  const std::string half = deflated("abcd"), words = "Array size incorrect";
  EXPECT_EQ(readRequest(write(table(2, 4, 0, {half, half}).text()))->inputFilename.value(), folder / "volume.vti");
  expectInvalid(table(0, 0, 0, {}), words, decodeCompressed);
  expectInvalid(table(0, 4, 4, {}), words, decodeCompressed);
  expectInvalid(table(1, 4, 0, {half}), words, decodeCompressed);
  expectInvalid(table(3, 4, 0, {half, half, half}), words, decodeCompressed);
  expectInvalid(table(2, 4, 3, {half, half}), words, decodeCompressed);
  expectInvalid(table(2, 4294967295u, 4294967295u, {half, half}), words, decodeCompressed);
  // Half a voxel in each block.
  VtiDocumentText wide = table(4, 1, 0, {deflated("a"), deflated("b"), deflated("c"), deflated("d")});
  wide.extents({2, 1, 1});
  wide.array = replaced(wide.array, "UInt8", "UInt16");
  expectFailure<Exceptions::InvalidData>(
      [&] { createTyped(typedIdentifier<uint16>("VtiReader"))->apply(readRequest(write(wide.text()))); }, words,
      decodeCompressed);
}

TEST_F(VtiReaderFailure, BlockTablesThatEndEarlyOrPromiseTooMuch) {
  const std::string words = "String is not base64 encoded!";
  const std::string payload = blockPayload("abcdefgh", 4);
  for (std::size_t length = 0; length < payload.size(); ++length) {
    expectInvalid(withPayload(payload.substr(0, length), true), words, base64);
  }
  for (const std::size_t blocks : {3u, 1000u, 1000000u, 4294967295u}) {
    expectInvalid(withPayload(naiveBase64(word(blocks) + word(4) + word(0)), true), words, base64);
  }
  const std::string block = deflated("abcdefgh");
  for (const std::size_t size : {block.size() + 3, std::size_t{1000000}, std::size_t{4294967295u}}) {
    expectInvalid(withPayload(naiveBase64(word(1) + word(8) + word(0) + word(size)) + naiveBase64(block), true), words,
                  base64);
  }
}

TEST_F(VtiReaderFailure, BlocksThatDoNotInflateToTheirSize) {
  const NoFileLeftOpen check;
  const auto expectCorrupt = [&](const std::string& block) {
    const std::string payload = naiveBase64(word(1) + word(8) + word(0) + word(block.size())) + naiveBase64(block);
    for (const Layout& layout : {denseLayout, regionLayout}) {
      const TestVolume<uint8> output({2, 2, 2}, layout);
      const auto parameter = readRequest(write(withPayload(payload, true).text()), output);
      expectFailure<Exceptions::InvalidData>([&] { reader->apply(parameter); }, "A compressed block is invalid",
                                             decodeCompressed);
      output.expectUntouchedOutside();
    }
  };
  const std::string block = deflated("abcdefgh");
  for (std::size_t i = 0; i < block.size(); ++i) {
    std::string wrong = block;
    wrong[i] = static_cast<char>(wrong[i] ^ 0x20);
    uLongf length = 8;
    Bytef bytes[8];
    if (uncompress(bytes, &length, reinterpret_cast<const Bytef*>(wrong.data()), wrong.size()) != Z_OK) {
      expectCorrupt(wrong);  // all but the bits that fill the last byte before the checksum
    }
  }
  expectCorrupt("");
  expectCorrupt(block.substr(0, block.size() - 1));
  expectCorrupt(deflated("abcdefg"));
  expectCorrupt(deflated("abcdefghi"));
  expectCorrupt(deflated(std::string(100'000, 'x')));
}

TEST_F(VtiReaderFailure, NumbersThatAreNone) {
  for (const std::string text :
       {"1", "1 2 3 4 5 6 7", "1 2 3 4 5 6 7 x", "1 2 3 4 5 6 7 256", "1 2 3 4 5 6 7 -1", "1 2 3 4 5 6 7 +-1",
        "1,2,3,4,5,6,7,8", "12345678", "0x1 2 3 4 5 6 7 8", "1 2 3 4 5 6 7 99999999999999999999", "a b c d e f g h"}) {
    expectBad(VtiDocumentText().inArray("ascii", text), "DataArray content is invalid");
    expectFailure<Exceptions::BadFile>([&] { reader->apply(readRequest(folder / "volume.vti")); },
                                       "DataArray content is invalid", "VtiReader");
  }
  for (const std::string text : {"1 2 3 4 5 6 7 1e39", "1 2 3 4 5 6 7 -1e400", "1 2 3 4 5 6 7 .", "1 2 3 4 5 6 7 e1"}) {
    const std::string file = write(replaced(VtiDocumentText().inArray("ascii", text).text(), "UInt8", "Float32"));
    expectFailure<Exceptions::BadFile>(
        [&] { createTyped(typedIdentifier<float32>("VtiReader"))->apply(readRequest(file)); },
        "DataArray content is invalid", "VtiReader");
  }
}

TEST_F(VtiReaderFailure, HugeExtentsFailBeforeMemoryIsAskedFor) {
  VtiDocumentText document;
  const auto expectRefusedAs = [&](const auto& expect) {
    for (const Extents& extents : {Extents{1u << 20, 1u << 20, 1}, Extents{1u << 20, 1u << 20, 1u << 19},
                                   Extents{2147483648u, 1, 1}, Extents{1, 1, 1152921504606846975u}}) {
      expect(document.extents(extents));
    }
  };
  document.arrayText = "1 2 3";
  document.array = "type=\"UInt8\" Name=\"Volume\" format=\"ascii\"";
  expectRefusedAs([&](const VtiDocumentText& huge) { expectBad(huge, "DataArray content is invalid"); });
  document = VtiDocumentText();
  expectRefusedAs(
      [&](const VtiDocumentText& huge) { expectInvalid(huge, "Array size incorrect", decodeUncompressed); });
  document = withPayload(blockPayload("abcdefgh", 4), true);
  expectRefusedAs([&](const VtiDocumentText& huge) { expectInvalid(huge, "Array size incorrect", decodeCompressed); });
  // A table of blocks that could not be so small.
  document.payload = "_" + naiveBase64(word(2) + word(2147483648u) + word(0) + word(12) + word(12)) +
                     naiveBase64(std::string(24, 'x'));
  expectInvalid(document.extents({65536, 65536, 1}), "A compressed block is invalid", decodeCompressed);
  // More than 64 bits count.
  document.extents({4294967296u, 4294967296u, 4294967296u});
  expectBad(document, "Invalid VTI file");
}

TEST_F(VtiReaderFailure, DeepAndWideDocumentsDoNotEndTheProcess) {
  constexpr std::size_t depth = 200'000;
  std::string deep = "<?xml?>", wide = "<?xml?><VTKFile>";
  for (std::size_t i = 0; i < depth; ++i) {
    deep += "<a>";
    wide += "<a/>";
  }
  expectRefused<Exceptions::BadFile>(deep, "Invalid VTI header", "VtiReader");
  for (std::size_t i = 0; i < depth; ++i) {
    deep += "</a>";
  }
  expectRefused<Exceptions::BadFile>(deep, "Invalid VTI header", "VtiReader");
  expectRefused<Exceptions::BadFile>(wide + "</VTKFile>", "Invalid VTI header", "VtiReader");
}

TEST_F(VtiReaderFailure, EntitiesAreNeitherReadNorExpanded) {
  VtiDocumentText document = VtiDocumentText().inArray("ascii", "&a;&b;&b;&b;&b;&b;&b;&b;");
  document.start += "<!DOCTYPE VTKFile [<!ENTITY a SYSTEM \"file:///etc/passwd\"><!ENTITY b \"1 \">]>";
  expectBad(document, "DataArray content is invalid");
}

TEST_F(VtiReaderFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  for (const VtiDocumentText& document : {VtiDocumentText(), withPayload(blockPayload("abcdefgh", 4), true),
                                          VtiDocumentText().inArray("ascii", "1 2 3 4 5 6 7 8")}) {
    const std::string file = write(document.text());
    const NoFileLeftOpen check;
    const auto before = blocksInUse();
    {
      const auto parameter = readRequest(file);
      EXPECT_GT(failEachAllocation([&] { reader->apply(parameter); },
                                   [&] { EXPECT_EQ(parameter->outputVolume.value(), nullptr); }),
                5);
    }
    EXPECT_LE(blocksInUse(), before + 2);
  }
}

}  // namespace
}  // namespace NORV::Tests
