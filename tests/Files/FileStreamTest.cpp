#include "support/ExpectFailure.hpp"
#include "support/TemporaryDirectory.hpp"

#include <Files/FileStream.hpp>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace NORV::Tests {
namespace {

using TaviOperators::Impl::File;
using TaviOperators::Impl::FileErrors;
using TaviOperators::Impl::isValidPath;

bool isAllowedByte(unsigned char byte, std::size_t index) {
  switch (byte) {
    case 0xB5:
    case 0xC4:
    case 0xD6:
    case 0xDC:
    case 0xDF:
    case 0xE4:
    case 0xF6:
    case 0xFC:
      return true;
    case '*':
    case '<':
    case '=':
    case '>':
    case '?':
    case '|':
      return false;
    case ':':
      return index == 1;
    default:
      return byte >= 32 && byte <= 126;
  }
}

/// The rules in their order, one after the other.
bool isValidByTheRules(const std::string& name) {
  if (name.empty()) {
    return false;
  }
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (!isAllowedByte(static_cast<unsigned char>(name[i]), i)) {
      return false;
    }
  }
  if (name.find("\\\\", 1) != std::string::npos || name.find("//", 1) != std::string::npos) {
    return false;
  }
  if (name.size() >= 2 && name[1] == ':') {
    if (!std::isalpha(static_cast<unsigned char>(name[0])) || static_cast<unsigned char>(name[0]) > 127) {
      return false;
    }
    return name.size() == 2 || name[2] == '\\' || name[2] == '/';
  }
  if (name.starts_with("\\\\") || name.starts_with("//")) {
    for (std::size_t i = 2; i < name.size(); ++i) {
      if (name[i] == '\\' || name[i] == '/') {
        return i + 1 != name.size();
      }
    }
    return false;
  }
  return true;
}

TEST(IsValidPath, TakesNamesOfEveryPermittedForm) {
  for (const char* name : {"a",
                           "volume.rek",
                           "./volume.rek",
                           "/srv/scans/part 7.rek",
                           "..\\scans\\part.rek",
                           "c:",
                           "C:\\part.rek",
                           "z:/part.rek",
                           "\\\\host\\share",
                           "//host/share/part.rek",
                           "\\\\host/share",
                           "//host\\s",
                           " ",
                           "/",
                           "\\",
                           "a/\\b",
                           "\\/",
                           "/\\",
                           "~!@#$%^&()_+-{}[];',.`\"",
                           "\xB5\xC4\xD6\xDC\xDF\xE4\xF6\xFC.rek",
                           "a/",
                           "a\\"}) {
    EXPECT_TRUE(isValidPath(name)) << name;
  }
}

TEST(IsValidPath, RefusesEachBreachOfARule) {
  for (const char* name :
       {"",        "a*",   "a<b",        "a>b",          "a=b",      "=",           "a?",       "a|b",    ":",
        "a/b:",    "ab:c", "c:part.rek", "c:.",          "1:\\part", "\xC4:\\part", "a//b",     "a\\\\b", "///a",
        "\\\\\\a", "//",   "\\\\",       "//host",       "//host/",  "\\\\host\\",  "\\\\host", "//h//s", "a\tb",
        "a\nb",    "\x7F", "\x80",       "\xC3\xA4.rek", "\xFF",     "c:\\\\a",     "c://a"}) {
    EXPECT_FALSE(isValidPath(name)) << name;
  }
  EXPECT_FALSE(isValidPath(std::string("a\0b", 3)));
}

TEST(IsValidPath, AllowsJustTheListedBytesAtEachPlace) {
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(byte);
    for (const std::string& name : {std::string(1, c), std::string("a") + c, std::string("a") + c + "/b",
                                    std::string("ab") + c + "d", std::string("abc") + c}) {
      EXPECT_EQ(isValidPath(name), isValidByTheRules(name)) << "byte " << byte << " in " << name;
    }
  }
}

TEST(IsValidPath, FollowsTheRulesForAllShortNames) {
  const std::string alphabet = "a/\\:.1=";
  for (std::size_t length = 0; length <= 6; ++length) {
    std::size_t names = 1;
    for (std::size_t i = 0; i < length; ++i) {
      names *= alphabet.size();
    }
    for (std::size_t number = 0; number < names; ++number) {
      std::string name;
      for (std::size_t rest = number; name.size() < length; rest /= alphabet.size()) {
        name += alphabet[rest % alphabet.size()];
      }
      ASSERT_EQ(isValidPath(name), isValidByTheRules(name)) << name;
    }
  }
}

TEST(FileErrorsFailure, NamesTheOperatorBeforeTheWords) {
  const FileErrors errors("Some::Operator");
  expectStandard<std::runtime_error>([&] { errors.fail(" went wrong"); }, "Some::Operator went wrong");
  expectStandard<std::runtime_error>([&] { errors.require(false, " went wrong"); }, "Some::Operator went wrong");
  errors.require(true, " went wrong");
  expectStandard<std::invalid_argument>([&] { errors.refuse(" is refused"); }, "Some::Operator is refused");
  expectStandard<std::invalid_argument>([&] { errors.checkedName(""); }, "Some::Operator input filename is empty");
  expectStandard<std::invalid_argument>([&] { errors.checkedName("a=b"); }, "Some::Operator input filename is invalid");
  EXPECT_EQ(errors.checkedName("a.rek"), "a.rek");
}

class FileStream : public testing::Test {
protected:
  void expectNotOpened(const std::string& name, File::Mode mode) const {
    const NoFileLeftOpen check;
    expectStandard<std::runtime_error>([&] { File(name, mode, errors); }, "Op failed to open file");
  }

