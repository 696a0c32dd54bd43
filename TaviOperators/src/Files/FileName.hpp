#pragma once

#include <cstddef>
#include <string_view>

namespace NORV::TaviOperators::Impl {

/// Whether a file name consists of printable ASCII without `* : < = > ? |`, or of one of eight Latin-1 letters. A colon
/// may stand at index 1, behind a drive letter.
inline bool hasValidCharacters(std::string_view name) {
  constexpr std::string_view refused = "*:<=>?|";
  constexpr std::string_view latin1 = "\xB5\xC4\xD6\xDC\xDF\xE4\xF6\xFC";
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    const bool ascii = c >= 32 && c <= 126 && (refused.find(c) == std::string_view::npos || (c == ':' && i == 1));
    if (!ascii && latin1.find(c) == std::string_view::npos) {
      return false;
    }
  }
  return true;
}

/// The file name test of every file operator. It looks at the text only, and is the same on every platform.
inline bool isValidPath(std::string_view name) {
  const auto isSeparator = [](char c) { return c == '\\' || c == '/'; };
  if (name.empty() || !hasValidCharacters(name)) {
    return false;
  }
  for (std::size_t i = 1; i + 1 < name.size(); ++i) {
    if (isSeparator(name[i]) && name[i + 1] == name[i]) {
      return false;
    }
  }
  if (name.size() > 1 && name[1] == ':') {
    const bool letter = (name[0] >= 'A' && name[0] <= 'Z') || (name[0] >= 'a' && name[0] <= 'z');
    return letter && (name.size() == 2 || isSeparator(name[2]));
  }
  if (name.size() > 1 && isSeparator(name[0]) && name[1] == name[0]) {
    const std::size_t next = name.find_first_of("\\/", 2);  // ends the name of the host
    return next != std::string_view::npos && next + 1 < name.size();
  }
  return true;
}

}  // namespace NORV::TaviOperators::Impl
