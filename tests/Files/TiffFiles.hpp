#pragma once

#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/Volumes.hpp"

#include <DLL/TiffVolumeReader.hpp>
#include <DLL/TiffVolumeWriter.hpp>
#include <TiffImageInformation.hpp>
#include <TiffImageInformationReader.hpp>
#include <TiffVolumeReader.hpp>
#include <TiffVolumeTypeReader.hpp>
#include <TiffVolumeWriter.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// TIFF files byte by byte, made and taken apart without the library of the format.
namespace NORV::Tests {

using Tavi::VolumePtr;

enum TiffType : uint16 { ascii = 2, shorts = 3, longs = 4, rationals = 5, floats = 11 };

/// One entry of a directory; a rational is two numbers.
struct TiffEntry {
  uint16 type = shorts;
  std::vector<uint64> numbers;
  std::string text;  ///< for ascii, with its end
  std::optional<uint32> count;

  static TiffEntry of(uint16 type, std::vector<uint64> numbers) { return {type, std::move(numbers), {}, {}}; }
  static TiffEntry of(const std::string& text) { return {ascii, {}, text + std::string(1, '\0'), {}}; }
};

/// One directory with its strips.
struct TiffPage {
  std::map<uint16, TiffEntry> entries;
  std::vector<std::string> strips;

  TiffPage& set(uint16 tag, TiffEntry entry) {
    entries[tag] = std::move(entry);
    return *this;
  }
  TiffPage& set(uint16 tag, uint64 number) { return set(tag, TiffEntry::of(shorts, {number})); }
  TiffPage& without(uint16 tag) {
    entries.erase(tag);
    return *this;
  }
  TiffPage& resolution(uint16 unit, uint32 x, uint32 y, uint32 denominator = 1) {
    return set(296, unit)
        .set(282, TiffEntry::of(rationals, {x, denominator}))
        .set(283, TiffEntry::of(rationals, {y, denominator}));
  }
};

/// A grey image without compression in strips of so many rows.
inline TiffPage greyPage(uint32 width, uint32 height, uint16 bits, const std::string& bytes, uint32 rowsPerStrip = 0) {
  TiffPage page;
  page.set(256, TiffEntry::of(longs, {width})).set(257, TiffEntry::of(longs, {height}));
  page.set(258, bits).set(259, 1).set(262, 1).set(277, 1);
  const uint32 rows = rowsPerStrip == 0 ? height : rowsPerStrip;
  page.set(278, TiffEntry::of(longs, {rows}));
  const std::size_t stripBytes = std::size_t{rows} * width * bits / 8;
  for (std::size_t begin = 0; begin < bytes.size(); begin += stripBytes) {
    page.strips.push_back(bytes.substr(begin, stripBytes));
  }
  return page;
}

/// Lays pages out: for each the strips, then the directory, then what does not fit into its entries.
class TiffLayout {
public:
  explicit TiffLayout(bool isBigEndian = false) : _isBigEndian(isBigEndian) {
    _bytes = isBigEndian ? "MM" : "II";
    put(2, 42);
    put(4, 0);
  }

  TiffLayout& add(TiffPage page) {
    std::vector<uint64> offsets, counts;
    for (const std::string& strip : page.strips) {
      offsets.push_back(_bytes.size());
      counts.push_back(strip.size());
      _bytes += strip + std::string(strip.size() % 2, '\0');
    }
    page.entries.try_emplace(273, TiffEntry::of(longs, offsets));
    page.entries.try_emplace(279, TiffEntry::of(longs, counts));
    directories.push_back(_bytes.size());
    link(_bytes.size());
    const std::size_t end = _bytes.size() + 2 + 12 * page.entries.size() + 4;
    std::string values;
    put(2, page.entries.size());
    for (const auto& [tag, entry] : page.entries) {
      putEntry(tag, entry, end, values);
    }
    _linkAt = _bytes.size();
    put(4, 0);
    _bytes += values;
    return *this;
  }
  /// Lets the last directory, or the header, lead to an offset.
  TiffLayout& link(std::size_t offset) {
    const std::string encoded = encode(4, offset);
    _bytes.replace(_linkAt, 4, encoded);
    return *this;
  }
  const std::string& bytes() const { return _bytes; }

