#pragma once

#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <Geometry/PolarGrid.hpp>

#include <array>
#include <type_traits>

/// Sampling at rows of single-precision positions. Reading depends on the voxel type of the input only, writing on that
/// of the output only: they meet in rows of lanes, so that pairs of voxel types need no code of their own. Both are
/// compiled once for all transforms, in RowSampler.cpp.
namespace NORV::TaviOperators::Geometry {

using Impl::View;

/// A type that holds all voxels of type `T` and is common to many.
template <class T>
using WideVoxel = std::conditional_t<std::is_integral_v<T>, int64, float64>;

/// A value for each position of a row.
template <class Lane>
using LaneRow = std::array<Lane, PositionRow::capacity>;

/// Reads a view at positions that count voxels along its axes from its first voxel. What lies outside has the outer
/// value, and so have positions that are infinite or NaN.
template <class In>
class RowSampler {
public:
  RowSampler(const View<const In>& source, In outer);

  /// The voxels next to the positions, halves upwards.
  void nearest(const PositionRow& positions, SizeType count, In* values) const;
  /// The same in lanes that other voxel types can be stored from.
  void nearestWide(const PositionRow& positions, SizeType count, WideVoxel<In>* lanes) const;
  /// The trilinear blends of the eight voxels around the positions, in single precision and not rounded. `lanes` is a
  /// whole LaneRow.
  void linear(const PositionRow& positions, SizeType count, float32* lanes) const;

private:
  void linearInVectors(const PositionRow& positions, SizeType count, float32* lanes) const;

  View<const In> _source;
  In _outer;
  bool _isNarrow;  ///< positions are exact in single precision, and offsets fit 32 bits
};

/// Writes voxels every `stride` voxels from `to` on, by plain conversion.
template <class Lane, class Out>
void storeLanes(const Lane* lanes, SizeType count, Out* to, int64 stride);

/// The same for interpolated values: rounded to whole numbers, halves upwards, for integer voxels.
template <class Out>
void storeBlends(const float32* blends, SizeType count, Out* to, int64 stride);

/// Writes the samples at part of a row of positions.
template <class In, class Out>
void writeSamples(const RowSampler<In>& sampler, bool isLinear, const PositionRow& positions, SizeType count, Out* to,
                  int64 stride) {
  if (isLinear) {
    LaneRow<float32> blends;
    sampler.linear(positions, count, blends.data());
    storeBlends(blends.data(), count, to, stride);
  } else if constexpr (std::is_same_v<In, Out>) {
    LaneRow<In> voxels;
    sampler.nearest(positions, count, voxels.data());
    storeLanes(voxels.data(), count, to, stride);
  } else {
    LaneRow<WideVoxel<In>> lanes;
    sampler.nearestWide(positions, count, lanes.data());
    storeLanes(lanes.data(), count, to, stride);
  }
}

}  // namespace NORV::TaviOperators::Geometry
