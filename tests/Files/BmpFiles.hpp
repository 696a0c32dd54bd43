#pragma once

#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"
#include "support/FullDisk.hpp"
#include "support/HostMemory.hpp"
#include "support/Operators.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/Volumes.hpp"

#include <BmpReader.hpp>
#include <BmpWriter.hpp>
#include <DLL/BmpReader.hpp>
#include <DLL/BmpWriter.hpp>
#include <RGB.hpp>

#include <sys/stat.h>

/// What the tests of the BMP operators share.
namespace NORV::Tests {

using BmpReaderFrame = TaviOperators::DLL::BmpReader::Operator;
using BmpWriterFrame = TaviOperators::DLL::BmpWriter::Operator;
using Tavi::Dimension;
using Tavi::VolumePtr;
using Tavi::Persistence::Data;
using TaviOperators::ColorTable;
using TaviOperators::ColorTablePtr;
using TaviOperators::RGB;

inline const std::string inBmpReader = "NORV::TaviOperators::BmpReader::Operator::apply";
inline const std::string inBmpWriter = "NORV::TaviOperators::BmpWriter::Operator::apply";

inline std::string littleEndian(uint64 value, std::size_t width) {
  std::string text;
  for (std::size_t i = 0; i < width; ++i) {
    text += static_cast<char>(value >> (8 * i) & 255u);
  }
  return text;
}

/// A file field by field, restated.
struct BmpBytes {
  uint32 width = 0, height = 0;
  std::string palette, rows;
  uint32 signature = 19778, reserved = 0, offset = 1078, infoBytes = 40, planes = 1, bits = 8, compression = 0;
  uint32 pixelsX = 0, pixelsY = 0, colorsUsed = 0, colorsImportant = 0;
  int64 sizeError = 0;
  uint32 imageBytes = 0;

  std::string bytes() const {
    const std::size_t size = 54 + palette.size() + rows.size();
    return littleEndian(signature, 2) + littleEndian(static_cast<uint64>(static_cast<int64>(size) + sizeError), 4) +
           littleEndian(reserved, 4) + littleEndian(offset, 4) + littleEndian(infoBytes, 4) + littleEndian(width, 4) +
           littleEndian(height, 4) + littleEndian(planes, 2) + littleEndian(bits, 2) + littleEndian(compression, 4) +
           littleEndian(imageBytes, 4) + littleEndian(pixelsX, 4) + littleEndian(pixelsY, 4) +
           littleEndian(colorsUsed, 4) + littleEndian(colorsImportant, 4) + palette + rows;
  }
};

inline std::string greyPalette() {
  std::string text;
  for (int i = 0; i < 256; ++i) {
    text += std::string(3, static_cast<char>(i)) + std::string(1, '\0');
  }
  return text;
}

/// Rows of a slice as they stand in a file: the last first, each padded.
inline std::string rowsOf(const std::vector<uint8>& voxels, std::size_t width, std::size_t height) {
  std::string text;
  for (std::size_t y = height; y-- > 0;) {
    text.append(reinterpret_cast<const char*>(voxels.data()) + y * width, width);
    text.append((4 - width % 4) % 4, '\0');
  }
  return text;
}

inline BmpBytes validFile() {
  BmpBytes file;
  file.width = 3;
  file.height = 2;
  file.palette = greyPalette();
  file.rows = rowsOf({1, 2, 3, 4, 5, 6}, 3, 2);
  return file;
}

class Bmp : public testing::Test {
protected:
  std::string write(const BmpBytes& bytes) const {
    writeFile(file, bytes.bytes());
    return file;
  }
  static SmartPointer<TaviOperators::BmpReader::Parameter> toRead(
      const std::string& name, const SmartPointer<IVolume>& output = SmartPointer<IVolume>()) {
    const auto parameter = makeParameter<TaviOperators::BmpReader::Parameter>();
    parameter->inputFilename = name;
    parameter->outputVolume = output;
    return parameter;
  }
  static SmartPointer<TaviOperators::BmpWriter::Parameter> toWrite(const std::string& name,
                                                                   const SmartPointer<IVolume>& input) {
    const auto parameter = makeParameter<TaviOperators::BmpWriter::Parameter>();
    parameter->inputFilename = name;
    parameter->inputVolume = input;
    return parameter;
  }
  const TemporaryDirectory folder{std::filesystem::is_directory("/dev/shm") ? "/dev/shm"
                                                                            : std::filesystem::temp_directory_path()};
  const std::string file = folder / "a.bmp";
};

}  // namespace NORV::Tests
