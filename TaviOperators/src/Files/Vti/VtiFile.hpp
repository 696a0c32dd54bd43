#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Types.hpp>

#include <Files/FileName.hpp>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

/// Opening files for the VTI operators, whose failures name the operator.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Throws InvalidParameterObjectException for a name that is no file name.
inline const std::string& requireFileName(const Names& names, const std::string& name) {
  require(!name.empty(), names.inApply(" input filename is empty"));
  require(isValidPath(name), names.inApply(" input filename is invalid"));
  return name;
}

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

/// Null for what does not open, and for directories, pipes and sockets: a directory opens to be read, and a pipe would
/// wait for its other end.
inline FileHandle openFile(const std::string& name, const char* mode) {
  std::error_code ignored;
  const auto status = std::filesystem::status(name, ignored);
  if (std::filesystem::is_directory(status) || std::filesystem::is_fifo(status) || std::filesystem::is_socket(status)) {
    return nullptr;
  }
  return FileHandle(std::fopen(name.c_str(), mode));
}

/// The size in bytes; 0 where the file has none, as a device. The position is the beginning afterwards.
inline SizeType sizeOf(std::FILE* file) {
  const auto end = fseeko(file, 0, SEEK_END) == 0 ? ftello(file) : 0;
  std::rewind(file);
  return end > 0 ? static_cast<SizeType>(end) : 0;
}

/// A failure with the content of a file.
[[noreturn]] inline void failBadFile(const char* source, const char* words) {
  throw Exceptions::BadFile(source, "%s", words);
}

}  // namespace NORV::TaviOperators::Impl
