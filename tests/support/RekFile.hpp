#pragma once

#include "support/TemporaryDirectory.hpp"

#include <Tavi/Types.hpp>

#include <array>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

/// REK files byte by byte, restated from the layout of the format.
namespace NORV::Tests {

/// The 2048 bytes before the voxels; a default header at first.
class HeaderBytes {
public:
  HeaderBytes() : _bytes(2048, '\0') {
    put<uint16>(8, 2048);
    put<uint16>(10, 2);
    put<uint16>(12, 6);
    put<uint32>(1008, 0x01020304);
    put<uint64>(1016, 0x0102030405060708);
  }
  explicit HeaderBytes(std::string bytes) : _bytes(std::move(bytes)) {}

  template <class T>
  HeaderBytes& put(std::size_t offset, std::type_identity_t<T> value) {
    std::memcpy(_bytes.data() + offset, &value, sizeof(T));
    return *this;
  }
  template <class T>
  T get(std::size_t offset) const {
    T value{};
    std::memcpy(&value, _bytes.data() + offset, sizeof(T));
    return value;
  }

  HeaderBytes& code(uint16 value) { return put<uint16>(4, value); }
  HeaderBytes& shortSize(int x, int y, int z) {
    return put<int16>(0, static_cast<int16>(x))
        .put<int16>(2, static_cast<int16>(y))
        .put<int16>(6, static_cast<int16>(z));
  }
  HeaderBytes& longSize(int32 x, int32 y, int32 z) { return put<int32>(568, x).put<int32>(572, y).put<int32>(576, z); }
  HeaderBytes& imageSize(int32 x, int32 y) { return put<int32>(40, x).put<int32>(44, y); }

  const std::string& bytes() const { return _bytes; }
  /// A file with this header and `count` further bytes.
  std::string with(std::size_t count) const { return _bytes + std::string(count, '\x11'); }
  std::string with(const std::string& voxels) const { return _bytes + voxels; }

private:
  std::string _bytes;
};

/// The voxel types of the format.
struct RekType {
  uint16 code;
  const char* name;
  std::size_t bytes;
};
inline constexpr std::array<RekType, 10> rekTypes{{{7, "NORV::int8", 1},
                                                   {8, "NORV::uint8", 1},
                                                   {15, "NORV::int16", 2},
                                                   {16, "NORV::uint16", 2},
                                                   {31, "NORV::int32", 4},
                                                   {32, "NORV::uint32", 4},
                                                   {63, "NORV::int64", 8},
                                                   {64, "NORV::uint64", 8},
                                                   {24, "NORV::float32", 4},
                                                   {53, "NORV::float64", 8}}};

template <class T>
RekType rekTypeOf() {
  for (const RekType& type : rekTypes) {
    if (std::string(Tavi::typeName<T>) == type.name) {
      return type;
    }
  }
  throw std::logic_error("no voxel type of the format");
}

template <class T>
std::string bytesOf(const std::vector<T>& values) {
  return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

}  // namespace NORV::Tests
