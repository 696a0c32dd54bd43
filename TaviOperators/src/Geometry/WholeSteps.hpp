#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <Geometry/AffineMap.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace NORV::TaviOperators::Geometry {

using Impl::View;

/// Rows of a map whose positions are whole numbers everywhere: translations by whole voxels, flips, swapped axes, whole
/// scales and shears. A row of such an output is a strided row of the source between two runs of the outer value.
template <class T>
class WholeSteps {
public:
  WholeSteps(const AffineMap& map, const View<const T>& source, const View<T>& output)
      : _source(source),
        _extents{static_cast<int64>(source.dimPrim), static_cast<int64>(source.dimSec),
                 static_cast<int64>(source.dimTert)} {
    _isUsable = map.isAffine() && std::max({output.dimPrim, output.dimSec, output.dimTert}) <= AffineMap::exactColumns;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const float64* const row = map.matrix()[axis];
      for (std::size_t column = 0; column < 4; ++column) {
        const bool isStep = std::abs(row[column]) <= limits[column] && std::floor(row[column]) == row[column];
        _isUsable = _isUsable && isStep;
        _steps[axis][column] = isStep ? static_cast<int64>(row[column]) : 0;
      }
    }
    const std::array strides{source.stridePrim, source.strideSec, source.strideTert};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      _stride += _steps[axis][0] * strides[axis];
    }
  }

  /// Every position is exact in integers and in double precision.
  bool isUsable() const { return _isUsable; }

  /// Writes the voxels from column x on.
  void row(SizeType x, SizeType count, SizeType y, SizeType z, T outer, T* to) const {
    std::array<int64, 3> start{};
    int64 begin = 0, end = static_cast<int64>(count);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto& step = _steps[axis];
      start[axis] =
          step[0] * static_cast<int64>(x) + step[1] * static_cast<int64>(y) + step[2] * static_cast<int64>(z) + step[3];
      clip(start[axis], step[0], _extents[axis], begin, end);
    }
    if (begin >= end) {
      std::fill_n(to, count, outer);
      return;
    }
    std::fill_n(to, begin, outer);
    const int64 first = start[0] * _source.stridePrim + start[1] * _source.strideSec + start[2] * _source.strideTert;
    const T* from = _source.data + (first + begin * _stride);
    if (_stride == 1) {
      std::copy_n(from, end - begin, to + begin);
    } else if (_stride == -1) {
      std::reverse_copy(from - (end - begin - 1), from + 1, to + begin);
    } else {
      for (int64 i = begin; i < end; ++i) {
        to[i] = from[(i - begin) * _stride];
      }
    }
    std::fill_n(to + end, static_cast<int64>(count) - end, outer);
  }

private:
  // Of the steps along the three axes and of the offset: small enough for all sums to be exact.
  static constexpr std::array<float64, 4> limits{1 << 20, 1 << 20, 1 << 20, 1125899906842624.0};

  /// Leaves of [begin, end) the columns i for which `start + i * step` is an index below `extent`.
  static void clip(int64 start, int64 step, int64 extent, int64& begin, int64& end) {
    if (step < 0) {  // the same indices counted from the other end
      start = extent - 1 - start;
      step = -step;
    }
    if (step == 0) {
      end = start >= 0 && start < extent ? end : begin;
      return;
    }
    if (start < 0) {
      begin = std::max(begin, (step - 1 - start) / step);
    }
    end = start < extent ? std::min(end, (extent - 1 - start) / step + 1) : begin;
  }

  View<const T> _source;
  std::array<int64, 3> _extents;
  std::array<std::array<int64, 4>, 3> _steps{};
  int64 _stride = 0;  // in the source, from column to column
  bool _isUsable = false;
};

}  // namespace NORV::TaviOperators::Geometry
