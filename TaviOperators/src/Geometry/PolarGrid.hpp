#pragma once

#include <Tavi/Dimension.hpp>
#include <Tavi/Triple.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

/// Polar grids in single precision: their steps, and the tables that the position rules read.
namespace NORV::TaviOperators::Geometry {

using Tavi::SizeType;

/// The centre in voxels of the Cartesian volume and the radii of the polar grid.
struct PolarFrame {
  Tavi::Triple<float32> center;
  float32 minimum, maximum;

  float32 range() const { return maximum - minimum; }
};

/// A whole number of steps as a position.
inline float32 positionOf(SizeType index) { return static_cast<float32>(index); }

/// From one radius to the next, for `count` radii. Without a range worth dividing, radii are one voxel apart.
inline float32 radialStep(float32 range, SizeType count) {
  return std::abs(range) < 1e-6f ? 1.0f : range / positionOf(count - 1);
}
/// The same for the exponents of radii that grow exponentially.
inline float32 exponentStep(float32 range, SizeType count) {
  return std::abs(range) < 1e-6f ? 1.0f : std::log(range) / positionOf(count - 1);
}
/// From one azimuth to the next.
inline float32 azimuthStep(SizeType count) { return 6.2831855f / positionOf(count); }
/// From one polar angle to the next.
inline float32 polarStep(SizeType count) { return 3.1415927f / positionOf(count); }

/// `rule(i)` for all indices below `count`.
template <class Rule>
std::vector<float32> tableOf(SizeType count, const Rule& rule) {
  std::vector<float32> table(count);
  for (SizeType i = 0; i < count; ++i) {
    table[i] = rule(i);
  }
  return table;
}

/// The cosines and sines of evenly spaced angles from 0 on.
struct Angles {
  std::vector<float32> cosines, sines;

  Angles(SizeType count, float32 step)
      : cosines(tableOf(count, [step](SizeType i) { return std::cos(positionOf(i) * step); })),
        sines(tableOf(count, [step](SizeType i) { return std::sin(positionOf(i) * step); })) {}
};

/// Evenly spaced radii.
inline std::vector<float32> evenRadii(const PolarFrame& frame, SizeType count) {
  const float32 step = radialStep(frame.range(), count);
  return tableOf(count, [&](SizeType i) { return positionOf(i) * step + frame.minimum; });
}
/// Radii that grow exponentially where their exponent is above 0.
inline std::vector<float32> exponentialRadii(const PolarFrame& frame, SizeType count) {
  const float32 step = exponentStep(frame.range(), count);
  return tableOf(count, [&](SizeType i) {
    const float32 exponent = positionOf(i) * step + frame.minimum;
    return exponent > 0.0f ? std::exp(exponent) : exponent;
  });
}

/// Extents of a grid that is made for a range of radii. A range beyond all memory gives extents whose product
/// overflows.
inline Tavi::Dimension<SizeType> gridExtents(float32 range, SizeType azimuths, SizeType slices) {
  const float32 steps = std::min(std::ceil(range), 9223372036854775808.0f);
  return {static_cast<SizeType>(steps) + 1, azimuths, slices};
}

/// Part of a row of source positions.
struct PositionRow {
  static constexpr SizeType capacity = 256;
  using Coordinates = std::array<float32, capacity>;

  alignas(64) Coordinates x{}, y{}, z{};
  bool isInSlice = false;  ///< all z are the same whole number
};

/// Which voxels of a row a position rule is asked for.
struct RowPart {
  SizeType begin, count, y, z;
};

}  // namespace NORV::TaviOperators::Geometry
