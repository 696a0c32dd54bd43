#pragma once

#include "RekFiles.hpp"
#include "support/TemporaryDirectory.hpp"

#include <DLL/RekGzReader.hpp>
#include <DLL/RekGzWriter.hpp>
#include <DLL/RekLz4Reader.hpp>
#include <DLL/RekLz4Writer.hpp>

#include <gtest/gtest.h>
#include <lz4frame.h>
#include <zlib.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

/// What the tests of the compressed forms of REK share. The bytes are packed and unpacked by the libraries directly.
namespace NORV::Tests {

inline std::string packGzip(const std::string& content, int level = Z_DEFAULT_COMPRESSION) {
  z_stream stream{};
  if (deflateInit2(&stream, level, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("zlib is not there");
  }
  std::string packed(deflateBound(&stream, content.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
  stream.avail_in = static_cast<uInt>(content.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return packed;
}

/// What one gzip member holds, as far as it goes.
inline std::string unpackGzip(const std::string& packed) {
  z_stream stream{};
  if (inflateInit2(&stream, 15 + 16) != Z_OK) {
    throw std::runtime_error("zlib is not there");
  }
  std::string content, chunk(1 << 16, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  int status = Z_OK;
  while (status == Z_OK) {
    stream.next_out = reinterpret_cast<Bytef*>(chunk.data());
    stream.avail_out = static_cast<uInt>(chunk.size());
    status = inflate(&stream, Z_NO_FLUSH);
    content.append(chunk, 0, chunk.size() - stream.avail_out);
  }
  inflateEnd(&stream);
  return content;
}

inline LZ4F_preferences_t lz4Format() {
  LZ4F_preferences_t format{};
  format.frameInfo.blockSizeID = LZ4F_max4MB;
  format.frameInfo.blockMode = LZ4F_blockIndependent;
  format.frameInfo.contentChecksumFlag = LZ4F_contentChecksumEnabled;
  format.compressionLevel = 1;
  format.autoFlush = 1;
  return format;
}

/// One frame.
inline std::string packLz4(const std::string& content, const LZ4F_preferences_t& format = lz4Format()) {
  std::string packed(LZ4F_compressFrameBound(content.size(), &format), '\0');
  const std::size_t size = LZ4F_compressFrame(packed.data(), packed.size(), content.data(), content.size(), &format);
  EXPECT_FALSE(LZ4F_isError(size)) << LZ4F_getErrorName(size);
  packed.resize(size);
  return packed;
}

/// One frame of independent blocks of 4 MiB, the last one shorter.
inline std::string packLz4ByBlocks(const std::string& content) {
  const LZ4F_preferences_t format = lz4Format();
  constexpr std::size_t block = 0x400000;
  std::string piece(LZ4F_compressFrameBound(block, nullptr), '\0'), frame;
  LZ4F_cctx* context = nullptr;
  LZ4F_createCompressionContext(&context, LZ4F_VERSION);
  frame.append(piece, 0, LZ4F_compressBegin(context, piece.data(), piece.size(), &format));
  for (std::size_t begin = 0; begin < content.size(); begin += block) {
    frame.append(piece, 0,
                 LZ4F_compressUpdate(context, piece.data(), piece.size(), content.data() + begin,
                                     std::min(block, content.size() - begin), nullptr));
  }
  frame.append(piece, 0, LZ4F_compressEnd(context, piece.data(), piece.size(), nullptr));
  LZ4F_freeCompressionContext(context);
  return frame;
}

/// What a row of frames holds, as far as they go.
inline std::string unpackLz4(const std::string& packed) {
  LZ4F_dctx* context = nullptr;
  LZ4F_createDecompressionContext(&context, LZ4F_VERSION);
  std::string content, chunk(1 << 16, '\0');
  for (std::size_t begin = 0; begin < packed.size();) {
    std::size_t produced = chunk.size(), consumed = packed.size() - begin;
    const std::size_t result =
        LZ4F_decompress(context, chunk.data(), &produced, packed.data() + begin, &consumed, nullptr);
    if (LZ4F_isError(result) || (produced == 0 && consumed == 0)) {
      break;
    }
    content.append(chunk, 0, produced);
    begin += consumed;
  }
  LZ4F_freeDecompressionContext(context);
  return content;
}

/// One compressed form, by name.
struct CompressedForm {
  std::string name;       // of the operators, without Reader and Writer
  std::string extension;  // that files of the form usually have
  std::function<SmartPointer<IOperator>()> readerFrame, writerFrame;
  std::function<std::string(const std::string&)> pack, unpack;
  std::string pastEnd;  // whole failure text of the end of the content, or what follows the operator's name

  std::string reader(const std::string& voxels) const {
    return "NORV::TaviOperators::" + name + "Reader::Operator< " + voxels + " >";
  }
  std::string writer(const std::string& voxels) const {
    return "NORV::TaviOperators::" + name + "Writer::Operator< " + voxels + " >";
  }
  std::string typeReader() const { return "NORV::TaviOperators::" + name + "TypeReader::Operator"; }
  /// The failure of a reader that finds no more content, where `words` are those of the plain form.
  std::string endIn(const std::string& op, const std::string& words) const {
    return pastEnd.empty() ? op + words : pastEnd;
  }

  SmartPointer<IComposite> parameter(const std::string& role) const {
    return Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::" + name + role + "::Parameter");
  }
  SmartPointer<IComposite> reading(const std::string& file) const {
    const auto made = parameter("Reader");
    made->setValue("inputFilename", SmartPointer<IComposite>(new Data<std::string>(file)));
    return made;
  }
  SmartPointer<IComposite> reading(const std::string& file, const SmartPointer<IVolume>& output) const {
    const auto made = reading(file);
    made->setValue("outputVolume", SmartPointer<IComposite>(output));
    return made;
  }
  SmartPointer<IComposite> looking(const std::string& file) const {
    const auto made = parameter("TypeReader");
    made->setValue("inputFilename", SmartPointer<IComposite>(new Data<std::string>(file)));
    return made;
  }
  SmartPointer<IComposite> writing(const std::string& file, const SmartPointer<IVolume>& input) const {
    const auto made = parameter("Writer");
    made->setValue("inputFilename", SmartPointer<IComposite>(new Data<std::string>(file)));
    if (input != nullptr) {
      made->setValue("inputVolume", SmartPointer<IComposite>(input));
    }
    return made;
  }
};

inline SmartPointer<IVolume> volumeIn(const SmartPointer<IComposite>& parameter) {
  return SmartPointer<IVolume>(parameter->getValue("outputVolume"));
}

inline const CompressedForm gzipForm{
    "RekGz",
    "gz",
    [] { return SmartPointer<IOperator>(new TaviOperators::DLL::RekGzReader::Operator); },
    [] { return SmartPointer<IOperator>(new TaviOperators::DLL::RekGzWriter::Operator); },
    [](const std::string& content) { return packGzip(content); },
    unpackGzip,
    ""};
inline const CompressedForm lz4Form{
    "RekLz4",
    "lz4",
    [] { return SmartPointer<IOperator>(new TaviOperators::DLL::RekLz4Reader::Operator); },
    [] { return SmartPointer<IOperator>(new TaviOperators::DLL::RekLz4Writer::Operator); },
    [](const std::string& content) { return packLz4(content); },
    unpackLz4,
    "Could not read magic bytes from file"};

/// Runs a test for both forms.
class CompressedRek : public testing::TestWithParam<const CompressedForm*> {
protected:
  const CompressedForm& form() const { return *GetParam(); }
  std::string write(const std::string& bytes, const std::string& name = "volume.rek.packed") const {
    writeFile(folder / name, bytes);
    return folder / name;
  }
  std::string pack(const std::string& content) const { return write(form().pack(content)); }

  const TemporaryDirectory folder;
};

inline std::string nameOf(const testing::TestParamInfo<const CompressedForm*>& info) { return info.param->name; }

/// Whether a command is there; tests that need it skip otherwise.
inline bool hasCommand(const std::string& command) {
  return std::system(("command -v " + command + " >/dev/null 2>&1").c_str()) == 0;
}
inline void runCommand(const std::string& command) { EXPECT_EQ(std::system(command.c_str()), 0) << command; }

}  // namespace NORV::Tests
