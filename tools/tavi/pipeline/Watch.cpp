#include <VolumeFiles.hpp>
#include <Watch.hpp>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

namespace NORV::TaviTool {
namespace {

bool isCandidate(const std::string& name) {
  return !name.starts_with('.') && !volumeExtensionOf(name).empty() && name.find(".partial") == std::string::npos;
}

/// Whether a process has the file open for writing: the kernel refuses a read lease then. False on file systems without
/// leases.
bool isOpenForWriting(const std::string& file) {
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) {
    return false;
  }
  const bool isRefused = ::fcntl(descriptor, F_SETLEASE, F_RDLCK) != 0 && errno == EAGAIN;
  if (!isRefused) {
    ::fcntl(descriptor, F_SETLEASE, F_UNLCK);
  }
  ::close(descriptor);
  return isRefused;
}

}  // namespace

Watch::Watch(std::string folder, bool existing, double interval) : _folder(std::move(folder)), _interval(interval) {
  // The kernel sends this signal when a writer opens the file during the lease; its default ends the process.
  std::signal(SIGIO, SIG_IGN);
  for (const auto& [name, signature] : look()) {
    _seen[name] = {signature, !existing};
  }
}

std::map<std::string, Watch::Signature> Watch::look() const {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir(_folder.c_str()), &::closedir);
  if (folder == nullptr) {
    throw Failure(_folder + ": the folder cannot be read", std::strerror(errno));
  }
  std::map<std::string, Signature> files;
  while (const dirent* entry = ::readdir(folder.get())) {
    const std::string name = entry->d_name;
    struct stat status {};
    if (isCandidate(name) && ::stat((_folder + "/" + name).c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
      files[name] = {status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
    }
  }
  return files;
}

/// The oldest file that is as it was at the last look; empty if there is none.
std::string Watch::arrived() {
  const auto files = look();
  std::erase_if(_seen, [&](const auto& seen) { return !files.contains(seen.first); });
  std::vector<std::pair<Signature, std::string>> ready;
  for (const auto& [name, signature] : files) {
    const auto [seen, isNew] = _seen.try_emplace(name, Seen{signature, false});
    if (!isNew && seen->second.signature == signature && !seen->second.isDone) {
      ready.emplace_back(signature, name);
    } else if (seen->second.signature != signature) {
      seen->second = {signature, false};
    }
  }
  const auto age = [](const auto& file) {
    return std::make_tuple(std::get<2>(file.first), std::get<3>(file.first), file.second);
  };
  std::sort(ready.begin(), ready.end(), [&](const auto& a, const auto& b) { return age(a) < age(b); });
  for (const auto& [signature, name] : ready) {
    if (!isOpenForWriting(_folder + "/" + name)) {
      _seen[name].isDone = true;
      return _folder + "/" + name;
    }
  }
  return {};
}

std::string Watch::next(const Session& session) {
  constexpr auto nap = std::chrono::milliseconds(20);
  while (true) {
    const std::string file = arrived();
    session.checkInterrupt("watch " + _folder);
    if (!file.empty()) {
      return file;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(_interval);
    while (std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(nap);
      session.checkInterrupt("watch " + _folder);
    }
  }
}

}  // namespace NORV::TaviTool
