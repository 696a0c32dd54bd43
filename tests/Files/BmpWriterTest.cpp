#include "BmpFiles.hpp"

namespace NORV::Tests {
namespace {

class BmpWriter : public Bmp {};
class BmpWriterFailure : public Bmp {};

TEST_F(BmpWriter, WritesTheseBytesForEveryWidthAndView) {
  const NoFileLeftOpen check;
  for (SizeType width = 1; width <= 9; ++width) {
    for (const SizeType height : {SizeType{1}, SizeType{5}}) {
      for (const Layout& layout : allLayouts()) {
        const TestVolume<uint8> input({width, height, 1}, layout);
        input.fill(mixedValues<uint8>(47));
        const auto parameter = toWrite(file, input);
        parameter->inputPixelsPerMeterPrim = uint32{2835};
        parameter->inputPixelsPerMeterSec = uint32{0xFFFFFFFF};
        BmpWriterFrame frame;
        frame.apply(parameter);
        EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
        BmpBytes expected;
        expected.width = static_cast<uint32>(width);
        expected.height = static_cast<uint32>(height);
        expected.palette = greyPalette();
        expected.rows = rowsOf(input.voxels(), width, height);
        expected.imageBytes = static_cast<uint32>(expected.rows.size());
        expected.pixelsX = 2835;
        expected.pixelsY = 0xFFFFFFFF;
        EXPECT_TRUE(readFile(file) == expected.bytes()) << width << " " << layout.name();
      }
    }
  }
  BmpBytes three = validFile();
  EXPECT_EQ(three.rows.size(), 8u);  // rows of 4 bytes
}

TEST_F(BmpWriter, ATableIsWrittenAndReadBack) {
  const TestVolume<uint8> input({3, 2, 1});
  input.fill({0, 1, 2, 254, 255, 7});
  for (const std::size_t size : {1u, 3u, 255u, 256u}) {
    const ColorTablePtr table(new ColorTable);
    for (std::size_t i = 0; i < size; ++i) {
      table->emplace_back(new RGB(static_cast<uint8>(i), static_cast<uint8>(2 * i), static_cast<uint8>(3 * i)));
    }
    const auto parameter = toWrite(file, input);
    parameter->inputColorTable = table;
    BmpWriterFrame().apply(parameter);
    const auto read = toRead(file);
    BmpReaderFrame().apply(read);
    expectSameVoxels(voxelsOf(VolumePtr<uint8>(read->outputVolume.value())), input.voxels());
    ASSERT_EQ(read->outputColorTable.value()->size(), 256u);
    for (std::size_t i = 0; i < 256; ++i) {
      const RGB& color = *(*read->outputColorTable.value())[i];
      EXPECT_EQ(color.red.value(), i < size ? static_cast<uint8>(i) : 0);
      EXPECT_EQ(color.green.value(), i < size ? static_cast<uint8>(2 * i) : 0);
      EXPECT_EQ(color.blue.value(), i < size ? static_cast<uint8>(3 * i) : 0);
    }
  }
  const auto parameter = toWrite(file, input);
  parameter->inputColorTable = ColorTablePtr(new ColorTable);
  BmpWriterFrame().apply(parameter);
  EXPECT_TRUE(readFile(file).substr(54, 1024) == greyPalette());
}

TEST_F(BmpWriterFailure, TablesOfTooManyOrEmptyColoursLeaveTheFileAlone) {
  writeFile(file, "precious");
  const TestVolume<uint8> input({3, 2, 1});
  const auto parameter = toWrite(file, input);
  const ColorTablePtr table(new ColorTable(257));
  parameter->inputColorTable = table;
  expectRefusal([&] { BmpWriterFrame().apply(parameter); }, inBmpWriter + " color table is too big");
  table->resize(256);
  expectRefusal([&] { BmpWriterFrame().apply(parameter); }, inBmpWriter + " color table has an empty entry");
  const SmartPointer<IVolume> wide(untouchableVolume<uint8>({4294967296u, 1, 1}));
  expectStandard<std::overflow_error>(
      [&] { BmpWriterFrame().apply(toWrite(file, wide)); },
      "Couldn't cast 4294967296 (64 bit unsigned integer) to 32 bit unsigned integer without loss of data!");
  const SmartPointer<IVolume> large(untouchableVolume<uint8>({65536, 65536, 1}));
  expectStandard<std::overflow_error>(
      [&] { BmpWriterFrame().apply(toWrite(file, large)); },
      "Couldn't cast 4294968374 (64 bit unsigned integer) to 32 bit unsigned integer without loss of data!");
  EXPECT_EQ(readFile(file), "precious");
}

}  // namespace
}  // namespace NORV::Tests
