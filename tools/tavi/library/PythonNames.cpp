#include <Catalogue.hpp>
#include <PythonNames.hpp>

#include <algorithm>
#include <regex>

namespace NORV::TaviTool {

std::string snakeCase(const std::string& name) {
  static const std::regex word("NaN|\\d+D(?![a-z])|[A-Z]+(?=[A-Z][a-z])|[A-Z]?[a-z]+(?:\\d+(?![\\dD]))?|[A-Z]+|\\d+");
  std::string joined;
  for (std::sregex_iterator match(name.begin(), name.end(), word), end; match != end; ++match) {
    joined += (joined.empty() ? "" : "_") + match->str();
  }
  std::transform(joined.begin(), joined.end(), joined.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return joined;
}

std::string pythonName(const KeyDescription& key) {
  static const std::string numberOf = "NumberOf";
  std::string name = key.key.substr(isInput(key.key) ? 5 : 6);
  if (isInput(key.key) && key.info.takes == Takes::count && name.starts_with(numberOf)) {
    name.erase(0, numberOf.size());
  }
  return snakeCase(name);
}

}  // namespace NORV::TaviTool
