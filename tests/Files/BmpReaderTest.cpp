#include "BmpFiles.hpp"

#include <random>

namespace NORV::Tests {
namespace {

class BmpReader : public Bmp {};
class BmpReaderFailure : public Bmp {
protected:
  void expectInvalid(const BmpBytes& bytes, const std::string& text,
                     const std::source_location& place = std::source_location::current()) const {
    const NoFileLeftOpen check(place);
    write(bytes);
    const TestVolume<uint8> output({5, 5, 1});
    output.fill({9});
    const auto parameter = toRead(file, output);
    expectFailure<Exceptions::InvalidData>([&] { BmpReaderFrame().apply(parameter); }, text, inBmpReader, place);
    expectSameVoxels(output.voxels(), std::vector<uint8>(25, 9));
    EXPECT_TRUE(parameter->outputColorTable.value() == nullptr);
  }
};

TEST_F(BmpReader, RgbIsARecordOfThreeShares) {
  const SmartPointer<RGB> color(new RGB(1, 2, 3));
  EXPECT_EQ(color->getType(), "NORV::TaviOperators::RGB");
  ASSERT_EQ(color->getNumberOfKeys(), 3u);
  EXPECT_EQ(color->getKey(0), "red");
  EXPECT_EQ(color->getKey(1), "green");
  EXPECT_EQ(color->getKey(2), "blue");
  EXPECT_EQ(SmartPointer<Data<uint8>>(color->getValue("blue"))->getValue(), 3);
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::RGB"));
  EXPECT_EQ(ColorTable().getType(), "NORV::Tavi::Container::Vector< NORV::TaviOperators::RGB >");
  EXPECT_TRUE(isRegistered(ColorTable().getType()));
}

TEST_F(BmpReader, ExistsForOneVoxelType) {
  for (const std::string op : {"BmpReader", "BmpWriter"}) {
    EXPECT_TRUE(isRegistered(typedIdentifier<uint8>(op)));
    EXPECT_EQ(countRegistered("NORV::TaviOperators::" + op + "::Operator< "), 1u);
    EXPECT_TRUE(isRegistered("NORV::TaviOperators::" + op + "::Parameter"));
  }
  const auto keysOf = [](const IComposite& parameter) {
    std::vector<std::string> keys;
    for (SizeType i = 0; i < parameter.getNumberOfKeys(); ++i) {
      keys.push_back(parameter.getKey(i));
    }
    return keys;
  };
  EXPECT_EQ(keysOf(*makeParameter<TaviOperators::BmpReader::Parameter>()),
            (std::vector<std::string>{"inputFilename", "outputVolume", "outputPixelsPerMeterPrim",
                                      "outputPixelsPerMeterSec", "outputColorTable"}));
  EXPECT_EQ(keysOf(*makeParameter<TaviOperators::BmpWriter::Parameter>()),
            (std::vector<std::string>{"inputVolume", "inputFilename", "inputPixelsPerMeterPrim",
                                      "inputPixelsPerMeterSec", "inputColorTable"}));
}

TEST_F(BmpReader, ReadsIntoEveryView) {
  for (const Layout& layout : allLayouts()) {
    for (const SizeType width : {SizeType{3}, SizeType{4}, SizeType{6}}) {
      const auto voxels = mixedValues<uint8>(width * 5);
      BmpBytes bytes = validFile();
      bytes.width = static_cast<uint32>(width);
      bytes.height = 5;
      bytes.rows = rowsOf(voxels, width, 5);
      bytes.pixelsX = 11;
      bytes.pixelsY = 0xFFFFFFFF;
      const TestVolume<uint8> output({width, 5, 1}, layout);
      const auto parameter = toRead(write(bytes), output);
      const NoFileLeftOpen check;
      BmpReaderFrame().apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value().get() == SmartPointer<IVolume>(output).get());
      expectSameVoxels(output.voxels(), voxels);
      output.expectUntouchedOutside();
      EXPECT_EQ(parameter->outputPixelsPerMeterPrim.value(), 11u);
      EXPECT_EQ(parameter->outputPixelsPerMeterSec.value(), 0xFFFFFFFFu);
      ASSERT_TRUE(parameter->outputColorTable.value() != nullptr);
      EXPECT_EQ(parameter->outputColorTable.value()->size(), 256u);
    }
  }
}

TEST_F(BmpReader, PaletteHasAsManyColoursAsAreUsed) {
  BmpBytes bytes = validFile();
  bytes.colorsUsed = 2;
  bytes.palette = std::string("\x01\x02\x03\0\x04\x05\x06\x07", 8);
  bytes.offset = 54 + 8;
  bytes.imageBytes = 8;
  const auto parameter = toRead(write(bytes));
  const ColorTablePtr given(new ColorTable(7));
  parameter->outputColorTable = given;
  BmpReaderFrame().apply(parameter);
  EXPECT_TRUE(parameter->outputColorTable.value().get() == given.get());
  ASSERT_EQ(given->size(), 2u);
  EXPECT_EQ((*given)[0]->red.value(), 3);
  EXPECT_EQ((*given)[0]->green.value(), 2);
  EXPECT_EQ((*given)[0]->blue.value(), 1);
  EXPECT_EQ((*given)[1]->red.value(), 6);
  expectSameVoxels(voxelsOf(VolumePtr<uint8>(parameter->outputVolume.value())), {1, 2, 3, 4, 5, 6});

  // Pixels stand where the offset says, here before unused bytes, and the last padding may be missing.
  bytes.rows.pop_back();
  bytes.palette += "between";
  bytes.offset += 7;
  BmpReaderFrame().apply(toRead(write(bytes)));
}

TEST_F(BmpReaderFailure, HeadersOfOtherFilesAreRefused) {
  const auto with = [](auto change) {
    BmpBytes bytes = validFile();
    change(bytes);
    return bytes;
  };
  const std::string header = "Invalid BMP header!", info = "Invalid BMP info block!";
  expectInvalid(with([](BmpBytes& b) { b.signature = 19777; }), header);
  expectInvalid(with([](BmpBytes& b) { b.sizeError = 1; }), header);
  expectInvalid(with([](BmpBytes& b) { b.sizeError = -1; }), header);
  expectInvalid(with([](BmpBytes& b) { b.reserved = 1; }), header);
  expectInvalid(with([](BmpBytes& b) { b.offset = 0; }), header);
  expectInvalid(with([](BmpBytes& b) { b.infoBytes = 124; }), info);
  expectInvalid(with([](BmpBytes& b) { b.width = 0; }), info);
  expectInvalid(with([](BmpBytes& b) { b.height = 0; }), info);
  expectInvalid(with([](BmpBytes& b) { b.planes = 2; }), "Unsupported voxel type!");
  for (const uint32 bits : {1u, 4u, 24u, 32u}) {
    expectInvalid(with([&](BmpBytes& b) { b.bits = bits; }), "Unsupported voxel type!");
  }
  expectInvalid(with([](BmpBytes& b) { b.compression = 1; }), "Compression is not supported!");
  expectInvalid(with([](BmpBytes& b) { b.imageBytes = 6; }), info);
  // Top-down, and other extents that the file does not hold.
  expectInvalid(with([](BmpBytes& b) { b.height = 0xFFFFFFFE; }), info);
  expectInvalid(with([](BmpBytes& b) { b.width = b.height = 0xFFFFFFFF; }), info);
  expectInvalid(with([](BmpBytes& b) { b.offset = 0xFFFFFFFF; }), info);
  expectInvalid(with([](BmpBytes& b) { b.colorsUsed = 0xFFFFFFFF; }), info);
}

TEST_F(BmpReaderFailure, EveryPrefixAndChangedBytesFailOrAreRead) {
  const std::string whole = validFile().bytes();
  const NoFileLeftOpen check;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    writeFile(file, whole.substr(0, size));
    expectFailure<Exceptions::InvalidData>([&] { BmpReaderFrame().apply(toRead(file)); }, "Invalid BMP header!",
                                           inBmpReader);
  }
  std::mt19937 random(5);
  for (int i = 0; i < 2000; ++i) {
    std::string bytes = whole;
    bytes[random() % 54] = static_cast<char>(random());
    writeFile(file, bytes);
    try {
      BmpReaderFrame().apply(toRead(file));
    } catch (const Exceptions::InvalidData&) {
    }
  }
}

