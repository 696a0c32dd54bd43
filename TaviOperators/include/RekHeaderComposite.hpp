#pragma once

#include <Parameter.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Data.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/IComposite.hpp>

#include <cstring>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace NORV {

/// The first 2048 bytes of a REK file, in the order in which they stand there, little-endian. A file holds three
/// descriptions of the extents; its size decides between them. What is reserved is carried through unread.
struct RecHeader_V260 {
  int16 shortX = 0;
  int16 shortY = 0;
  uint16 voxelTypeCode = 0;  ///< value bits of the voxel type, mantissa bits for floating-point ones
  int16 shortZ = 0;
  uint16 headerSize = 2048;
  uint16 versionMajor = 2;
  uint16 versionMinor = 6;
  uint16 versionRevision = 0;
  char reserved0[24] = {};
  int32 imageWidth = 0;
  int32 imageHeight = 0;
  char reserved1[520] = {};
  int32 longX = 0;
  int32 longY = 0;
  int32 longZ = 0;
  char reserved2[428] = {};
  uint32 byteOrderMark32 = 0x01020304;
  char reserved3[4] = {};
  uint64 byteOrderMark64 = 0x0102030405060708;
  char reserved4[1024] = {};
};
static_assert(sizeof(RecHeader_V260) == 2048 && std::is_trivially_copyable_v<RecHeader_V260>);

namespace TaviOperators {

/// A file header as a node with the one key "header": a `Data<std::string>` of the raw bytes.
template <class Header>
class TAVI_EXPORT RekHeaderComposite final
    : public IComposite,
      private Tavi::Factory::StaticFactorySubscriber<RekHeaderComposite<Header>> {
public:
  RekHeaderComposite() = default;
  explicit RekHeaderComposite(const Header& header) : _header(header) {}

  const Header& getHeader() const { return _header; }

  /// Throws `std::invalid_argument` for another key, and for a value that is no text of exactly the header's size.
  void setValue(const std::string& key, SmartPointer<IComposite> value) override {
    requireKnown(key);
    const DataPtr<std::string> data(value);
    if (data == nullptr) {
      throw std::invalid_argument("value_ is an invalid pointer");
    }
    const std::string bytes = data->getValue();
    if (bytes.size() != sizeof(Header)) {
      throw std::invalid_argument("value_ contains invalid data");
    }
    std::memcpy(&_header, bytes.data(), sizeof(Header));
  }
  SmartPointer<IComposite> getValue(const std::string& key) const override {
    requireKnown(key);
    return SmartPointer<IComposite>(
        new Data<std::string>(std::string(reinterpret_cast<const char*>(&_header), sizeof(Header))));
  }
  std::string getKey(SizeType index) const override {
    if (index != 0) {
      throw std::out_of_range("index_ is out of the valid range");
    }
    return "header";
  }
  SizeType getNumberOfKeys() const override { return 1; }
  std::string getType() const override {
    const Header plain;
    return "NORV::TaviOperators::RekHeaderComposite< NORV::RecHeader_V" + std::to_string(plain.versionMajor) +
           std::to_string(plain.versionMinor) + std::to_string(plain.versionRevision) + " >";
  }

private:
  static void requireKnown(const std::string& key) {
    if (key != "header") {
      throw std::invalid_argument(key + " is an unknown key");
    }
  }

  Header _header;
};

using RekHeaderPtr = SmartPointer<RekHeaderComposite<RecHeader_V260>>;

}  // namespace TaviOperators
}  // namespace NORV
