#pragma once

#include <Tavi/Types.hpp>

#include <Rank/MergeNetwork.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

/// What neighbouring positions share when each takes the median of the box of voxels around it: the voxels of a column
/// along tert are sorted once for all positions whose box holds it, neighbouring columns are merged along sec, and the
/// planes that result along prim. Lists of 2, 3 or more columns are each merged from two shorter ones. The last two
/// lists are not merged; the median is selected from them.
///
/// A. Adams: Fast Median Filters using Separable Sorting Networks. ACM Transactions on Graphics 40 (2021), where the
/// boxes are plane.
namespace NORV::TaviOperators::Impl {

/// The sorted voxels of some neighbouring parts (columns, planes) of a box.
struct SortedLevel {
  SizeType parts = 1;
  std::size_t first = 0, second = 0;  ///< levels of which it is merged, the second one as many parts further
  SizeType count = 0;                 ///< of its voxels
  RankRange needed{0, 0};
  std::vector<MergeStep> steps;
  SizeType kept = 1;  ///< how many of them, one part apart, are needed at a time
};

/// Levels that lead from one part to several.
class SortedLevels {
public:
  /// Level 0 has one part of so many voxels.
  explicit SortedLevels(SizeType count) {
    _levels.emplace_back();
    _levels[0].count = count;
  }

  /// The level of so many parts, of which only some ranks are needed.
  std::size_t add(SizeType parts, RankRange needed) {
    const auto known = std::find_if(_levels.begin(), _levels.end(), [=](const auto& it) { return it.parts == parts; });
    if (known != _levels.end()) {
      return static_cast<std::size_t>(known - _levels.begin());
    }
    const SizeType firstParts = (parts + 1) / 2;
    const std::size_t first = add(firstParts), second = add(parts - firstParts);
    _levels[first].kept = std::max(_levels[first].kept, parts - firstParts + 1);
    std::vector<MergeStep> steps = MergeNetworkBuilder::build(_levels[first].count, _levels[second].count, needed);
    arrangeInLayers(steps, parts * _levels[0].count);
    _levels.push_back({parts, first, second, parts * _levels[0].count, needed, std::move(steps), 1});
    return _levels.size() - 1;
  }
  std::size_t add(SizeType parts) { return add(parts, {0, parts * _levels[0].count}); }

  const SortedLevel& operator[](std::size_t level) const { return _levels[level]; }
  std::size_t size() const { return _levels.size(); }

private:
  std::vector<SortedLevel> _levels;
};

/// For a box of given extents, at least 2 along prim.
class BoxMedianPlan {
public:
  /// The median is the least of all these: the larger one of two voxels, or the one where there is no other.
  struct Candidate {
    static constexpr uint32 none = ~uint32{0};
    uint32 first, second;  ///< ranks in the two levels
  };

  explicit BoxMedianPlan(const std::array<SizeType, 3>& extents)
      : _extents(extents),
        _columns(extents[2]),
        _plane(_columns.add(extents[1])),
        _planes(extents[1] * extents[2]) {
    const SizeType ofPlane = extents[1] * extents[2], count = ofPlane * extents[0];
    const SizeType firstParts = (extents[0] + 1) / 2, secondParts = extents[0] / 2;
    const SizeType firstCount = firstParts * ofPlane, secondCount = secondParts * ofPlane;
    const SizeType below = lowerMedianOf(count) + 1;  // voxels up to the median, with it
    const SizeType least = below - std::min(below, secondCount), most = std::min(below, firstCount);
    // The levels are equal in boxes of even extents, and then both begin with rank 0.
    const RankRange needed{firstParts == secondParts || least == 0 ? 0 : least - 1, most};
    _first = _planes.add(firstParts, firstParts == 1 ? RankRange{0, firstCount} : needed);
    _second = _planes.add(secondParts);
    for (SizeType fromFirst = least; fromFirst <= most; ++fromFirst) {
      _candidates.push_back({lastOf(fromFirst), lastOf(below - fromFirst)});
    }
  }

  const std::array<SizeType, 3>& extents() const { return _extents; }
  const SortedLevels& columns() const { return _columns; }
  std::size_t plane() const { return _plane; }
  /// Level 0 is the plane.
  const SortedLevels& planes() const { return _planes; }
  std::size_t first() const { return _first; }
  std::size_t second() const { return _second; }  ///< it begins behind the planes of the first
  const std::vector<Candidate>& candidates() const { return _candidates; }

  /// Vector instructions for a vector of medians.
  SizeType cost() const {
    SizeType cost = 2 * _candidates.size();
    for (const SortedLevels* levels : {&_columns, &_planes}) {
      for (std::size_t i = 0; i < levels->size(); ++i) {
        cost += 2 * (*levels)[i].steps.size();
      }
    }
    return cost;
  }

private:
  static uint32 lastOf(SizeType voxels) { return voxels == 0 ? Candidate::none : static_cast<uint32>(voxels - 1); }

  std::array<SizeType, 3> _extents;
  SortedLevels _columns;
  std::size_t _plane;
  SortedLevels _planes;
  std::size_t _first = 0, _second = 0;
  std::vector<Candidate> _candidates;
};

}  // namespace NORV::TaviOperators::Impl
