#pragma once

#include <MatrixVolume.hpp>
#include <Tavi/Types.hpp>

#include <array>

namespace NORV::TaviOperators::Geometry {

using Tavi::SizeType;

/// Homogeneous source positions of output voxels.
class AffineMap {
public:
  /// The four sums p, q, r, w of the rows of the matrix.
  using Sums = std::array<float64, 4>;

  /// `inverse` maps output positions to input positions.
  explicit AffineMap(const TransformMatrix& inverse) : _matrix(inverse) {}

  /// w is exactly 1 everywhere, so that a division by it changes nothing.
  bool isAffine() const {
    const float64* const last = _matrix[3];
    return last[0] == 0.0 && last[1] == 0.0 && last[2] == 0.0 && last[3] == 1.0;
  }

  /// What the voxels of a row have in common: z enters the sums first, then y.
  Sums rowStart(SizeType y, SizeType z) const {
    Sums sums{};
    for (std::size_t row = 0; row < sums.size(); ++row) {
      const float64* const m = _matrix[row];
      sums[row] = m[2] * static_cast<float64>(z) + m[3] + m[1] * static_cast<float64>(y);
    }
    return sums;
  }

  /// The column index passes through single precision, so columns beyond 2^24 share positions.
  static float64 column(SizeType x) { return static_cast<float64>(static_cast<float32>(x)); }
  /// Up to this column, `column` is exact.
  static constexpr SizeType exactColumns = SizeType{1} << 24;

  /// The change of each sum from column to column.
  Sums perColumn() const { return {_matrix[0][0], _matrix[1][0], _matrix[2][0], _matrix[3][0]}; }

  const TransformMatrix& matrix() const { return _matrix; }

private:
  TransformMatrix _matrix;
};

}  // namespace NORV::TaviOperators::Geometry
