#pragma once

#include "support/ExpectFailure.hpp"
#include "support/Operators.hpp"
#include "support/TemporaryDirectory.hpp"
#include "support/Volumes.hpp"

#include <DLL/VtiReader.hpp>
#include <DLL/VtiWriter.hpp>
#include <VtiReader.hpp>
#include <VtiTypeReader.hpp>
#include <VtiWriter.hpp>

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

/// What the tests of the VTI operators share: the format restated with strings.
namespace NORV::Tests {

using Tavi::Dimension;
using Tavi::Triple;
using Tavi::Volume;
using Tavi::VolumePtr;
using Tavi::Persistence::Data;

inline std::string naiveBase64(const std::string& bytes) {
  const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    unsigned bits = 0;
    for (std::size_t j = 0; j < 3; ++j) {
      bits = bits << 8 | (i + j < bytes.size() ? static_cast<unsigned char>(bytes[i + j]) : 0u);
    }
    for (std::size_t j = 0; j < 4; ++j) {
      text += i + j <= bytes.size() ? alphabet[bits >> (18 - 6 * j) & 63u] : '=';
    }
  }
  return text;
}

/// The four bytes of a count.
inline std::string word(std::size_t value) {
  std::string bytes(4, '\0');
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[i] = static_cast<char>(value >> (8 * i) & 255u);
  }
  return bytes;
}

inline std::string deflated(const std::string& bytes, int level = Z_DEFAULT_COMPRESSION) {
  uLongf length = compressBound(bytes.size());
  std::string stream(length, '\0');
  EXPECT_EQ(compress2(reinterpret_cast<Bytef*>(stream.data()), &length, reinterpret_cast<const Bytef*>(bytes.data()),
                      bytes.size(), level),
            Z_OK);
  stream.resize(length);
  return stream;
}

template <class T>
std::string rawBytes(const std::vector<T>& voxels) {
  std::string bytes(voxels.size() * sizeof(T), '\0');
  if (!voxels.empty()) {
    std::memcpy(bytes.data(), voxels.data(), bytes.size());
  }
  return bytes;
}

inline std::string plainPayload(const std::string& bytes) { return naiveBase64(word(bytes.size()) + bytes); }

/// Blocks of `blockBytes` bytes and one of what is left.
inline std::string blockPayload(const std::string& bytes, std::size_t blockBytes) {
  std::string sizes, blocks;
  std::size_t count = 0;
  for (std::size_t i = 0; i < bytes.size(); i += blockBytes, ++count) {
    const std::string block = deflated(bytes.substr(i, blockBytes));
    sizes += word(block.size());
    blocks += block;
  }
  const std::size_t last = blockBytes == 0 ? 0 : bytes.size() % blockBytes;
  return naiveBase64(word(count) + word(blockBytes) + word(last) + sizes) + naiveBase64(blocks);
}

template <class T>
const char* vtiType() {
  const std::array<const char*, 2> names8{"Int8", "UInt8"}, names16{"Int16", "UInt16"}, names32{"Int32", "UInt32"};
  if constexpr (std::is_floating_point_v<T>) {
    return sizeof(T) == 4 ? "Float32" : "Float64";
  } else {
    const auto& names = sizeof(T) == 1 ? names8 : sizeof(T) == 2 ? names16 : names32;
    return names[std::is_unsigned_v<T> ? 1 : 0];
  }
}

/// A document in parts, each of which a test can replace. At first an image of 2 x 2 x 2 bytes, appended.
struct VtiDocumentText {
  std::string start = "<?xml version=\"1.0\"?>\n";
  std::string root = "type=\"ImageData\" version=\"0.1\" byte_order=\"LittleEndian\"";
  std::string image = "WholeExtent=\"0 1 0 1 0 1\" Origin=\"0 0 0\" Spacing=\"1 1 1\"";
  std::string piece = "Extent=\"0 1 0 1 0 1\"";
  std::string points = "Scalars=\"Volume\"";
  std::string array = "type=\"UInt8\" Name=\"Volume\" format=\"appended\" offset=\"0\"";
  std::string arrayText;
  std::string behindPiece;
  std::string section = "encoding=\"base64\"";
  std::string payload = "_" + plainPayload("abcdefgh");
  bool hasSection = true;

