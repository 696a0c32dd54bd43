#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The class whose centre is nearest to `value`; of equally near ones the lowest.
inline SizeType nearestByScan(const std::vector<double>& centres, double value) {
  SizeType nearest = 0;
  double distance = std::numeric_limits<double>::max();
  for (SizeType k = 0; k < centres.size(); ++k) {
    const double candidate = std::abs(value - centres[k]);
    if (candidate < distance) {
      distance = candidate;
      nearest = k;
    }
  }
  return nearest;
}

/// The same for centres in ascending order. Distances are compared as rounded, so that also centres that differ by less
/// than a distance can show are ties.
inline SizeType nearestInSorted(const std::vector<double>& centres, double value) {
  const auto above = static_cast<SizeType>(std::lower_bound(centres.begin(), centres.end(), value) - centres.begin());
  if (above == 0) {
    return 0;
  }
  SizeType below = above - 1;
  const double distance = std::abs(value - centres[below]);
  if (above < centres.size() && std::abs(value - centres[above]) < distance) {
    return above;
  }
  while (below > 0 && std::abs(value - centres[below - 1]) == distance) {
    --below;
  }
  return below;
}

/// k-means (Lloyd, 1982) of grey values that are given as a histogram: one iteration costs as much as there are grey
/// values, however many voxels have them.
///
/// Extra memory: 24 bytes per class, 4 bytes per grey value.
class HistogramKMeans {
public:
  /// At least one class.
  explicit HistogramKMeans(SizeType classes) : _centres(classes), _sums(classes), _counts(classes) {}

  /// Spaces the centres evenly over the grey values from 0 to `largest`.
  void seed(SizeType largest) {
    const auto parts = static_cast<double>(_centres.size() + 1);
    for (SizeType k = 0; k < _centres.size(); ++k) {
      _centres[k] = static_cast<double>(k + 1) * static_cast<double>(static_cast<int32>(largest)) / parts;
    }
  }

  /// Assigns the grey values to the classes, then moves the centres there. `histogram` has one entry for each grey
  /// value from 0 to the largest. Returns the sum of all moves. A class without a voxel above 0 keeps its centre.
  double iterate(const std::vector<uint64>& histogram) {
    assign(histogram);
    double moved = 0.0;
    for (SizeType k = 0; k < _centres.size(); ++k) {
      if (_sums[k] != 0) {
        const double centre = static_cast<double>(_sums[k]) / static_cast<double>(_counts[k]);
        moved += std::abs(centre - _centres[k]);
        _centres[k] = centre;
      }
    }
    return moved;
  }

  /// The class of a grey value that occurs, by the last assignment.
  SizeType classOf(SizeType value) const { return _classOf[value]; }
  const std::vector<double>& centres() const { return _centres; }

private:
  void assign(const std::vector<uint64>& histogram) {
    constexpr SizeType fewClasses = 8;
    _classOf.resize(histogram.size());
    std::fill(_sums.begin(), _sums.end(), 0U);
    std::fill(_counts.begin(), _counts.end(), 0U);
    const bool search = _centres.size() > fewClasses && std::is_sorted(_centres.begin(), _centres.end());
    for (SizeType value = 0; value < histogram.size(); ++value) {
      if (histogram[value] == 0) {
        continue;
      }
      const auto grey = static_cast<double>(value);
      const SizeType k = search ? nearestInSorted(_centres, grey) : nearestByScan(_centres, grey);
      _classOf[value] = static_cast<uint32>(k);
      _sums[k] += histogram[value] * value;
      _counts[k] += histogram[value];
    }
  }

  std::vector<double> _centres;
  std::vector<uint64> _sums, _counts;
  std::vector<uint32> _classOf;
};

}  // namespace NORV::TaviOperators::Impl
