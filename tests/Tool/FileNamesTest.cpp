#include <DLL/RekReader.hpp>
#include <FileNames.hpp>
#include <RekReader.hpp>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace NORV::HostTest {
namespace {

bool libraryRefuses(const std::string& name) {
  using namespace TaviOperators;
  SmartPointer<RekReader::Parameter> parameter(new RekReader::Parameter);
  parameter->inputFilename = name;
  try {
    DLL::RekReader::Operator().apply(parameter);
  } catch (const std::exception& e) {
    const std::string text = e.what();
    return text.ends_with(" input filename is invalid") || text.ends_with(" input filename is empty");
  }
  return false;
}

void expectAgreement(const std::string& name) {
  EXPECT_EQ(!TaviTool::whyNameIsRefused(name).empty(), libraryRefuses(name)) << testing::PrintToString(name);
}

TEST(ToolFileNames, ReasonIsGivenExactlyWhereTheLibraryRefuses) {
  for (int code = 1; code < 256; ++code) {
    const std::string byte(1, static_cast<char>(code));
    for (const std::string& name : {byte, "a" + byte, "ab" + byte, "a:" + byte, byte + ":/a"}) {
      expectAgreement(name);
    }
  }
  // All short names of the letters that matter to the rules.
  const std::string letters = "a:/\\.";
  std::vector<std::string> names{""};
  for (std::size_t i = 0; i < names.size() && names[i].size() < 5; ++i) {
    for (const char letter : letters) {
      names.push_back(names[i] + letter);
    }
  }
  for (const std::string& name : names) {
    expectAgreement(name);
  }
}

TEST(ToolFileNames, ReasonSaysWhatIsWrong) {
  using TaviTool::whyNameIsRefused;
  EXPECT_EQ(whyNameIsRefused("scan.rek"), "");
  EXPECT_EQ(whyNameIsRefused("a*b"), "names must not hold '*'; rename the file or link it under a plain name");
  EXPECT_EQ(whyNameIsRefused("scan:1.rek"),
            "names must not hold ':' other than after a drive letter; rename the file or link it under a plain name");
  EXPECT_EQ(whyNameIsRefused("a\tb"), "names must not hold control characters (byte 0x09 at index 1); rename the file");
  EXPECT_EQ(whyNameIsRefused("a//b"), "names must not hold two separators in a row; write one");
}

}  // namespace
}  // namespace NORV::HostTest
