#pragma once

#include <Impl/Loops/SliceLoop.hpp>
#include <Operator.hpp>
#include <Tavi/Types.hpp>
#include <Tavi/Volume.hpp>

#include <Measurement/SelectedVoxels.hpp>
#include <Measurement/SymmetricEigen.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// The positions of the selected voxels relative to their centre, a row per axis. The table fixes the order of
/// summation, so that sums do not depend on the number of threads.
class PositionTable {
public:
  /// An even number of columns; an odd voxel count leaves a column of zeros.
  explicit PositionTable(SizeType count)
      : _count(count),
        _columns(count + count % 2),
        _block(_columns == 0 ? Dimension<SizeType>() : Dimension<SizeType>(_columns, 3, 1)) {
    for (std::size_t axis = 0; axis < 3 && count != _columns; ++axis) {
      row(axis)[count] = 0.0;
    }
  }

  double* row(std::size_t axis) { return _block.getData() + axis * _columns; }
  const double* row(std::size_t axis) const { return _block.getData() + axis * _columns; }

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
          const double first = static_cast<double>(begin);
          for (SizeType i = 0; i < wordBits; ++i) {
            x[i] = first + static_cast<double>(i) - centre[0];
          }
          y = std::fill_n(y, wordBits, dy);
          z = std::fill_n(z, wordBits, dz);
          x += wordBits;
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

  /// The smallest and the largest coordinates along the rows of a basis.
  struct Bounds {
    Vector3 low, high;
  };

  /// NaN if there is no voxel or the basis is NaN. Which of equal bounds results makes no difference, so the columns
  /// are shared out to the threads.
  Bounds boundsAlong(OperatorBase& self, int threads, const Matrix3& basis) const {
    constexpr SizeType most = 65536;
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    if (_count == 0 || dot(basis[0], basis[0]) != dot(basis[0], basis[0])) {
      return {{nan, nan, nan}, {nan, nan, nan}};
    }
    std::vector<Bounds> parts((_count - 1) / most + 1);
    forEachSlice(self, threads, parts.size(), Steps::silent, [&](SizeType part) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto [low, high] = boundsOf(part * most, std::min(_count, (part + 1) * most), basis[axis]);
        parts[part].low[axis] = low;
        parts[part].high[axis] = high;
      }
    });
    Bounds all = parts.front();
    for (const Bounds& part : parts) {
      for (std::size_t axis = 0; axis < 3; ++axis) {
        all.low[axis] = std::min(all.low[axis], part.low[axis]);
        all.high[axis] = std::max(all.high[axis], part.high[axis]);
      }
    }
    return all;
  }

private:
  /// Of the columns from `begin` to `end`, of which there is at least one. Several chains hide the latency.
  std::pair<double, double> boundsOf(SizeType begin, SizeType end, const Vector3& axis) const {
    constexpr SizeType chains = 16;
    const double *x = row(0), *y = row(1), *z = row(2);
    std::array<double, chains> low, high;
    low.fill(std::numeric_limits<double>::infinity());
    high.fill(-std::numeric_limits<double>::infinity());
    for (SizeType i = begin; i < end; i += chains) {
      const SizeType length = std::min(chains, end - i);
      for (SizeType k = 0; k < length; ++k) {
        const double along = axis[0] * x[i + k] + axis[1] * y[i + k] + axis[2] * z[i + k];
        low[k] = along < low[k] ? along : low[k];
        high[k] = high[k] < along ? along : high[k];
      }
    }
    return {*std::min_element(low.begin(), low.end()), *std::max_element(high.begin(), high.end())};
  }

  SizeType _count, _columns;
  Volume<float64> _block;  // large blocks of volumes lie on huge pages
};

}  // namespace NORV::TaviOperators::Impl
