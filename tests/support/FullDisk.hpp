#pragma once

#include <sys/resource.h>

#include <csignal>

namespace NORV::Tests {

/// While it lives, files cannot grow beyond `bytes`, as on a disk that is full.
class FullDisk {
public:
  explicit FullDisk(rlim_t bytes) : _handler(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &_before);
    rlimit limit = _before;
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &_before);
    std::signal(SIGXFSZ, _handler);
  }

private:
  void (*_handler)(int);
  rlimit _before{};
};

}  // namespace NORV::Tests