  std::vector<std::size_t> directories;

private:
  std::string encode(std::size_t width, uint64 number) const {
    std::string text;
    for (std::size_t i = 0; i < width; ++i) {
      text += static_cast<char>(number >> (8 * (_isBigEndian ? width - 1 - i : i)) & 255u);
    }
    return text;
  }
  void put(std::size_t width, uint64 number) { _bytes += encode(width, number); }

  void putEntry(uint16 tag, const TiffEntry& entry, std::size_t end, std::string& values) {
    std::string value = entry.text;
    for (const uint64 number : entry.numbers) {
      value += encode(entry.type == shorts ? 2 : 4, number);
    }
    const std::size_t numbers = entry.type == ascii       ? entry.text.size()
                                : entry.type == rationals ? entry.numbers.size() / 2
                                                          : entry.numbers.size();
    put(2, tag);
    put(2, entry.type);
    put(4, entry.count.value_or(static_cast<uint32>(numbers)));
    if (value.size() <= 4) {
      _bytes += value + std::string(4 - value.size(), '\0');
    } else {
      put(4, end + values.size());
      values += value + std::string(value.size() % 2, '\0');
    }
  }

  bool _isBigEndian;
  std::string _bytes;
  std::size_t _linkAt = 4;
};

inline std::string layOut(const std::vector<TiffPage>& pages, bool isBigEndian = false) {
  TiffLayout layout(isBigEndian);
  for (const TiffPage& page : pages) {
    layout.add(page);
  }
  return layout.bytes();
}

/// A little-endian file taken apart: the tags of each directory with the bytes of their values, and the strips.
struct ParsedPage {
  std::map<uint16, std::pair<uint16, std::string>> tags;  // type and value
  std::vector<std::string> strips;

