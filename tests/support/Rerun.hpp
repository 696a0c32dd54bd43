#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace NORV::Tests {

/// Runs the tests that `filter` names in a process of their own, with these "NAME=value" settings on top of the present
/// environment; what a runtime reads when it starts can be tested no other way. Returns the exit status, 0 if all
/// passed, or -1.
inline int rerun(const std::string& filter, const std::vector<std::string>& settings) {
  std::string program = "/proc/self/exe", argument = "--gtest_filter=" + filter;
  std::vector<char*> arguments{program.data(), argument.data(), nullptr};
  std::vector<std::string> kept = settings;  // the first of two settings of one name counts
  for (char** entry = environ; *entry != nullptr; ++entry) {
    kept.emplace_back(*entry);
  }
  std::vector<char*> environment;
  for (std::string& entry : kept) {
    environment.push_back(entry.data());
  }
  environment.push_back(nullptr);

  pid_t child = 0;
  if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments.data(), environment.data()) != 0) {
    return -1;
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
    return -1;
  }
  return WEXITSTATUS(status);
}

}  // namespace NORV::Tests
