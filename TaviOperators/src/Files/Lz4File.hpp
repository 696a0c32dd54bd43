#pragma once

#include <Files/FileStream.hpp>
#include <lz4frame.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace NORV::TaviOperators::Impl {

/// A file of LZ4 frames, one after the other. Each call of `write` makes one frame of independent blocks of 4 MiB with
/// a checksum of its content; `read` takes any frames, and cares for no border between them. Failures are standard
/// exceptions with the texts of this class or of the LZ4 library.
class Lz4File {
public:
  using Mode = ByteStream::Mode;

  explicit Lz4File(int compressionLevel = 1) : _compressionLevel(compressionLevel) {}

  void open(const std::string& path, Mode mode) {
    if (mode != Mode::read && mode != Mode::write) {
      throw std::invalid_argument("Mode not supported");
    }
    if (!tryOpen(path, mode)) {
      throw std::runtime_error(mode == Mode::read ? "Could not open file for reading"
                                                  : "Could not open file for writing");
    }
  }
  /// As `open`, but returns whether the file could be opened.
  bool tryOpen(const std::string& path, Mode mode) {
    _file.reset();
    _begin = _end = 0;
    _mode = mode;
    FileHandle file = openFile(path, mode);
    if (file == nullptr) {
      return false;
    }
    if (mode == Mode::read) {
      LZ4F_dctx* context = nullptr;
      checked(LZ4F_createDecompressionContext(&context, LZ4F_VERSION));
      _input.reset(context);
    } else {
      std::setvbuf(file.get(), nullptr, _IONBF, 0);  // whole frames are written at once
    }
    _file = std::move(file);
    return true;
  }
  /// Closes after writing.
  void close() {
    if (_file != nullptr && std::fclose(_file.release()) != 0) {
      throw std::runtime_error("Could not write to file");
    }
  }

  void read(void* data, SizeType size) {
    requireBytes(data, size);
    requireOpen(Mode::read, "File is not opened for reading");
    auto* bytes = static_cast<char*>(data);
    while (size > 0) {
      if (_begin == _end) {
        beginFrame();
      }
      const SizeType produced = decompress(bytes, size);
      bytes += produced;
      size -= produced;
    }
  }

  void write(const void* data, SizeType size) {
    requireBytes(data, size);
    requireOpen(Mode::write, "File is not opened for writing");
    const LZ4F_preferences_t format = preferences();
    reserve(LZ4F_compressFrameBound(std::min(size, blockBytes), &format));
    LZ4F_cctx* created = nullptr;
    checked(LZ4F_createCompressionContext(&created, LZ4F_VERSION));
    const std::unique_ptr<LZ4F_cctx, Release> context(created);

    const auto* bytes = static_cast<const char*>(data);
    _end = checked(LZ4F_compressBegin(created, _buffer.get(), _capacity, &format));
    while (size > 0) {
      const SizeType block = std::min(size, blockBytes);
      _end += checked(LZ4F_compressUpdate(created, _buffer.get() + _end, _capacity - _end, bytes, block, nullptr));
      bytes += block;
      size -= block;
      if (size > 0) {
        flush();
      }
    }
    _end += checked(LZ4F_compressEnd(created, _buffer.get() + _end, _capacity - _end, nullptr));
    flush();
  }

  /// Compares the checksum of the frame, if it is all that is left of it.
  void checkEnd() {
    constexpr SizeType checksumBytes = 4;
    if (_end - _begin == checksumBytes) {
      char none = 0;
      decompress(&none, 0);
    }
  }

  /// Throws unless an LZ4 frame begins here.
  static void requireFrame(const void* frame) {
    if (frame == nullptr) {
      throw std::runtime_error("Frame is NULL");
    }
    constexpr unsigned char magic[frameMark] = {0x04, 0x22, 0x4D, 0x18};
    if (std::memcmp(frame, magic, frameMark) != 0) {
      throw std::runtime_error("File has not the LZ4 frame format");
    }
  }

private:
  struct Release {
    void operator()(LZ4F_dctx* context) const { LZ4F_freeDecompressionContext(context); }
    void operator()(LZ4F_cctx* context) const { LZ4F_freeCompressionContext(context); }
  };