  std::vector<uint16> tagNumbers() const {
    std::vector<uint16> numbers;
    for (const auto& [tag, value] : tags) {
      numbers.push_back(tag);
    }
    return numbers;
  }
  uint64 number(uint16 tag, std::size_t index = 0) const {
    const auto& [type, value] = tags.at(tag);
    const std::size_t width = type == shorts ? 2 : 4;
    uint64 result = 0;
    std::memcpy(&result, value.data() + index * width, width);
    return result;
  }
  std::string text(uint16 tag) const { return tags.at(tag).second; }
};

inline std::vector<ParsedPage> takeApart(const std::string& bytes) {
  const auto number = [&](std::size_t offset, std::size_t width) {
    uint64 result = 0;
    std::memcpy(&result, bytes.substr(offset, width).data(), width);
    return result;
  };
  EXPECT_EQ(bytes.substr(0, 4), std::string("II*\0", 4));
  std::vector<ParsedPage> pages;
  for (std::size_t at = number(4, 4); at != 0;) {
    ParsedPage page;
    const std::size_t entries = number(at, 2);
    for (std::size_t i = 0; i < entries; ++i) {
      const std::size_t entry = at + 2 + 12 * i;
      const auto type = static_cast<uint16>(number(entry + 2, 2));
      const std::size_t width = type == ascii ? 1 : type == shorts ? 2 : type == longs ? 4 : 8;
      const std::size_t size = number(entry + 4, 4) * width;
      const std::size_t value = size <= 4 ? entry + 8 : number(entry + 8, 4);
      page.tags[static_cast<uint16>(number(entry, 2))] = {type, bytes.substr(value, size)};
    }
    for (std::size_t i = 0; i < page.tags.at(273).second.size() / 4; ++i) {
      page.strips.push_back(bytes.substr(page.number(273, i), page.number(279, i)));
    }
    at = number(at + 2 + 12 * entries, 4);
    pages.push_back(page);
  }
  return pages;
}

/// The document that belongs into each image description, restated.
inline std::string metaText(const std::string& prim, const std::string& sec, const std::string& tert,
                            const std::string& escapedDescription) {
  const auto line = [](const std::string& name, const std::string& value) {
    return "\t<Information name=\"" + name + "\" value=\"" + value + "\" />\n";
  };
  return "<?xml version=\"1.0\"?>\n<MetaInformation>\n" + line("pixelSizePrim_mm", prim) +
         line("pixelSizeSec_mm", sec) + line("pixelSizeTert_mm", tert) + line("description", escapedDescription) +
         "</MetaInformation>\n";
}

/// Calls `body.template operator()<T>()` for each voxel type of the format.
template <class Body>
void forEachTiffType(const Body& body) {
  const auto one = [&body]<class T>() {
    const testing::ScopedTrace trace(__FILE__, __LINE__, Tavi::typeName<T>);
    body.template operator()<T>();
  };
  one.template operator()<uint8>();
  one.template operator()<uint16>();
  one.template operator()<uint32>();
}

template <class T>
std::string bytesOf(const std::vector<T>& values) {
  return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

using ReadParameter = TaviOperators::TiffVolumeReader::Parameter;
using WriteParameter = TaviOperators::TiffVolumeWriter::Parameter;

inline SmartPointer<ReadParameter> toRead(const std::string& file,
                                          const SmartPointer<IVolume>& output = SmartPointer<IVolume>()) {
  const auto parameter = makeParameter<ReadParameter>();
  parameter->inputFilename = file;
  parameter->outputVolume = output;
  return parameter;
}
inline SmartPointer<WriteParameter> toWrite(const std::string& file, const SmartPointer<IVolume>& input) {
  const auto parameter = makeParameter<WriteParameter>();
  parameter->inputFilename = file;
  parameter->inputVolume = input;
  return parameter;
}

inline const std::string typeReaderName = "NORV::TaviOperators::TiffVolumeTypeReader::Operator";
inline const std::string listReaderName = "NORV::TaviOperators::TiffImageInformationReader::Operator";

/// The voxel type of a file.
inline std::string typeOf(const std::string& file) {
  const auto parameter = makeParameter<TaviOperators::TiffVolumeTypeReader::Parameter>();
  parameter->inputFilename = file;
  createTyped(typeReaderName)->apply(parameter);
  return parameter->outputVoxelType.value();
}
/// The records of a file.
inline TaviOperators::TiffImageInformationListPtr listOf(const std::string& file) {
  const auto parameter = makeParameter<TaviOperators::TiffImageInformationReader::Parameter>();
  parameter->inputFilename = file;
  createTyped(listReaderName)->apply(parameter);
  return parameter->outputTiffImageInformationList.value();
}

template <class T>
SmartPointer<IOperator> typedReader() {
  return createTyped(typedIdentifier<T>("TiffVolumeReader"));
}
template <class T>
SmartPointer<IOperator> typedWriter() {
  return createTyped(typedIdentifier<T>("TiffVolumeWriter"));
}

template <class T>
std::vector<T> voxelsRead(const SmartPointer<ReadParameter>& parameter) {
  const VolumePtr<T> volume(parameter->outputVolume.value());
  EXPECT_TRUE(volume != nullptr);
  return volume != nullptr ? voxelsOf(volume) : std::vector<T>();
}

class TiffFiles : public testing::Test {
protected:
  std::string write(const std::string& bytes, const std::string& name = "volume.tif") const {
    writeFile(folder / name, bytes);
    return folder / name;
  }
  std::string write(const std::vector<TiffPage>& pages) const { return write(layOut(pages)); }

  // In memory where the system has a folder for that: some tests make thousands of files.
  const TemporaryDirectory folder{std::filesystem::is_directory("/dev/shm") ? "/dev/shm"
                                                                            : std::filesystem::temp_directory_path()};
};

inline constexpr const char* noVolume = "Images of TIFF file cannot be combined to a volume!";
inline const std::string inReader = "NORV::TaviOperators::TiffVolumeReader::Operator::apply";
inline const std::string inTypeReader = "NORV::TaviOperators::TiffVolumeTypeReader::Operator::apply";
inline const std::string inListReader = "NORV::TaviOperators::TiffImageInformationReader::Operator::apply";
inline const std::string inWriter = "NORV::TaviOperators::TiffVolumeWriter::Operator::apply";

/// Requires the failure of the type reader and of the typed reader for a file that is no volume.
inline void expectNoVolume(const std::string& file,
                           const std::source_location& place = std::source_location::current()) {
  expectFailure<Exceptions::InvalidData>([&] { typeOf(file); }, noVolume, inTypeReader, place);
  expectFailure<Exceptions::InvalidData>([&] { typedReader<uint8>()->apply(toRead(file)); }, noVolume, inReader, place);
}

}  // namespace NORV::Tests
