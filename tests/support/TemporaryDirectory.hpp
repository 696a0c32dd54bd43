#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <source_location>
#include <stdexcept>
#include <string>

/// Files of tests, and the count of those that a test has left open.
namespace NORV::Tests {

/// A folder of its own that goes with all that is in it.
class TemporaryDirectory {
public:
  explicit TemporaryDirectory(const std::filesystem::path& parent = std::filesystem::temp_directory_path()) {
    std::string name = (parent / "tavi-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("no temporary folder can be made in " + parent.string());
    }
    _path = name;
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }

  /// The name of a file in the folder, which need not exist.
  std::string operator/(const std::string& name) const { return _path + "/" + name; }
  const std::string& path() const { return _path; }

private:
  std::string _path;
};

inline void writeFile(const std::string& name, const std::string& bytes) {
  std::ofstream file(name, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  ASSERT_TRUE(file.good()) << name;
}

inline std::string readFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  EXPECT_TRUE(file.good()) << name;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// How many files the process holds open.
inline std::ptrdiff_t openFiles() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

/// Requires at its end as many open files as at its beginning.
class NoFileLeftOpen {
public:
  explicit NoFileLeftOpen(const std::source_location& place = std::source_location::current()) : _place(place) {}
  NoFileLeftOpen(const NoFileLeftOpen&) = delete;
  NoFileLeftOpen& operator=(const NoFileLeftOpen&) = delete;
  ~NoFileLeftOpen() {
    EXPECT_EQ(openFiles(), _before) << _place.file_name() << ":" << _place.line() << ": files are left open";
  }

private:
  std::source_location _place;
  std::ptrdiff_t _before = openFiles();
};

}  // namespace NORV::Tests
