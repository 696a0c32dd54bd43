#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <Vectors/Lanes.hpp>

#include <array>
#include <cmath>

/// Sampling of a view between its voxels, for the operators that compute a source position for each output voxel.
namespace NORV::TaviOperators::Geometry {

using Impl::View;
using Tavi::SizeType;

/// The rounding of linear results to whole numbers, halves upwards.
struct HalfUp {
  template <class Real>
  Real operator()(Real value) const {
    return std::floor(value + Real(0.5));
  }
};

/// Linear results keep their fractions.
struct Unrounded {
  template <class Real>
  Real operator()(Real value) const {
    return value;
  }
};

/// The eight corners of a cell, as scalars or as vectors. The corner c<ijk> lies i, j and k voxels further along x, y
/// and z than c000.
template <class V>
struct Corners {
  V c000, c100, c010, c110, c001, c101, c011, c111;
};

/// The trilinear blend at the fractions fx, fy, fz of the cell, on one kind of lanes. The order of the operations is
/// part of the result.
template <class Lanes, class V = typename Lanes::V>
[[gnu::always_inline]] inline V blend(Lanes, const Corners<V>& c, V fx, V fy, V fz) {
  const auto add = [](V a, V b) { return Lanes::add(a, b); };
  const auto sub = [](V a, V b) { return Lanes::sub(a, b); };
  const auto mul = [](V a, V b) { return Lanes::mul(a, b); };
  const V xy = add(sub(sub(c.c000, c.c010), c.c100), c.c110);
  const V xz = add(sub(sub(c.c000, c.c001), c.c100), c.c101);
  const V yz = add(sub(sub(c.c000, c.c001), c.c010), c.c011);
  V xyz = sub(add(c.c001, c.c010), c.c011);
  xyz = sub(sub(sub(add(xyz, c.c100), c.c101), c.c110), c.c000);
  xyz = add(xyz, c.c111);
  V sum = add(c.c000, mul(sub(c.c100, c.c000), fx));
  sum = add(sum, mul(sub(c.c010, c.c000), fy));
  sum = add(sum, mul(sub(c.c001, c.c000), fz));
  sum = add(sum, mul(mul(xy, fx), fy));
  sum = add(sum, mul(mul(xz, fx), fz));
  sum = add(sum, mul(mul(yz, fy), fz));
  return add(sum, mul(mul(mul(xyz, fx), fy), fz));
}

/// Reads a view at positions of type `Real`, which is also the precision of the linear blend. Positions count voxels
/// along the axes of the view from its first voxel. What lies outside the view has the outer value; so have positions
/// that are infinite or NaN. Copies are cheap and keep nothing alive.
template <class T, class Real>
class Sampler {
public:
  Sampler(const View<const T>& source, T outer)
      : _source(source),
        _extents{static_cast<int64>(source.dimPrim), static_cast<int64>(source.dimSec),
                 static_cast<int64>(source.dimTert)},
        _outer(outer) {}

  const View<const T>& source() const { return _source; }
  T outer() const { return _outer; }

  /// The voxel whose centre is next to the position, halves upwards.
  T nearest(Real x, Real y, Real z) const {
    const Real half(0.5);
    const Real i = std::floor(x + half), j = std::floor(y + half), k = std::floor(z + half);
    if (!(isIndex(i) && isIndex(j) && isIndex(k))) {
      return _outer;
    }
    return corner<T>(static_cast<int64>(i), static_cast<int64>(j), static_cast<int64>(k));
  }

  /// The trilinear blend of the eight voxels around the position, each replaced by the outer value where it lies
  /// outside, rounded by `round`.
  template <class Rounding>
  Real linear(Real x, Real y, Real z, Rounding round) const {
    const Real i = std::floor(x), j = std::floor(y), k = std::floor(z);
    if (!(isIndex(i) && isIndex(j) && isIndex(k))) {
      const auto outer = static_cast<Real>(_outer);
      const Corners<Real> all{outer, outer, outer, outer, outer, outer, outer, outer};
      return round(blend(Impl::OneLane<Real>(), all, fraction(x - i), fraction(y - j), fraction(z - k)));
    }
    const Corners<Real> corners = cell(static_cast<int64>(i), static_cast<int64>(j), static_cast<int64>(k));
    return round(blend(Impl::OneLane<Real>(), corners, x - i, y - j, z - k));
  }

private:
  static constexpr Real noIndex = Real(4611686018427387904.0);  // 2^62: beyond every extent that memory can hold

  /// Whether a whole number may be the index of a voxel or of one beside it; false for NaN.
  static bool isIndex(Real whole) { return whole >= Real(-1) && whole < noIndex; }
  /// Infinite positions and NaN have none.
  static Real fraction(Real difference) { return difference >= Real(0) ? difference : Real(0); }
  static bool isInside(int64 index, int64 extent) { return index >= 0 && index < extent; }

  template <class Value>
  Value corner(int64 i, int64 j, int64 k) const {
    if (!(isInside(i, _extents[0]) && isInside(j, _extents[1]) && isInside(k, _extents[2]))) {
      return static_cast<Value>(_outer);
    }
    return static_cast<Value>(_source.data[i * _source.stridePrim + j * _source.strideSec + k * _source.strideTert]);
  }

  Corners<Real> cell(int64 i, int64 j, int64 k) const {
    if (i >= 0 && j >= 0 && k >= 0 && i + 1 < _extents[0] && j + 1 < _extents[1] && k + 1 < _extents[2]) {
      return insideCell(i, j, k);
    }
    return {corner<Real>(i, j, k),         corner<Real>(i + 1, j, k),        corner<Real>(i, j + 1, k),
            corner<Real>(i + 1, j + 1, k), corner<Real>(i, j, k + 1),        corner<Real>(i + 1, j, k + 1),
            corner<Real>(i, j + 1, k + 1), corner<Real>(i + 1, j + 1, k + 1)};
  }

  Corners<Real> insideCell(int64 i, int64 j, int64 k) const {
    const int64 x = _source.stridePrim, y = _source.strideSec, z = _source.strideTert;
    const T* const at = _source.data + i * x + j * y + k * z;
    const auto voxel = [at](int64 offset) { return static_cast<Real>(at[offset]); };
    return {voxel(0), voxel(x), voxel(y), voxel(x + y), voxel(z), voxel(x + z), voxel(y + z), voxel(x + y + z)};
  }

  View<const T> _source;
  std::array<int64, 3> _extents;
  T _outer;
};

}  // namespace NORV::TaviOperators::Geometry