  const FileErrors errors{"Op"};
  const TemporaryDirectory folder;
};
using FileStreamFailure = FileStream;

TEST_F(FileStream, WritesAndReadsWhatItIsGiven) {
  const NoFileLeftOpen check;
  const std::string name = folder / "bytes";
  {
    File file(name, File::Mode::write, errors);
    file.write("abc", 3, " write");
    file.write("", 0, " write");
    file.write("defg", 4, " write");
    file.close(" close");
  }
  EXPECT_EQ(readFile(name), "abcdefg");
  File file(name, File::Mode::read, errors);
  std::string bytes(7, ' ');
  file.read(bytes.data(), 2, " read");
  EXPECT_EQ(file.size(), 7u);
  file.read(bytes.data() + 2, 5, " read");
  EXPECT_EQ(bytes, "abcdefg");
  file.read(bytes.data(), 0, " read");
}

TEST_F(FileStream, WritingTruncatesWhatWasThere) {
  const std::string name = folder / "bytes";
  writeFile(name, "something longer");
  File(name, File::Mode::write, errors).close(" close");
  EXPECT_EQ(readFile(name), "");
}

TEST_F(FileStream, IsClosedWhenItGoes) {
  const NoFileLeftOpen check;
  const std::string name = folder / "bytes";
  { File file(name, File::Mode::write, errors); }
  try {
    File file(name, File::Mode::read, errors);
    throw std::logic_error("passes by");
  } catch (const std::logic_error&) {
  }
}

TEST_F(FileStream, KnowsSizesBeyondFourGibibytes) {
  const std::string name = folder / "sparse";
  writeFile(name, "");
  const off_t size = (off_t{5} << 30) + 3;
  if (truncate(name.c_str(), size) != 0) {
    GTEST_SKIP() << "the file system makes no sparse file of 5 GiB: " << std::strerror(errno);
  }
  File file(name, File::Mode::read, errors);
  EXPECT_EQ(file.size(), static_cast<Tavi::SizeType>(size));
  char byte = 1;
  file.read(&byte, 1, " read");
  EXPECT_EQ(byte, 0);
}

TEST_F(FileStream, SizeOfADeviceIsNothing) { EXPECT_EQ(File("/dev/zero", File::Mode::read, errors).size(), 0u); }

TEST_F(FileStreamFailure, ShortReadsFailWithTheWordsGiven) {
  const std::string name = folder / "bytes";
  writeFile(name, "abc");
  File file(name, File::Mode::read, errors);
  char bytes[4];
  expectStandard<std::runtime_error>([&] { file.read(bytes, 4, " no bytes left"); }, "Op no bytes left");
  expectStandard<std::runtime_error>([&] { file.read(bytes, 1, " at the end"); }, "Op at the end");
}

TEST_F(FileStreamFailure, AFileThatShrinksFailsWhenItIsRead) {
  const std::string name = folder / "bytes";
  writeFile(name, std::string(10000, 'a'));
  File file(name, File::Mode::read, errors);
  std::vector<char> bytes(10000);
  file.read(bytes.data(), 1000, " read");
  std::filesystem::resize_file(name, 2000);
  file.read(bytes.data(), 1000, " read");
  expectStandard<std::runtime_error>([&] { file.read(bytes.data(), 1, " shrunk"); }, "Op shrunk");
}

TEST_F(FileStreamFailure, WritesToAFullDeviceFailAtOnce) {
  File file("/dev/full", File::Mode::write, errors);
  expectStandard<std::runtime_error>([&] { file.write("a", 1, " full"); }, "Op full");
}

TEST_F(FileStreamFailure, AFailureThatOnlyShowsWhenTheFileIsClosedIsReported) {
  const std::string name = folder / "bytes";
  File file(name, File::Mode::write, errors);
  // The descriptor goes behind the file's back, as when a file server that has promised to store the bytes goes.
  int descriptor = -1;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code ignored;
    if (std::filesystem::read_symlink(entry.path(), ignored) == std::filesystem::canonical(name)) {
      descriptor = std::stoi(entry.path().filename().string());
    }
  }
  ASSERT_GE(descriptor, 0);
  ASSERT_EQ(::close(descriptor), 0);
  expectStandard<std::runtime_error>([&] { file.close(" not stored"); }, "Op not stored");
}

TEST_F(FileStreamFailure, AbsentFilesAndFoldersDoNotOpen) {
  expectNotOpened(folder / "absent", File::Mode::read);
  expectNotOpened(folder / "absent/file", File::Mode::write);
  expectNotOpened(folder / "absent/file", File::Mode::read);
  expectNotOpened(folder.path(), File::Mode::read);
  expectNotOpened(folder.path(), File::Mode::write);
  EXPECT_FALSE(std::filesystem::exists(folder / "absent"));
}

TEST_F(FileStreamFailure, PipesAndSocketsDoNotOpenAndDoNotBlock) {
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  expectNotOpened(pipe, File::Mode::read);
  expectNotOpened(pipe, File::Mode::write);

  const std::string name = folder / "socket";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(name.size(), sizeof address.sun_path);
  std::memcpy(address.sun_path, name.c_str(), name.size() + 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  ASSERT_GE(socket, 0);
  ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  expectNotOpened(name, File::Mode::read);
  expectNotOpened(name, File::Mode::write);
  ::close(socket);
}

TEST_F(FileStreamFailure, FilesWithoutPermissionDoNotOpen) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root may open every file";
  }
  const std::string name = folder / "locked";
  writeFile(name, "a");
  std::filesystem::permissions(name, std::filesystem::perms::none);
  expectNotOpened(name, File::Mode::read);
  expectNotOpened(name, File::Mode::write);
}

}  // namespace
}  // namespace NORV::Tests
