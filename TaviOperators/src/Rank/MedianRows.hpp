#pragma once

#include <Rank/KeyLanes.hpp>
#include <Rank/LowerMedian.hpp>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// The lower medians of the voxels at some offsets from each voxel of a dense row, a vector of positions at a time.
template <class T>
class MedianRows {
  using Key = KeyOf<T>;
  using Median = LowerMedian<Key>;

public:
  static constexpr SizeType lanes = Median::lanes;

  explicit MedianRows(const std::vector<int64>& offsets)
      : _median(offsets.size()),
        _byteOffsets(offsets.size()),
        _scratch((_median.scratchSize() + perLine - 1) / perLine) {
    std::transform(offsets.begin(), offsets.end(), _byteOffsets.begin(),
                   [](int64 offset) { return offset * static_cast<int64>(sizeof(T)); });
  }

  /// Rows of one vector at least. `to` shares no voxel with what is read.
  void operator()(const T* from, T* to, SizeType length) {
    const auto at = [&](SizeType first) {
      _median(reinterpret_cast<const std::byte*>(from + first), _byteOffsets.data(), KeyBits<Key>::template of<T>(),
              reinterpret_cast<Key*>(_scratch.data()), reinterpret_cast<std::byte*>(to + first));
    };
    SizeType first = 0;
    for (; length - first >= lanes; first += lanes) {
      at(first);
    }
    if (first < length) {
      at(length - lanes);  // some once more rather than one by one
    }
  }

private:
  static constexpr SizeType perLine = 64 / sizeof(Key);
  struct alignas(64) Line {
    Key keys[perLine];
  };

  Median _median;
  std::vector<int64> _byteOffsets;
  std::vector<Line> _scratch;
};

}  // namespace NORV::TaviOperators::Impl
