#include <ObjectNumbers.hpp>

#include <string>

namespace NORV::TaviTool {

bool isAtBorder(const FeatureTable& table, std::size_t row, const Dimension<SizeType>& size) {
  const auto touches = [&](const std::string& axis, SizeType extent) {
    const double first = table.number(row, "roi.origin." + axis);
    return first == 0.0 || first + table.number(row, "roi.dim." + axis) == static_cast<double>(extent);
  };
  return touches("x", size.prim) || touches("y", size.sec) || touches("z", size.tert);
}

std::vector<uint32> innerNumbersOf(const FeatureTable& table, const Dimension<SizeType>& size, SizeType first) {
  std::vector<uint32> numbers(1);
  for (std::size_t row = 0; row < table.size(); ++row) {
    const auto label = static_cast<std::size_t>(table.number(row, "label"));
    numbers.resize(label + 1);
    numbers[label] = isAtBorder(table, row, size) ? 0 : static_cast<uint32>(first++);
  }
  return numbers;
}

}  // namespace NORV::TaviTool
