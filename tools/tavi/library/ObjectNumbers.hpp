#pragma once

#include <Common.hpp>
#include <FeatureTable.hpp>

#include <algorithm>
#include <vector>

namespace NORV::TaviTool {

/// Whether the box around the object of a row touches the border of a volume of these extents.
bool isAtBorder(const FeatureTable& table, std::size_t row, const Dimension<SizeType>& size);

/// For each label the number of its object, from `first` on and in the same order; 0 for those at the border.
std::vector<uint32> innerNumbersOf(const FeatureTable& table, const Dimension<SizeType>& size, SizeType first);

/// How many labels have a number.
inline SizeType countOf(const std::vector<uint32>& numbers) {
  return static_cast<SizeType>(numbers.size()) -
         static_cast<SizeType>(std::count(numbers.begin(), numbers.end(), uint32{0}));
}

}  // namespace NORV::TaviTool
