#include <Common.hpp>
#include <FileNames.hpp>
#include <TargetFile.hpp>
#include <VolumeFiles.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace NORV::TaviTool {
namespace {

namespace fs = std::filesystem;

fs::path folderOf(const std::string& file) {
  const fs::path folder = fs::path(file).parent_path();
  return folder.empty() ? fs::path(".") : folder;
}

/// "volume.rek.gz" as "volume.partial.rek.gz": the end of the name decides how it is written.
std::string partialName(const std::string& target, int attempt) {
  std::string extension = volumeExtensionOf(target);
  if (extension.empty()) {
    extension = fs::path(target).extension().string();
  }
  return target.substr(0, target.size() - extension.size()) + ".partial" +
         (attempt > 0 ? std::to_string(attempt) : std::string()) + extension;
}

/// Follows symbolic links of the file itself; a name that is no link stays as it was written.
std::string followLinks(const std::string& name) {
  constexpr int mostLinks = 40;  // as the kernel follows
  fs::path path = name;
  std::error_code error;
  for (int i = 0; i < mostLinks && fs::is_symlink(path, error); ++i) {
    const fs::path next = fs::read_symlink(path, error);
    if (error) {
      break;
    }
    path = next.is_absolute() ? next : path.parent_path() / next;
  }
  return path.string();
}

}  // namespace

std::string finalTarget(const std::string& name) {
  const std::string target = followLinks(name);
  std::error_code error;
  const fs::path absolute = fs::weakly_canonical(target, error);
  return error ? target : absolute.string();
}

void requireCreatable(const std::string& name) {
  const std::string target = followLinks(name);
  struct stat status {};
  if (::stat(target.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) {
      throw Failure(name + ": cannot be written", "it is a folder");
    }
    if (::access(target.c_str(), W_OK) != 0) {
      throw Failure(name + ": cannot be written", std::strerror(errno));
    }
    return;
  }
  if (::access(folderOf(target).c_str(), W_OK | X_OK) != 0) {
    throw Failure(name + ": cannot be written", folderOf(target).string() + ": " + std::strerror(errno));
  }
}

TargetFile::TargetFile(const std::string& name, Interrupts interrupts) : _given(name), _target(followLinks(name)) {
  struct stat status {};
  const bool exists = ::lstat(_target.c_str(), &status) == 0;
  // A name that the library refuses is left for it to refuse.
  if ((exists && !S_ISREG(status.st_mode)) || !whyNameIsRefused(_given).empty() || !whyNameIsRefused(_target).empty()) {
    return;
  }
  if (exists && ::access(_target.c_str(), W_OK) != 0) {
    return;
  }
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::string partial = partialName(_target, attempt);
    const int file = ::open(partial.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file >= 0) {
      if (exists) {
        static_cast<void>(::fchmod(file, status.st_mode & 07777));  // at worst the usual mode
      }
      ::close(file);
      _partial = partial;
      if (interrupts == Interrupts::handled) {
        _guard.emplace(partial);
      }
      return;
    }
    if (errno != EEXIST) {
      return;
    }
  }
}

TargetFile::~TargetFile() {
  if (!_partial.empty()) {
    ::unlink(_partial.c_str());
  }
}

void TargetFile::complete() {
  if (_partial.empty()) {
    return;
  }
  if (::rename(_partial.c_str(), _target.c_str()) != 0) {
    throw Failure(_given + ": cannot be replaced", std::strerror(errno));
  }
  _partial.clear();
}

}  // namespace NORV::TaviTool
