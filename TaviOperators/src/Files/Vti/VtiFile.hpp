#pragma once

#include <Tavi/Exceptions.hpp>
#include <Tavi/Types.hpp>

#include <Files/FileStream.hpp>

#include <cstdio>

/// What the VTI operators need of a file beyond reading and writing it.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

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
