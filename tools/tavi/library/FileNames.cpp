#include <FileNames.hpp>

#include <array>
#include <cstdio>
#include <string_view>

namespace NORV::TaviTool {
namespace {

bool isSeparator(char c) { return c == '/' || c == '\\'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::string whyByteIsRefused(const std::string& name, std::size_t index) {
  static constexpr std::string_view latin1 = "\xB5\xC4\xD6\xDC\xDF\xE4\xF6\xFC";
  const char c = name[index];
  const auto code = static_cast<unsigned char>(c);
  if (code >= 32 && code <= 126) {
    if (c == ':' && index == 1) {
      return {};
    }
    if (std::string_view("*:<=>?|").find(c) == std::string_view::npos) {
      return {};
    }
    return std::string("names must not hold '") + c + "'" + (c == ':' ? " other than after a drive letter" : "") +
           "; rename the file or link it under a plain name";
  }
  if (latin1.find(c) != std::string_view::npos) {
    return {};
  }
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "byte 0x%02X at index %zu", static_cast<unsigned>(code), index);
  if (code < 32 || code == 127) {
    return "names must not hold control characters (" + std::string(text.data()) + "); rename the file";
  }
  return "names may only hold plain ASCII characters, no letters beyond them in UTF-8 (" + std::string(text.data()) +
         "); rename the file or link it under a plain name: ln -s <file> plain.rek";
}

}  // namespace

std::string whyNameIsRefused(const std::string& name) {
  if (name.empty()) {
    return "the name is empty";
  }
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (std::string why = whyByteIsRefused(name, i); !why.empty()) {
      return why;
    }
  }
  for (std::size_t i = 1; i + 1 < name.size(); ++i) {
    if (isSeparator(name[i]) && name[i] == name[i + 1]) {
      return "names must not hold two separators in a row; write one";
    }
  }
  if (name.size() > 1 && name[1] == ':') {
    if (!isLetter(name[0])) {
      return "only a drive letter may stand before ':'";
    }
    return name.size() == 2 || isSeparator(name[2]) ? "" : "a separator must follow the drive letter";
  }
  if (name.size() > 1 && isSeparator(name[0]) && name[0] == name[1]) {
    const std::size_t share = name.find_first_of("/\\", 2);
    if (share == std::string::npos || share + 1 == name.size()) {
      return "a network name needs a host and a path behind the two separators";
    }
  }
  return {};
}

}  // namespace NORV::TaviTool