  static std::string range(const Extents& extents) {
    std::string text;
    for (const auto extent : extents) {
      text += (text.empty() ? "0 " : " 0 ") + std::to_string(static_cast<int64>(extent) - 1);
    }
    return text;
  }
  VtiDocumentText& extents(const Extents& all) {
    image = "WholeExtent=\"" + range(all) + "\" Origin=\"0 0 0\" Spacing=\"1 1 1\"";
    piece = "Extent=\"" + range(all) + "\"";
    return *this;
  }
  template <class T>
  VtiDocumentText& type() {
    array.replace(array.find("UInt8"), 5, vtiType<T>());
    return *this;
  }
  VtiDocumentText& compressed() {
    root += " compressor=\"vtkZLibDataCompressor\"";
    return *this;
  }
  /// The voxels inside the array.
  VtiDocumentText& inArray(const std::string& format, const std::string& text) {
    array.replace(array.find("appended\" offset=\"0\""), 20, format + "\"");
    arrayText = text;
    hasSection = false;
    return *this;
  }
  std::string text() const {
    return start + "<VTKFile " + root + ">\n<ImageData " + image + ">\n<Piece " + piece + ">\n<PointData " + points +
           ">\n<DataArray " + array + ">" + arrayText + "</DataArray>\n</PointData>\n<CellData/></Piece>" +
           behindPiece + "\n</ImageData>" +
           (hasSection ? "<AppendedData " + section + ">" + payload + "</AppendedData>" : "") + "\n</VTKFile>\n";
  }
};

/// The document as the writer makes it: `text` is that of the array, `appended` that of the section behind it.
inline std::string writtenDocument(const char* type, const Extents& extents, const std::string& format,
                                   bool isCompressed, const std::string& payload,
                                   const std::string& geometry = "Origin=\"0 0 0\" Spacing=\"0 0 0\"") {
  const std::string range = VtiDocumentText::range(extents);
  const bool isAppended = format == "appended";
  std::string text = "<?xml version=\"1.0\"?>\n<VTKFile type=\"ImageData\" version=\"0.1\" byte_order=\"LittleEndian\"";
  text += isCompressed ? " compressor=\"vtkZLibDataCompressor\">\n" : ">\n";
  text += "\t<ImageData WholeExtent=\"" + range + "\" " + geometry + ">\n\t\t<Piece Extent=\"" + range + "\">\n";
  text += "\t\t\t<PointData Scalars=\"Volume\">\n\t\t\t\t<DataArray type=\"" + std::string(type) +
          "\" Name=\"Volume\" NumberOfComponents=\"1\" format=\"" + format + "\"";
  text += isAppended ? " offset=\"0\" />\n" : ">" + payload + "</DataArray>\n";
  text += "\t\t\t</PointData>\n\t\t\t<CellData />\n\t\t</Piece>\n\t</ImageData>\n";
  text += isAppended ? "\t<AppendedData encoding=\"base64\">_" + payload + "</AppendedData>\n" : "";
  return text + "</VTKFile>\n";
}

class VtiFiles : public testing::Test {
protected:
  std::string write(const std::string& bytes, const std::string& name = "volume.vti") const {
    writeFile(folder / name, bytes);
    return folder / name;
  }

  const TemporaryDirectory folder;
};

inline SmartPointer<TaviOperators::VtiReader::Parameter> readRequest(
    const std::string& file, const SmartPointer<IVolume>& output = SmartPointer<IVolume>()) {
  const auto parameter = makeParameter<TaviOperators::VtiReader::Parameter>();
  parameter->inputFilename = file;
  parameter->outputVolume = output;
  return parameter;
}

inline SmartPointer<TaviOperators::VtiReader::Parameter> readVti(const std::string& file) {
  const auto parameter = readRequest(file);
  TaviOperators::DLL::VtiReader::Operator().apply(parameter);
  return parameter;
}

template <class T>
std::vector<T> voxelsRead(const SmartPointer<TaviOperators::VtiReader::Parameter>& parameter) {
  const VolumePtr<T> volume(parameter->outputVolume.value());
  EXPECT_NE(volume, nullptr);
  return volume != nullptr ? voxelsOf(SmartPointer<Volume<T>>(volume)) : std::vector<T>();
}

inline SmartPointer<TaviOperators::VtiWriter::Parameter> writeRequest(const std::string& file,
                                                                      const SmartPointer<IVolume>& input,
                                                                      const std::string& format = "appended",
                                                                      bool isCompressed = false) {
  const auto parameter = makeParameter<TaviOperators::VtiWriter::Parameter>();
  parameter->inputFilename = file;
  parameter->inputVolume = input;
  parameter->inputFormat = format;
  parameter->inputCompression = std::string(isCompressed ? "vtkZLibDataCompressor" : "");
  return parameter;
}

inline void writeVti(const SmartPointer<TaviOperators::VtiWriter::Parameter>& parameter) {
  TaviOperators::DLL::VtiWriter::Operator().apply(parameter);
}

/// The forms of a file that hold every voxel exactly.
struct VtiForm {
  std::string format;
  bool isCompressed;
};
inline const std::vector<VtiForm>& exactForms() {
  static const std::vector<VtiForm> forms{{"appended", false}, {"appended", true}, {"binary", false}, {"binary", true}};
  return forms;
}

}  // namespace NORV::Tests
