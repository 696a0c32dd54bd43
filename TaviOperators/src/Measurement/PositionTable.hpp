#pragma once

#include <Tavi/Types.hpp>

#include <Measurement/SelectedVoxels.hpp>
#include <Measurement/SymmetricEigen.hpp>

#include <array>
#include <bit>
#include <cstddef>
#include <limits>
#include <memory>
#include <utility>

namespace NORV::TaviOperators::Impl {

/// The positions of the selected voxels relative to their centre, a row per axis. The table fixes the order of
/// summation, so that sums do not depend on the number of threads.
class PositionTable {
public:
  /// An even number of columns; an odd voxel count leaves a column of zeros.
  explicit PositionTable(SizeType count)
      : _count(count),
        _columns(count + count % 2),
        _data(std::make_unique_for_overwrite<double[]>(3 * _columns)) {
    for (std::size_t axis = 0; axis < 3 && count != _columns; ++axis) {
      row(axis)[count] = 0.0;
    }
  }

  double* row(std::size_t axis) { return _data.get() + axis * _columns; }
  const double* row(std::size_t axis) const { return _data.get() + axis * _columns; }

  /// Enters the selected voxels of a slice from column `to` on.
  template <class T>
  void enterSlice(const View<const T>& view, SizeType tert, T value, const Vector3& centre, SizeType to) {
    double *x = row(0) + to, *y = row(1) + to, *z = row(2) + to;
    const double dz = static_cast<double>(tert) - centre[2];
    for (SizeType sec = 0; sec < view.dimSec; ++sec) {
      const double dy = static_cast<double>(sec) - centre[1];
      const auto enter = [&](SizeType prim) {
        *x++ = static_cast<double>(prim) - centre[0];
        *y++ = dy;
        *z++ = dz;
      };
      forEachSelection(view.row(sec, tert), view.dimPrim, view.stridePrim, value, [&](SizeType begin, uint64 word) {
        if (word == ~uint64{0}) {
          for (SizeType i = 0; i < wordBits; ++i) {
            enter(begin + i);
          }
          return;
        }
        for (; word != 0; word &= word - 1) {
          enter(begin + static_cast<SizeType>(std::countr_zero(word)));
        }
      });
    }
  }

  /// The sample covariance of the positions. Two columns are added up at a time, each in sums of its own. NaN for fewer
  /// than two voxels.
  Matrix3 covariance() const {
    constexpr std::array<std::pair<std::size_t, std::size_t>, 6> elements{
        {{0, 0}, {0, 1}, {0, 2}, {1, 1}, {1, 2}, {2, 2}}};
    const double *x = row(0), *y = row(1), *z = row(2);
    std::array<std::array<double, 2>, 6> sums{};
    for (SizeType i = 0; i < _columns; i += 2) {
      for (std::size_t lane = 0; lane < 2; ++lane) {
        const double dx = x[i + lane], dy = y[i + lane], dz = z[i + lane];
        sums[0][lane] += dx * dx;
        sums[1][lane] += dx * dy;
        sums[2][lane] += dx * dz;
        sums[3][lane] += dy * dy;
        sums[4][lane] += dy * dz;
        sums[5][lane] += dz * dz;
      }
    }
    const double divisor = _count < 2 ? std::numeric_limits<double>::quiet_NaN() : static_cast<double>(_count - 1);
    Matrix3 matrix{};
    for (std::size_t i = 0; i < elements.size(); ++i) {
      const auto [r, c] = elements[i];
      matrix[r][c] = matrix[c][r] = (sums[i][0] + sums[i][1]) / divisor;
    }
    return matrix;
  }

  /// The smallest and the largest coordinate along an axis; NaN if there is no voxel or the axis is NaN.
  std::pair<double, double> boundsAlong(const Vector3& axis) const {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    if (_count == 0 || dot(axis, axis) != dot(axis, axis)) {
      return {nan, nan};
    }
    const double *x = row(0), *y = row(1), *z = row(2);
    double low = std::numeric_limits<double>::infinity(), high = -low;
    for (SizeType i = 0; i < _count; ++i) {
      const double along = axis[0] * x[i] + axis[1] * y[i] + axis[2] * z[i];
      low = along < low ? along : low;
      high = high < along ? along : high;
    }
    return {low, high};
  }

private:
  SizeType _count, _columns;
  std::unique_ptr<double[]> _data;
};

}  // namespace NORV::TaviOperators::Impl
