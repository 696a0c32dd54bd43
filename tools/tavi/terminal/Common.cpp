#include <Common.hpp>

#include <array>
#include <cmath>
#include <cstdio>

namespace NORV::TaviTool {

std::string join(const std::vector<std::string>& words, const std::string& separator) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : separator) + word;
  }
  return text;
}

std::string toText(const Dimension<SizeType>& dimension) {
  return std::to_string(dimension.prim) + "x" + std::to_string(dimension.sec) + "x" + std::to_string(dimension.tert);
}

std::string toText(const Position<SizeType>& position) {
  return std::to_string(position.prim) + "x" + std::to_string(position.sec) + "x" + std::to_string(position.tert);
}

std::string bytesText(double bytes) {
  static constexpr std::array units{"bytes", "KiB", "MiB", "GiB", "TiB"};
  std::size_t unit = 0;
  while (bytes >= 1024.0 && unit + 1 < units.size()) {
    bytes /= 1024.0;
    ++unit;
  }
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), unit == 0 || bytes >= 100.0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
  return text.data();
}

}  // namespace NORV::TaviTool
