#pragma once

#include <Impl/Loops/SliceLoop.hpp>

#include <Geometry/PolarGrid.hpp>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

/// The position rules of the transforms between Cartesian coordinates and polar grids: where in the source the voxels
/// of a row of the output lie. All arithmetic is in single precision, each operation rounded once.
namespace NORV::TaviOperators::Geometry {

inline void placeInSlice(const RowPart& part, PositionRow& row) {
  std::fill_n(row.z.data(), part.count, positionOf(part.z));
  row.isInSlice = true;
}

/// Cartesian positions of a grid of radius, azimuth and height.
class CylinderPositions {
public:
  CylinderPositions(const PolarFrame& frame, std::vector<float32> radii, SizeType azimuths)
      : _center(frame.center),
        _radii(std::move(radii)),
        _azimuths(azimuths, azimuthStep(azimuths)) {}

  void fill(const RowPart& part, PositionRow& row) const {
    const float32 cosine = _azimuths.cosines[part.y], sine = _azimuths.sines[part.y];
    const float32* const radii = _radii.data() + part.begin;
    for (SizeType i = 0; i < part.count; ++i) {
      row.x[i] = radii[i] * cosine + _center.prim;
      row.y[i] = radii[i] * sine + _center.sec;
    }
    placeInSlice(part, row);
  }

private:
  const Tavi::Triple<float32> _center;
  const std::vector<float32> _radii;
  const Angles _azimuths;
};

/// Cartesian positions of a grid of radius, azimuth and polar angle.
class SpherePositions {
public:
  SpherePositions(const PolarFrame& frame, const Tavi::Dimension<SizeType>& grid)
      : _center(frame.center),
        _radii(evenRadii(frame, grid.prim)),
        _azimuths(grid.sec, azimuthStep(grid.sec)),
        _polar(grid.tert, polarStep(grid.tert)) {}

  void fill(const RowPart& part, PositionRow& row) const {
    const float32 cosine = _azimuths.cosines[part.y], sine = _azimuths.sines[part.y];
    const float32 polarCosine = _polar.cosines[part.z], polarSine = _polar.sines[part.z];
    const float32* const radii = _radii.data() + part.begin;
    for (SizeType i = 0; i < part.count; ++i) {
      const float32 horizontal = radii[i] * polarSine;
      row.x[i] = horizontal * cosine + _center.prim;
      row.y[i] = horizontal * sine + _center.sec;
      row.z[i] = radii[i] * polarCosine + _center.tert;
    }
  }

private:
  const Tavi::Triple<float32> _center;
  const std::vector<float32> _radii;
  const Angles _azimuths, _polar;
};

/// The azimuth index of a direction.
inline float32 azimuthIndex(float32 dx, float32 dy, float32 step) {
  const float32 angle = std::atan2(dy, dx);
  return (angle < 0.0f ? angle + 6.2831855f : angle) / step;
}

/// Two numbers for each row and column that are the same in all slices. They are computed once, unless there is one
/// slice only: then nothing is stored.
class SlicePlane {
public:
  /// `rule(part, first, second)` computes those of a part of a row. After an abort they are not complete.
  template <class Rule>
  SlicePlane(OperatorBase& self, int threads, const Tavi::Dimension<SizeType>& extents, const Rule& rule)
      : _columns(extents.prim) {
    if (extents.tert > 1) {
      _first.resize(extents.prim * extents.sec);
      _second.resize(_first.size());
      Impl::forEachSlice(self, threads, extents.sec, Impl::Steps::silent, [&](SizeType y) {
        rule(RowPart{0, _columns, y, 0}, _first.data() + y * _columns, _second.data() + y * _columns);
      });
    }
  }

  bool isStored() const { return !_first.empty(); }
  const float32* first(const RowPart& part) const { return _first.data() + part.y * _columns + part.begin; }
  const float32* second(const RowPart& part) const { return _second.data() + part.y * _columns + part.begin; }

private:
  SizeType _columns;
  std::vector<float32> _first, _second;
};

/// Positions in a grid of radius, azimuth and height of a Cartesian volume. `RadialIndex` turns radii into indices.
template <class RadialIndex>
class CylinderIndices {
public:
  CylinderIndices(OperatorBase& self, int threads, const PolarFrame& frame, const Tavi::Dimension<SizeType>& extents,
                  const RadialIndex& radialIndex, SizeType azimuths)
      : _center(frame.center),
        _radialIndex(radialIndex),
        _azimuthStep(azimuthStep(azimuths)),
        _plane(self, threads, extents,
               [this](const RowPart& part, float32* radial, float32* azimuth) { compute(part, radial, azimuth); }) {}

  void fill(const RowPart& part, PositionRow& row) const {
    if (_plane.isStored()) {
      std::copy_n(_plane.first(part), part.count, row.x.data());
      std::copy_n(_plane.second(part), part.count, row.y.data());
    } else {
      compute(part, row.x.data(), row.y.data());
    }
    placeInSlice(part, row);
  }

private:
  void compute(const RowPart& part, float32* radial, float32* azimuth) const {
    const float32 dy = positionOf(part.y) - _center.sec;
    for (SizeType i = 0; i < part.count; ++i) {
      const float32 dx = positionOf(part.begin + i) - _center.prim;
      radial[i] = _radialIndex(std::sqrt(dx * dx + dy * dy));
      azimuth[i] = azimuthIndex(dx, dy, _azimuthStep);
    }
  }

  const Tavi::Triple<float32> _center;
  const RadialIndex _radialIndex;
  const float32 _azimuthStep;
  const SlicePlane _plane;  // last: it is computed from the others
};

/// Positions in a grid of radius, azimuth and polar angle of a Cartesian volume.
class SphereIndices {
public:
  SphereIndices(OperatorBase& self, int threads, const PolarFrame& frame, const Tavi::Dimension<SizeType>& extents,
                const Tavi::Dimension<SizeType>& grid)
      : _frame(frame),
        _radialStep(radialStep(frame.range(), grid.prim)),
        _azimuthStep(azimuthStep(grid.sec)),
        _polarStep(polarStep(grid.tert)),
        _plane(self, threads, extents,
               [this](const RowPart& part, float32* square, float32* azimuth) { compute(part, square, azimuth); }) {}

  void fill(const RowPart& part, PositionRow& row) const {
    if (_plane.isStored()) {
      std::copy_n(_plane.first(part), part.count, row.x.data());
      std::copy_n(_plane.second(part), part.count, row.y.data());
    } else {
      compute(part, row.x.data(), row.y.data());
    }
    const float32 dz = positionOf(part.z) - _frame.center.tert;
    const float32 square = dz * dz;
    for (SizeType i = 0; i < part.count; ++i) {
      const float32 radius = std::sqrt(row.x[i] + square);
      row.x[i] = (radius - _frame.minimum) / _radialStep;
      row.z[i] = (radius == 0.0f ? 0.0f : std::acos(dz / radius)) / _polarStep;
    }
  }

private:
  /// Squares of the distances to the axis, and azimuth indices.
  void compute(const RowPart& part, float32* square, float32* azimuth) const {
    const float32 dy = positionOf(part.y) - _frame.center.sec;
    for (SizeType i = 0; i < part.count; ++i) {
      const float32 dx = positionOf(part.begin + i) - _frame.center.prim;
      square[i] = dx * dx + dy * dy;
      azimuth[i] = azimuthIndex(dx, dy, _azimuthStep);
    }
  }

  const PolarFrame _frame;
  const float32 _radialStep, _azimuthStep, _polarStep;
  const SlicePlane _plane;  // last: it is computed from the others
};

}  // namespace NORV::TaviOperators::Geometry
