#pragma once

#include <Tavi/Volume.hpp>

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

/// Calls the tool in a process of its own.
namespace NORV::HostTest {

struct Outcome {
  int status = -1;  ///< exit status; 1000 plus the signal where one ended it
  std::string out;
  std::string err;
};

inline std::string readFile(const std::string& name) {
  std::ifstream stream(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline void writeFile(const std::string& name, const std::string& content) {
  std::ofstream(name, std::ios::binary) << content;
}

inline bool exists(const std::string& name) { return ::access(name.c_str(), F_OK) == 0; }

/// Becomes the tool; for a child process only.
[[noreturn]] inline void becomeTool(const std::vector<std::string>& arguments) {
  std::vector<char*> words{const_cast<char*>("tavi")};
  for (const std::string& argument : arguments) {
    words.push_back(const_cast<char*>(argument.c_str()));
  }
  words.push_back(nullptr);
  std::signal(SIGINT, SIG_DFL);  // a runner in the background ignores it, and hands that down
  ::execv(TAVI_TOOL, words.data());
  ::_exit(127);
}

inline int statusOf(pid_t child) {
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

/// A running tool whose output goes to pipes.
class Running {
public:
  explicit Running(const std::vector<std::string>& arguments, const std::function<void()>& inChild = {}) {
    int out[2] = {}, err[2] = {};
    if (::pipe(out) != 0 || ::pipe(err) != 0) {
      std::abort();
    }
    _child = ::fork();
    if (_child == 0) {
      ::dup2(out[1], STDOUT_FILENO);
      ::dup2(err[1], STDERR_FILENO);
      for (const int file : {out[0], out[1], err[0], err[1]}) {
        ::close(file);
      }
      if (inChild) {
        inChild();
      }
      becomeTool(arguments);
    }
    ::close(out[1]);
    ::close(err[1]);
    _out = out[0];
    _err = err[0];
  }

  void signal(int number) const { ::kill(_child, number); }

  /// Waits until standard error holds the text; returns whether it came.
  bool waitForError(const std::string& text) {
    char c = 0;
    while (_outcome.err.find(text) == std::string::npos) {
      if (::read(_err, &c, 1) != 1) {
        return false;
      }
      _outcome.err += c;
    }
    return true;
  }

  Outcome finish() {
    std::thread errors([this] { _outcome.err += readAll(_err); });
    _outcome.out = readAll(_out);
    errors.join();
    _outcome.status = statusOf(_child);
    return _outcome;
  }

private:
  static std::string readAll(int file) {
    std::string text;
    char buffer[4096];
    for (ssize_t size = 0; (size = ::read(file, buffer, sizeof buffer)) > 0;) {
      text.append(buffer, static_cast<std::size_t>(size));
    }
    ::close(file);
    return text;
  }

  pid_t _child = 0;
  int _out = -1, _err = -1;
  Outcome _outcome;
};

inline Outcome run(const std::vector<std::string>& arguments, const std::function<void()>& inChild = {}) {
  return Running(arguments, inChild).finish();
}

/// The same without the lines about progress.
inline Outcome runQuietly(std::vector<std::string> arguments) {
  arguments.emplace_back("--quiet");
  return run(arguments);
}

template <class T>
inline constexpr int rekCode = 0;
template <>
inline constexpr int rekCode<uint8> = 8;
template <>
inline constexpr int rekCode<int16> = 15;
template <>
inline constexpr int rekCode<uint16> = 16;
template <>
inline constexpr int rekCode<uint32> = 32;
template <>
inline constexpr int rekCode<int64> = 63;
template <>
inline constexpr int rekCode<float32> = 24;

/// A REK file written by hand: the sizes in their short form, then the voxels.
template <class T>
void writeRek(const std::string& name, int16 x, int16 y, int16 z, const std::vector<T>& voxels) {
  std::string bytes(2048, '\0');
  const auto store = [&](std::size_t offset, int16 value) { std::memcpy(&bytes[offset], &value, sizeof value); };
  store(0, x);
  store(2, y);
  store(4, static_cast<int16>(rekCode<T>));
  store(6, z);
  bytes.append(reinterpret_cast<const char*>(voxels.data()), voxels.size() * sizeof(T));
  writeFile(name, bytes);
}

/// The voxels of a REK file.
template <class T>
std::vector<T> readRek(const std::string& name) {
  const std::string bytes = readFile(name);
  if (bytes.size() < 2048 || bytes[4] != static_cast<char>(rekCode<T>)) {
    return {};
  }
  std::vector<T> voxels((bytes.size() - 2048) / sizeof(T));
  std::memcpy(voxels.data(), bytes.data() + 2048, voxels.size() * sizeof(T));
  return voxels;
}

}  // namespace NORV::HostTest