  static void requireBytes(const void* data, SizeType size) {
    if (data == nullptr) {
      throw std::invalid_argument("data_ is NULL");
    }
    if (size == 0) {
      throw std::invalid_argument("size_ equals 0");
    }
  }
  void requireOpen(Mode mode, const char* otherwise) const {
    if (_file == nullptr || _mode != mode) {
      throw std::runtime_error(otherwise);
    }
  }
  static std::size_t checked(std::size_t result) {
    if (LZ4F_isError(result) != 0) {
      throw std::runtime_error(LZ4F_getErrorName(result));
    }
    return result;
  }

  LZ4F_preferences_t preferences() const {
    LZ4F_preferences_t format{};
    format.frameInfo.blockSizeID = LZ4F_max4MB;
    format.frameInfo.blockMode = LZ4F_blockIndependent;
    format.frameInfo.contentChecksumFlag = LZ4F_contentChecksumEnabled;
    format.frameInfo.frameType = LZ4F_frame;
    format.compressionLevel = _compressionLevel;
    format.autoFlush = 1;
    return format;
  }

  /// Makes room for `bytes`; what the buffer held is lost.
  void reserve(std::size_t bytes) {
    if (bytes > _capacity) {
      _buffer.reset();
      _capacity = 0;
      _buffer = std::make_unique_for_overwrite<char[]>(bytes);
      _capacity = bytes;
    }
  }

  /// Reads exactly `count` compressed bytes into the buffer.
  void fill(std::size_t count, const char* otherwise) {
    _begin = _end = 0;
    reserve(count);
    if (std::fread(_buffer.get(), 1, count, _file.get()) != count) {
      throw std::runtime_error(otherwise);
    }
    _end = count;
  }
  void beginFrame() {
    LZ4F_resetDecompressionContext(_input.get());
    fill(frameMark, "Could not read magic bytes from file");
    try {
      requireFrame(_buffer.get());
    } catch (...) {
      _begin = _end = 0;
      throw;
    }
  }
  /// Decodes the buffered bytes and reads those that the decoder asks for next. They never reach beyond the frame.
  SizeType decompress(char* bytes, SizeType size) {
    std::size_t produced = size, consumed = _end - _begin;
    const std::size_t wanted =
        LZ4F_decompress(_input.get(), bytes, &produced, _buffer.get() + _begin, &consumed, nullptr);
    if (LZ4F_isError(wanted) != 0 || wanted == 0) {
      _begin = _end = 0;
      checked(wanted);
      return produced;
    }
    _begin += consumed;
    if (_begin == _end) {
      fill(wanted, "Could not read from file");
    }
    return produced;
  }

  void flush() {
    const std::size_t count = std::exchange(_end, 0);
    if (std::fwrite(_buffer.get(), 1, count, _file.get()) != count) {
      throw std::runtime_error("Could not write to file");
    }
  }

  static constexpr SizeType blockBytes = SizeType{4} << 20;
  static constexpr std::size_t frameMark = 4;

  int _compressionLevel;
  Mode _mode = Mode::read;
  FileHandle _file;
  std::unique_ptr<LZ4F_dctx, Release> _input;
  std::unique_ptr<char[]> _buffer;  // compressed bytes: those to be decoded, or those to be written
  std::size_t _capacity = 0, _begin = 0, _end = 0;
};

/// An Lz4File as a stream. It opens with the operator's failure; all other failures are its own.
class Lz4Stream final : public ByteStream {
public:
  Lz4Stream(const std::string& name, Mode mode, const FileErrors& errors)
      : _storedBytes(mode == Mode::read ? storedBytes(name) : 0) {
    errors.require(_file.tryOpen(name, mode), " failed to open file");
  }

  void read(void* bytes, SizeType count, const char*) override { _file.read(bytes, count); }
  void write(const void* bytes, SizeType count, const char*) override { _file.write(bytes, count); }
  void close(const char*) override { _file.close(); }

  void requireRoomFor(SizeType count, const char* otherwise) override {
    constexpr SizeType ratio = 255;  // bytes of output that one further length byte adds at most
    if (_storedBytes == 0 || count / ratio <= _storedBytes) {
      return;
    }
    // Reads to where the frames end, so that the failure is the one that a read of all voxels ends with.
    const auto block = std::make_unique_for_overwrite<char[]>(discardedBytes);
    for (SizeType left = count; left > 0; left -= std::min(left, discardedBytes)) {
      read(block.get(), std::min(left, discardedBytes), otherwise);
    }
  }
  void checkEnd(const char*) override { _file.checkEnd(); }

private:
  static constexpr SizeType discardedBytes = SizeType{1} << 16;

  SizeType _storedBytes;
  Lz4File _file;
};

}  // namespace NORV::TaviOperators::Impl
