#pragma once

#include <Impl/Frame/Names.hpp>
#include <Tavi/IOperator.hpp>
#include <Tavi/Types.hpp>

#include <Files/FileName.hpp>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The words of the name checks, which all file operators share.
inline const char* nameFailure(const std::string& name) {
  return name.empty() ? " input filename is empty" : !isValidPath(name) ? " input filename is invalid" : nullptr;
}

/// The name checks of the operators that report a bad file name as a bad parameter, under their fixed text.
inline const std::string& checkedName(const std::string& name, const Names& names) {
  if (const char* const words = nameFailure(name)) {
    throw Tavi::IOperator::InvalidParameterObjectException(names.inApply(words));
  }
  return name;
}

/// A file operator's failures: its own name, followed by the words.
class FileErrors {
public:
  explicit FileErrors(std::string name) : _name(std::move(name)) {}

  [[noreturn]] void fail(const char* words) const { throw std::runtime_error(_name + words); }
  [[noreturn]] void refuse(const char* words) const { throw std::invalid_argument(_name + words); }
  void require(bool condition, const char* words) const {
    if (!condition) {
      fail(words);
    }
  }

  /// Throws `std::invalid_argument` for a name that is no file name.
  const std::string& checkedName(const std::string& name) const {
    if (const char* const words = nameFailure(name)) {
      refuse(words);
    }
    return name;
  }

private:
  std::string _name;
};

/// The bytes of a volume file, read or written in order and in whichever encoding; closed when it goes. A transfer of
/// fewer bytes than asked for throws.
class ByteStream {
public:
  enum class Mode { read, write };

  ByteStream() = default;
  ByteStream(const ByteStream&) = delete;
  ByteStream& operator=(const ByteStream&) = delete;
  virtual ~ByteStream() = default;

  virtual void read(void* bytes, SizeType count, const char* otherwise) = 0;
  virtual void write(const void* bytes, SizeType count, const char* otherwise) = 0;
  /// Closes after writing: what was buffered may fail now, and some file systems tell only now that a write has failed.
  virtual void close(const char* otherwise) = 0;

  /// Fails as reading `count` bytes would, if the file is too small to hold them in any encoding. Called before memory
  /// is asked for.
  virtual void requireRoomFor([[maybe_unused]] SizeType count, [[maybe_unused]] const char* otherwise) {}
  /// Compares the checksum, if it stands directly behind the last byte read.
  virtual void checkEnd([[maybe_unused]] const char* otherwise) {}
};

/// Whether a name may be opened. A directory opens to be read, and a pipe would wait for its other end: to open, or to
/// take what is written.
inline bool isOpenable(const std::string& name) {
  std::error_code ignored;
  const auto status = std::filesystem::status(name, ignored);
  return !std::filesystem::is_directory(status) && !std::filesystem::is_fifo(status) &&
         !std::filesystem::is_socket(status);
}

/// The bytes of a file on disk; 0 if it has no size, as a device.
inline SizeType storedBytes(const std::string& name) {
  std::error_code failure;
  const auto size = std::filesystem::file_size(name, failure);
  return failure ? 0 : size;
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

/// Opens a file to be read, or creates or truncates it; null where that fails. Directories, pipes and sockets do not
/// open.
inline FileHandle openFile(const std::string& name, ByteStream::Mode mode) {
  return FileHandle(isOpenable(name) ? std::fopen(name.c_str(), mode == ByteStream::Mode::read ? "rb" : "w+b")
                                     : nullptr);
}

/// A plain file of any size. It has no buffer of its own: each read or write is one call for the bytes of the caller.
class File final : public ByteStream {
public:
  File(const std::string& name, Mode mode, const FileErrors& errors) : _errors(errors), _file(openFile(name, mode)) {
    _errors.require(_file != nullptr, " failed to open file");
    std::setvbuf(_file.get(), nullptr, _IONBF, 0);
  }

  /// The size in bytes; 0 where the file has none, as a device. The position stays.
  SizeType size() {
    const auto position = ftello(_file.get());
    if (position < 0 || fseeko(_file.get(), 0, SEEK_END) != 0) {
      return 0;
    }
    const auto end = ftello(_file.get());
    fseeko(_file.get(), position, SEEK_SET);
    return end > 0 ? static_cast<SizeType>(end) : 0;
  }

  void read(void* bytes, SizeType count, const char* otherwise) override {
    _errors.require(std::fread(bytes, 1, count, _file.get()) == count, otherwise);
  }
  void write(const void* bytes, SizeType count, const char* otherwise) override {
    _errors.require(std::fwrite(bytes, 1, count, _file.get()) == count, otherwise);
  }
  void close(const char* otherwise) override { _errors.require(std::fclose(_file.release()) == 0, otherwise); }

private:
  const FileErrors& _errors;
  FileHandle _file;
};

}  // namespace NORV::TaviOperators::Impl
