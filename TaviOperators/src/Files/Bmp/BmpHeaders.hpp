#pragma once

#include <Tavi/Types.hpp>

#include <array>
#include <cstddef>
#include <string>

/// The two headers of a BMP file.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// What the headers tell, as numbers. The members begin as the writer leaves them.
struct BmpHeaders {
  uint32 signature = 19778;  ///< "BM"
  uint32 fileBytes = 0;
  uint32 reserved = 0;
  uint32 dataOffset = 1078;  ///< behind the headers and a palette of 256 colours
  uint32 infoBytes = 40;
  uint32 width = 0;
  uint32 height = 0;
  uint32 planes = 1;
  uint32 bitsPerPixel = 8;
  uint32 compression = 0;
  uint32 imageBytes = 0;
  uint32 pixelsPerMeterPrim = 0;
  uint32 pixelsPerMeterSec = 0;
  uint32 colorsUsed = 0;  ///< 0 for 256
  uint32 colorsImportant = 0;

  static constexpr std::size_t bytes = 54;

  /// Calls `field(value, width in bytes)` for each member in the order of the file.
  template <class Self, class Field>
  static void forEachField(Self& self, const Field& field) {
    field(self.signature, 2u);
    field(self.fileBytes, 4u);
    field(self.reserved, 4u);
    field(self.dataOffset, 4u);
    field(self.infoBytes, 4u);
    field(self.width, 4u);
    field(self.height, 4u);
    field(self.planes, 2u);
    field(self.bitsPerPixel, 2u);
    field(self.compression, 4u);
    field(self.imageBytes, 4u);
    field(self.pixelsPerMeterPrim, 4u);
    field(self.pixelsPerMeterSec, 4u);
    field(self.colorsUsed, 4u);
    field(self.colorsImportant, 4u);
  }

  std::string encode() const {
    std::string text;
    forEachField(*this, [&text](uint32 value, unsigned width_) {
      for (unsigned i = 0; i < width_; ++i) {
        text += static_cast<char>(value >> (8 * i) & 255u);
      }
    });
    return text;
  }
  static BmpHeaders decode(const std::array<unsigned char, bytes>& text) {
    BmpHeaders headers;
    std::size_t at = 0;
    forEachField(headers, [&](uint32& value, unsigned width_) {
      value = 0;
      for (unsigned i = 0; i < width_; ++i) {
        value |= uint32{text[at++]} << (8 * i);
      }
    });
    return headers;
  }
};

/// How many bytes end each row.
inline SizeType bmpPadding(SizeType width) { return (4 - width % 4) % 4; }
/// The bytes of all rows; below 2 to the power of 64 for extents of 32 bits.
inline SizeType bmpImageBytes(SizeType width, SizeType height) { return (width + bmpPadding(width)) * height; }

}  // namespace NORV::TaviOperators::Impl
