#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <Rank/SelectionNetwork.hpp>

#include <algorithm>
#include <array>
#include <vector>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

/// Medians under large boxes by threshold decomposition: where at most as many voxels of the box lie below a threshold
/// as the rank says, the median is not below it. The counts of all boxes of a tile are running sums, so that a
/// threshold costs the same for boxes of any size (J. P. Fitch, E. J. Coyle, N. C. Gallagher, Median filtering by
/// threshold decomposition, IEEE Trans. ASSP 32, 1984). Only thresholds between medians of the tile are tried.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The extents of a box, of a tile of positions, or of the voxels under it.
using TileExtents = std::array<SizeType, 3>;

/// `column` counts, for each voxel of a row, the voxels below a threshold in the slices under the box.
template <class Count>
[[gnu::noinline]] void slideSlices(Count* column, const uint8* entering, const uint8* leaving, uint8 threshold,
                                   SizeType length) {
  for (SizeType i = 0; i < length; ++i) {
    column[i] = static_cast<Count>(column[i] + (entering[i] < threshold ? 1 : 0) - (leaving[i] < threshold ? 1 : 0));
  }
}
template <class Count>
[[gnu::noinline]] void enterSlice(Count* column, const uint8* entering, uint8 threshold, SizeType length) {
  for (SizeType i = 0; i < length; ++i) {
    column[i] = static_cast<Count>(column[i] + (entering[i] < threshold ? 1 : 0));
  }
}
template <class Count>
[[gnu::noinline]] void enterRow(Count* sum, const Count* entering, SizeType length) {
  for (SizeType i = 0; i < length; ++i) {
    sum[i] = static_cast<Count>(sum[i] + entering[i]);
  }
}
template <class Count>
[[gnu::noinline]] void slideRows(Count* sum, const Count* entering, const Count* leaving, SizeType length) {
  for (SizeType i = 0; i < length; ++i) {
    sum[i] = static_cast<Count>(sum[i] + entering[i] - leaving[i]);
  }
}

/// What is known of the medians of a row of positions.
struct MedianBounds {
  uint16* lowest;  ///< the highest threshold tried that the median is not below
  uint16* below;   ///< voxels of the box below it
};

/// A threshold, for the positions whose bound is `low`.
struct MedianTrial {
  uint16 low, threshold, rank;
  SizeType extent;  ///< of the box along the row
};

/// Which way the medians go that a threshold was tried for.
struct TrialResult {
  bool below = false, above = false;
};

/// Adds up the voxels below the threshold in each box, from those of its planes, and raises the bounds of positions
/// where there are no more of them than the rank.
template <class Count>
[[gnu::noinline]] void raiseBounds(const MedianBounds& bounds, const Count* planes, const MedianTrial& trial,
                                   SizeType length, TrialResult& result) {
  SizeType done = 0;
#ifdef TAVI_USE_HIGHWAY
  namespace hn = hwy::HWY_NAMESPACE;
  const hn::ScalableTag<uint16> tag;
  const hn::Rebind<Count, decltype(tag)> narrow;
  const auto load = [&](const Count* from) {
    if constexpr (sizeof(Count) == 1) {
      return hn::PromoteTo(tag, hn::LoadU(narrow, from));
    } else {
      return hn::LoadU(tag, from);
    }
  };
  const SizeType lanes = hn::Lanes(tag);
  const auto low = hn::Set(tag, trial.low), threshold = hn::Set(tag, trial.threshold), rank = hn::Set(tag, trial.rank);
  auto stayed = hn::Zero(tag), raised = hn::Zero(tag);
  for (; length - done >= lanes; done += lanes) {
    auto sum = load(planes + done), other = hn::Zero(tag);
    SizeType i = 1;
    for (; i + 1 < trial.extent; i += 2) {
      sum = hn::Add(sum, load(planes + done + i));
      other = hn::Add(other, load(planes + done + i + 1));
    }
    sum = hn::Add(sum, i < trial.extent ? hn::Add(other, load(planes + done + i)) : other);
    const auto lowest = hn::LoadU(tag, bounds.lowest + done);
    const auto isOpen = hn::Eq(lowest, low), isBelow = hn::Gt(sum, rank);
    const auto rises = hn::AndNot(isBelow, isOpen);
    hn::StoreU(hn::IfThenElse(rises, threshold, lowest), tag, bounds.lowest + done);
    hn::StoreU(hn::IfThenElse(rises, sum, hn::LoadU(tag, bounds.below + done)), tag, bounds.below + done);
    raised = hn::Or(raised, hn::VecFromMask(tag, rises));
    stayed = hn::Or(stayed, hn::VecFromMask(tag, hn::And(isBelow, isOpen)));
  }
  result.above = result.above || !hn::AllTrue(tag, hn::Eq(raised, hn::Zero(tag)));
  result.below = result.below || !hn::AllTrue(tag, hn::Eq(stayed, hn::Zero(tag)));
#endif
  for (; done < length; ++done) {
    if (bounds.lowest[done] != trial.low) {
      continue;
    }
    uint16 sum = 0;
    for (SizeType i = 0; i < trial.extent; ++i) {
      sum = static_cast<uint16>(sum + planes[done + i]);
    }
    if (sum > trial.rank) {
      result.below = true;
    } else {
      result.above = true;
      bounds.lowest[done] = trial.threshold;
      bounds.below[done] = sum;
    }
  }
}

