#include <Common.hpp>
#include <MemoryFile.hpp>

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace NORV::TaviTool::Report {

MemoryFile::MemoryFile() : _file(::memfd_create("tavi-report", MFD_CLOEXEC)) {
  if (_file < 0) {
    throw Failure("a picture of the report cannot be made", std::strerror(errno));
  }
}

MemoryFile::~MemoryFile() { ::close(_file); }

std::string MemoryFile::name() const { return "/proc/self/fd/" + std::to_string(_file); }

std::string MemoryFile::content() const {
  std::string bytes;
  std::array<char, 65536> buffer{};
  for (off_t at = 0;;) {
    const ssize_t count = ::pread(_file, buffer.data(), buffer.size(), at);
    if (count < 0) {
      throw Failure("a picture of the report cannot be read", std::strerror(errno));
    }
    if (count == 0) {
      return bytes;
    }
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
    at += count;
  }
}

}  // namespace NORV::TaviTool::Report
