#pragma once

#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>

#include <Rank/BoxMedianPlan.hpp>
#include <Rank/BoxMedians.hpp>
#include <Rank/ClassMedians.hpp>
#include <Rank/KeyLanes.hpp>
#include <Rank/StructuringElement.hpp>
#include <Rank/ThresholdMedians.hpp>
#include <Rank/VoxelBytes.hpp>

#include <algorithm>
#include <limits>
#include <type_traits>

namespace NORV::TaviOperators::Impl {

/// The lower medians under a box whose neighbouring positions share what they can: sorted parts of small boxes, and of
/// large ones, for voxels of 8 and 16 bits, the counts below thresholds.
template <class T>
class BoxMedianFilter {
  using Key = KeyOf<T>;
  using Medians = BoxMedians<Key>;

public:
  /// `from` and `to` are the positions of the anchor at which the element lies inside the volume, in dense rows.
  /// Returns false where this takes more than `steps` per voxel; then nothing was done. The run counts `slices` steps
  /// of the operator, whatever its parts are.
  static bool run(OperatorBase& self, int threads, const View<const T>& from, const View<T>& to,
                  const StructuringElement& element, double steps, SizeType slices) {
    View<const T> first = from;
    first.data += element.low[0] * from.stridePrim + element.low[1] * from.strideSec + element.low[2] * from.strideTert;
    const TileExtents box{element.extent(0), element.extent(1), element.extent(2)};
    if (box[0] >= 2 && element.count >= smallestSorted && element.count <= largestSorted &&
        Medians::canRun(to.dimPrim, box[0])) {
      const BoxMedianPlan plan(box);
      if (Medians::stepsPerVoxel(plan) < std::min(steps, thresholdSteps)) {
        runSorted(self, threads, plan, first, to, slices);
        return true;
      }
    }
    const SizeType longest = *std::max_element(box.begin(), box.end());
    if (thresholdSteps >= steps || element.count > std::numeric_limits<uint16>::max() || longest > longestThresholds) {
      return false;
    }
    if (box[1] * box[2] <= std::numeric_limits<uint8>::max()) {
      runThresholds<TileMedians<uint8>>(self, threads, box, first, to, slices);
    } else {
      runThresholds<TileMedians<uint16>>(self, threads, box, first, to, slices);
    }
    return true;
  }

private:
  static_assert(std::is_same_v<T, uint8> || std::is_same_v<T, uint16>);
  template <class Count>
  using TileMedians = std::conditional_t<sizeof(T) == 1, ThresholdMedians<Count>, ClassMedians<Count>>;

  static constexpr SizeType width = 128, height = 16;  // of a tile of positions
  static constexpr SizeType longestThresholds = 128;   // voxels of a box; tiles are at most 256 wide with it
  static constexpr SizeType smallestSorted = 28;       // voxels; fewer are ranked in registers
  static constexpr SizeType largestSorted = 512;       // voxels; the lists of more leave the cache
  static constexpr double nanosecondsPerStep = 0.3;
  /// For grey values that fill their range; fewer take less.
  static constexpr double thresholdSteps = (sizeof(T) == 1 ? 7680.0 : 6400.0) / static_cast<double>(Medians::lanes);

  static void runSorted(OperatorBase& self, int threads, const BoxMedianPlan& plan, const View<const T>& first,
                        const View<T>& to, SizeType slices) {
    const LoopTime time = LoopTime::of(to.size(), nanosecondsPerStep * Medians::stepsPerVoxel(plan));
    PerThread<Medians> medians(
        threads, to.dimTert, [&] { return Medians(plan, KeyBits<Key>::template of<T>(), bytesOf(first), bytesOf(to)); },
        time);
    forEachPartOf(
        self, threads, to.dimTert, slices, Steps::counted, [&medians](SizeType tert) { medians.mine()(tert); },
        Schedule::fixed, time);
  }

  /// In slabs of some slices, so that what tiles have in common with their neighbours stays a small part.
  template <class Tile>
  static void runThresholds(OperatorBase& self, int threads, const TileExtents& box, const View<const T>& first,
                            const View<T>& to, SizeType slices) {
    const LoopTime time = LoopTime::of(to.size(), nanosecondsPerStep * thresholdSteps);
    const SizeType team = static_cast<SizeType>(teamSize(threads, to.dimTert, time));
    const SizeType depth = std::min(std::max(height, box[2]), (to.dimTert + team - 1) / team);
    const SizeType slabs = (to.dimTert + depth - 1) / depth;
    const auto filterSlab = [&](SizeType slab) {
      const SizeType tert = slab * depth, slicesOfSlab = std::min(depth, to.dimTert - tert);
      const SizeType rows = std::max(height, box[1]);
      for (SizeType sec = 0; sec < to.dimSec; sec += rows) {
        for (SizeType prim = 0; prim < to.dimPrim && !self.isAborted(); prim += width) {
          const TileExtents tile{std::min(width, to.dimPrim - prim), std::min(rows, to.dimSec - sec), slicesOfSlab};
          filterTile<Tile>(box, tile, {prim, sec, tert}, first, to);
        }
      }
    };
    forEachPartOf(self, threads, slabs, slices, Steps::counted, filterSlab, Schedule::fixed, time);
  }

  template <class Tile>
  static void filterTile(const TileExtents& box, const TileExtents& tile, const TileExtents& at,
                         const View<const T>& first, const View<T>& to) {
    Tile medians(box, tile);
    const TileExtents& extents = medians.extents();
    T* voxels = medians.voxels();
    for (SizeType z = 0; z < extents[2]; ++z) {
      for (SizeType y = 0; y < extents[1]; ++y, voxels += extents[0]) {
        std::copy_n(first.row(at[1] + y, at[2] + z) + at[0], extents[0], voxels);
      }
    }
    medians.find();
    const uint16* median = medians.medians().data();
    for (SizeType z = 0; z < tile[2]; ++z) {
      for (SizeType y = 0; y < tile[1]; ++y, median += tile[0]) {
        std::transform(median, median + tile[0], to.row(at[1] + y, at[2] + z) + at[0],
                       [](uint16 value) { return static_cast<T>(value); });
      }
    }
  }
};

}  // namespace NORV::TaviOperators::Impl
