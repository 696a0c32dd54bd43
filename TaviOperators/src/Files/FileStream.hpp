#pragma once

#include <Tavi/Types.hpp>

#include <Files/FileName.hpp>

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// A file operator's failures: its own name, followed by the words.
class FileWords {
public:
  explicit FileWords(std::string name) : _name(std::move(name)) {}

  [[noreturn]] void fail(const char* words) const { throw std::runtime_error(_name + words); }
  [[noreturn]] void refuse(const char* words) const { throw std::invalid_argument(_name + words); }
  void require(bool condition, const char* words) const {
    if (!condition) {
      fail(words);
    }
  }

  /// Throws `std::invalid_argument` for a name that is no file name.
  const std::string& checkedName(const std::string& name) const {
    if (name.empty()) {
      refuse(" input filename is empty");
    }
    if (!isValidPath(name)) {
      refuse(" input filename is invalid");
    }
    return name;
  }

private:
  std::string _name;
};

/// A plain file of any size, closed when it goes; other streams offer the same `read`, `write` and `close`. It has no
/// buffer of its own: each read or write is one call for the bytes of the caller. A transfer of fewer bytes than asked
/// for fails with the words given. Directories, pipes and sockets do not open.
class File {
public:
  enum class Mode { read, write };

  File(const std::string& name, Mode mode, const FileWords& words) : _words(words) {
    // A directory opens to be read, and a pipe would wait for its other end: to open, or to take what is written.
    std::error_code ignored;
    const auto status = std::filesystem::status(name, ignored);
    if (!std::filesystem::is_directory(status) && !std::filesystem::is_fifo(status) &&
        !std::filesystem::is_socket(status)) {
      _file = std::fopen(name.c_str(), mode == Mode::read ? "rb" : "w+b");
    }
    _words.require(_file != nullptr, " failed to open file");
    std::setvbuf(_file, nullptr, _IONBF, 0);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (_file != nullptr) {
      std::fclose(_file);
    }
  }

  /// The size in bytes; 0 where the file has none, as a device. The position stays.
  SizeType size() {
    const auto position = ftello(_file);
    if (position < 0 || fseeko(_file, 0, SEEK_END) != 0) {
      return 0;
    }
    const auto end = ftello(_file);
    fseeko(_file, position, SEEK_SET);
    return end > 0 ? static_cast<SizeType>(end) : 0;
  }

  void read(void* bytes, SizeType count, const char* otherwise) {
    _words.require(std::fread(bytes, 1, count, _file) == count, otherwise);
  }
  void write(const void* bytes, SizeType count, const char* otherwise) {
    _words.require(std::fwrite(bytes, 1, count, _file) == count, otherwise);
  }
  /// Closes after writing: some file systems tell only now that a write has failed.
  void close(const char* otherwise) { _words.require(std::fclose(std::exchange(_file, nullptr)) == 0, otherwise); }

private:
  const FileWords& _words;
  std::FILE* _file = nullptr;
};

}  // namespace NORV::TaviOperators::Impl