/// The medians of a tile. `Count` holds the voxels of a box in one plane across the rows.
template <class Count>
class ThresholdMedians {
public:
  ThresholdMedians(const TileExtents& box, const TileExtents& medians)
      : _box(box),
        _medians(medians),
        _voxels{medians[0] + box[0] - 1, medians[1] + box[1] - 1, medians[2] + box[2] - 1},
        _rank(static_cast<uint16>(lowerMedianOf(box[0] * box[1] * box[2]))),
        _voxelsOfTile(_voxels[0] * _voxels[1] * _voxels[2]),
        _lowest(medians[0] * medians[1] * medians[2]),
        _below(_lowest.size()),
        _columns(_voxels[0] * _voxels[1]),
        _planes(_voxels[0]) {}

  /// Rows one after the other, then slices.
  uint8* voxels() { return _voxelsOfTile.data(); }
  const TileExtents& extents() const { return _voxels; }

  /// Of each position, after `find`.
  const std::vector<uint16>& medians() const { return _lowest; }
  /// How many voxels of the box around each position are below its median.
  const std::vector<uint16>& below() const { return _below; }
  uint16 rank() const { return _rank; }

  void find() {
    const auto [first, last] = std::minmax_element(_voxelsOfTile.begin(), _voxelsOfTile.end());
    std::fill(_lowest.begin(), _lowest.end(), uint16{*first});
    std::fill(_below.begin(), _below.end(), uint16(0));
    search(*first, SizeType{*last} + 1);
  }

private:
  /// Tells the medians in [low, end) apart.
  void search(SizeType low, SizeType end) {
    if (end - low < 2) {
      return;
    }
    const SizeType middle = (low + end) / 2;
    const TrialResult found = tryThreshold({static_cast<uint16>(low), static_cast<uint16>(middle), _rank, _box[0]});
    if (found.below) {
      search(low, middle);
    }
    if (found.above) {
      search(middle, end);
    }
  }

  TrialResult tryThreshold(const MedianTrial& trial) {
    const SizeType slice = _columns.size();
    const auto threshold = static_cast<uint8>(trial.threshold);
    std::fill(_columns.begin(), _columns.end(), Count(0));
    for (SizeType z = 0; z + 1 < _box[2]; ++z) {
      enterSlice(_columns.data(), _voxelsOfTile.data() + z * slice, threshold, slice);
    }
    TrialResult found;
    for (SizeType z = 0; z < _medians[2]; ++z) {
      const uint8* const entering = _voxelsOfTile.data() + (z + _box[2] - 1) * slice;
      if (z == 0) {
        enterSlice(_columns.data(), entering, threshold, slice);
      } else {
        slideSlices(_columns.data(), entering, _voxelsOfTile.data() + (z - 1) * slice, threshold, slice);
      }
      tryRows(trial, z, found);
    }
    return found;
  }

  void tryRows(const MedianTrial& trial, SizeType z, TrialResult& found) {
    const SizeType length = _voxels[0];
    std::fill(_planes.begin(), _planes.end(), Count(0));
    for (SizeType y = 0; y < _box[1]; ++y) {
      enterRow(_planes.data(), _columns.data() + y * length, length);
    }
    for (SizeType y = 0; y < _medians[1]; ++y) {
      if (y != 0) {
        slideRows(_planes.data(), _columns.data() + (y + _box[1] - 1) * length, _columns.data() + (y - 1) * length,
                  length);
      }
      const SizeType first = (z * _medians[1] + y) * _medians[0];
      raiseBounds({_lowest.data() + first, _below.data() + first}, _planes.data(), trial, _medians[0], found);
    }
  }
  const TileExtents _box, _medians, _voxels;
  const uint16 _rank;
  std::vector<uint8> _voxelsOfTile;
  std::vector<uint16> _lowest, _below;
  std::vector<Count> _columns, _planes;
};

}  // namespace NORV::TaviOperators::Impl
