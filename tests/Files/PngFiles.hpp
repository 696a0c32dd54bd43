#pragma once

#include <Tavi/Types.hpp>

#include <zlib.h>

#include <string>
#include <utility>
#include <vector>

/// PNG files made chunk by chunk, without the library that reads them.
namespace NORV::Tests::PngFiles {

inline std::string number(uint32 value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
          static_cast<char>(value)};
}

inline std::string chunk(const std::string& type, const std::string& data) {
  const std::string body = type + data;
  const auto crc = crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
  return number(static_cast<uint32>(data.size())) + body + number(static_cast<uint32>(crc));
}

inline std::string compressed(const std::string& bytes) {
  uLongf size = compressBound(bytes.size());
  std::string result(size, '\0');
  compress(reinterpret_cast<Bytef*>(result.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
  result.resize(size);
  return result;
}

inline const std::string signature = "\x89PNG\r\n\x1A\n";

struct Image {
  uint32 width = 0, height = 0;
  uint8 bits = 8, colorType = 0;
  std::string rows;    // with the filter byte of each
  std::string before;  // chunks before the image

  std::string header() const {
    return chunk("IHDR", number(width) + number(height) +
                             std::string{static_cast<char>(bits), static_cast<char>(colorType), 0, 0, 0});
  }
  std::string file() const {
    return signature + header() + before + chunk("IDAT", compressed(rows)) + chunk("IEND", "");
  }
};

template <class T>
Image imageOf(uint32 width, uint32 height, const std::vector<T>& voxels) {
  Image image;
  image.width = width;
  image.height = height;
  image.bits = 8 * sizeof(T);
  for (uint32 y = 0; y < height; ++y) {
    image.rows += '\0';
    for (uint32 x = 0; x < width; ++x) {
      const T voxel = voxels[std::size_t{y} * width + x];
      for (std::size_t byte = sizeof(T); byte-- > 0;) {
        image.rows += static_cast<char>(voxel >> (8 * byte));
      }
    }
  }
  return image;
}

}  // namespace NORV::Tests::PngFiles