TEST_F(BmpReaderFailure, FileNamesVolumesAndParametersAreChecked) {
  const TestVolume<uint8> input({3, 2, 1}), deep({3, 2, 2});
  expectRefusal([&] { BmpReaderFrame().apply(toRead("")); }, inBmpReader + " input filename is empty");
  expectRefusal([&] { BmpReaderFrame().apply(toRead("a=b.bmp")); }, inBmpReader + " input filename is invalid");
  expectRefusal([&] { BmpWriterFrame().apply(toWrite("", SmartPointer<IVolume>())); },
                inBmpWriter + " input volume is NULL");
  expectRefusal([&] { createTyped(typedIdentifier<uint8>("BmpWriter"))->apply(toWrite("", SmartPointer<IVolume>())); },
                inBmpWriter + " input volume is NULL");
  expectRefusal([&] { BmpWriterFrame().apply(toWrite("", deep)); }, inBmpWriter + " input volume dim tert must be 1");
  expectRefusal([&] { BmpWriterFrame().apply(toWrite("", VolumePtr<uint8>(new Tavi::Volume<uint8>))); },
                inBmpWriter + " input volume dim tert must be 1");
  expectRefusal([&] { BmpWriterFrame().apply(toWrite("", input)); }, inBmpWriter + " input filename is empty");
  expectRefusal([&] { BmpWriterFrame().apply(toWrite("a?.bmp", input)); }, inBmpWriter + " input filename is invalid");
  const SmartPointer<IComposite> other(new Data<int32>(1));
  const std::string words = "::Operator::getOperatorTypeFromParameterObject: invalid parameter object!";
  expectRefusal([&] { BmpReaderFrame().apply(other); }, "NORV::TaviOperators::DLL::BmpReader" + words);
  expectRefusal([&] { BmpWriterFrame().apply(other); }, "NORV::TaviOperators::DLL::BmpWriter" + words);
  expectRefusal([&] { createTyped(typedIdentifier<uint8>("BmpReader"))->apply(other); }, inBmpReader);
  expectRefusal([&] { createTyped(typedIdentifier<uint8>("BmpWriter"))->apply(other); }, inBmpWriter);
  const TestVolume<int8> signedOutput({3, 2, 1});
  expectRefusal([&] { BmpReaderFrame().apply(toRead(write(validFile()), signedOutput)); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  expectStandard<std::invalid_argument>(
      [&] { BmpWriterFrame().apply(toWrite(file, signedOutput)); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier " +
          typedIdentifier<int8>("BmpWriter") + " is registered");
}

TEST_F(BmpReaderFailure, WhatDoesNotOpenOrIsFullIsNamed) {
  const NoFileLeftOpen check;
  const TestVolume<uint8> input({30, 20, 1});
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& name : {folder / "absent/a.bmp", std::string(folder.path()), pipe}) {
    expectFailure<Exceptions::FileOpen>([&] { BmpReaderFrame().apply(toRead(name)); },
                                        "Couldn't open file '" + name + "'!", inBmpReader);
    expectFailure<Exceptions::FileCreate>([&] { BmpWriterFrame().apply(toWrite(name, input)); },
                                          "Couldn't create file '" + name + "'!", inBmpWriter);
  }
  expectFailure<Exceptions::FileWrite>([&] { BmpWriterFrame().apply(toWrite("/dev/full", input)); },
                                       "Couldn't write to file '/dev/full'!", inBmpWriter);
  for (const std::size_t room : {0u, 54u, 1000u, 1078u, 1717u}) {
    const FullDisk disk(room);
    expectFailure<Exceptions::FileWrite>([&] { BmpWriterFrame().apply(toWrite(file, input)); },
                                         "Couldn't write to file '" + file + "'!", inBmpWriter);
  }
}

TEST_F(BmpReaderFailure, FailingAllocationsLeaveNothingBehind) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  BmpBytes bytes = validFile();
  bytes.colorsUsed = 2;
  write(bytes);
  const TestVolume<uint8> output({3, 2, 1});
  const auto reading = toRead(file, output);
  const auto writing = toWrite(folder / "b.bmp", output);
  BmpReaderFrame reader;
  BmpWriterFrame writer;
  const auto files = openFiles();
  const auto check = [&] { EXPECT_EQ(openFiles(), files); };
  EXPECT_GT(failEachAllocation([&] { reader.apply(reading); }, check), 3);
  expectSameVoxels(output.voxels(), {1, 2, 3, 4, 5, 6});
  EXPECT_GT(failEachAllocation([&] { writer.apply(writing); }, check), 3);
}

}  // namespace
}  // namespace NORV::Tests
