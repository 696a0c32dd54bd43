#pragma once

#include <Files/FileStream.hpp>
#include <zlib.h>

namespace NORV::TaviOperators::Impl {

/// A file of gzip members, compressed at zlib's default level. A file without the gzip mark is read as it is.
class GzipFile final : public ByteStream {
public:
  GzipFile(const std::string& name, Mode mode, const FileErrors& errors)
      : _errors(errors),
        _storedBytes(mode == Mode::read ? storedBytes(name) : 0),
        _file(isOpenable(name) ? gzopen(name.c_str(), mode == Mode::read ? "r" : "w") : nullptr) {
    _errors.require(_file != nullptr, " failed to open file");
  }
  ~GzipFile() override {
    if (_file != nullptr) {
      gzclose(_file);
    }
  }

  void read(void* bytes, SizeType count, const char* otherwise) override {
    _errors.require(gzfread(bytes, 1, count, _file) == count, otherwise);
  }
  void write(const void* bytes, SizeType count, const char* otherwise) override {
    _errors.require(gzfwrite(bytes, 1, count, _file) == count, otherwise);
  }
  void close(const char* otherwise) override {
    _errors.require(gzclose(std::exchange(_file, nullptr)) == Z_OK, otherwise);
  }

  void requireRoomFor(SizeType count, const char* otherwise) override {
    // The shortest code of the longest match takes two bits for 258 bytes.
    const SizeType ratio = gzdirect(_file) != 0 ? 1 : 4 * 258;
    _errors.require(_storedBytes == 0 || count / ratio <= _storedBytes, otherwise);
  }
  void checkEnd(const char* otherwise) override {
    char next = 0;
    int failure = Z_OK;
    if (gzread(_file, &next, 1) < 0) {
      gzerror(_file, &failure);
    }
    _errors.require(failure != Z_DATA_ERROR, otherwise);
  }

private:
  const FileErrors& _errors;
  SizeType _storedBytes;
  gzFile _file;
};

}  // namespace NORV::TaviOperators::Impl
