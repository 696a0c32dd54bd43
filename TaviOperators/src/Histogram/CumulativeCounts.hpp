#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The integers from `low` to `high`, with one bin each.
struct ValueRange {
  int64 low, high;

  SizeType size() const { return static_cast<SizeType>(high - low + 1); }
  bool contains(int64 value) const { return low <= value && value <= high; }
  SizeType bin(int64 value) const { return static_cast<SizeType>(value - low); }

  /// Ends in the wrong order stand for more bins than any vector has.
  void check() const {
    if (high < low) {
      throw std::length_error("vector too long");
    }
  }
};

/// `value` without its fraction. What 64 bits do not hold, and a NaN, becomes the smallest number, all of whose lower
/// bits are 0.
inline int64 truncated(double value) {
  constexpr double limit = 9223372036854775808.0;
  return value >= -limit && value < limit ? static_cast<int64>(value) : std::numeric_limits<int64>::min();
}

/// The cumulative histogram of `HistogramEqualization`: the last bin has 0 and, in a range from 0 on, so has the first,
/// whose count stands in the total only. Kept as a table of all bins or, where few are occupied, of those alone.
class CumulativeCounts {
public:
  /// Takes the counts of all bins.
  CumulativeCounts(const ValueRange& range, std::vector<uint32> counts) : _range(range), _sums(std::move(counts)) {
    _total = std::accumulate(_sums.begin(), _sums.end(), uint64{0});
    uint32 sum = 0;
    for (SizeType i = 0; i < _sums.size(); ++i) {
      sum += isSummed(i) ? _sums[i] : 0U;
      _sums[i] = hasSum(i) ? sum : 0;
    }
  }

  /// Takes the bins of single voxels, in any order. Extra memory: 8 bytes per voxel, those of `voxels` among them.
  CumulativeCounts(const ValueRange& range, std::vector<std::vector<uint32>> voxels) : _range(range) {
    for (const auto& some : voxels) {
      _total += some.size();
    }
    _bins.reserve(_total);
    for (auto& some : voxels) {
      _bins.insert(_bins.end(), some.begin(), some.end());
      std::vector<uint32>().swap(some);  // an assignment of {} would keep the memory
    }
    std::sort(_bins.begin(), _bins.end());
    SizeType occupied = 0;
    for (SizeType i = 0; i < _bins.size(); ++i) {
      occupied += i == 0 || _bins[i] != _bins[i - 1] ? 1U : 0U;
    }
    _sums.reserve(occupied);
    occupied = 0;
    uint32 sum = 0;
    for (SizeType i = 0; i < _bins.size();) {
      const uint32 bin = _bins[i];
      for (; i < _bins.size() && _bins[i] == bin; ++i) {
        sum += isSummed(bin) ? 1U : 0U;
      }
      _bins[occupied++] = bin;
      _sums.push_back(sum);
    }
    _bins.resize(occupied);
    _isSparse = true;
  }

  uint32 at(SizeType bin) const {
    if (!_isSparse) {
      return _sums[bin];
    }
    const auto above = std::upper_bound(_bins.begin(), _bins.end(), bin) - _bins.begin();
    return above > 0 && hasSum(bin) ? _sums[static_cast<SizeType>(above) - 1] : 0;
  }
  uint64 total() const { return _total; }

private:
  bool isSummed(SizeType bin) const { return bin > 0 || _range.low != 0; }
  /// A range of one value other than 0 has the count of its first bin.
  bool hasSum(SizeType bin) const { return bin + 1 < _range.size() || (bin == 0 && _range.low != 0); }

  ValueRange _range;
  std::vector<uint32> _bins;  // ascending
  std::vector<uint32> _sums;
  uint64 _total = 0;
  bool _isSparse = false;
};

}  // namespace NORV::TaviOperators::Impl
