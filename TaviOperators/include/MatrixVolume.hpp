#pragma once

#include <Impl/MatrixStaticSquare4x4.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>

#include <algorithm>
#include <cstddef>

/// A 4 x 4 matrix as the volume in which it passes between operators: 4 x 4 x 1 voxels, the element of row r and column
/// c at x = c, y = r.
namespace NORV::TaviOperators {

using TransformMatrix = Numera::MatrixStaticSquare4x4<float64>;

inline bool hasMatrixExtents(const Tavi::IVolume& volume) {
  return volume.getDimPrim() == TransformMatrix::order && volume.getDimSec() == TransformMatrix::order &&
         volume.getDimTert() == 1;
}

inline Tavi::VolumePtr<float64> makeMatrixVolume(const TransformMatrix& matrix) {
  const Tavi::VolumePtr<float64> volume(
      new Tavi::Volume<float64>(Tavi::Dimension<Tavi::SizeType>(TransformMatrix::order, TransformMatrix::order, 1)));
  for (std::size_t row = 0; row < TransformMatrix::order; ++row) {
    std::copy_n(matrix[row], TransformMatrix::order, volume->getData() + TransformMatrix::order * row);
  }
  return volume;
}

/// The volume must have the extents of a matrix. Its values are converted to double.
template <class T>
TransformMatrix readMatrix(const Tavi::Volume<T>& volume) {
  const auto view = Tavi::viewOf(volume);
  TransformMatrix matrix;
  for (std::size_t row = 0; row < TransformMatrix::order; ++row) {
    for (std::size_t column = 0; column < TransformMatrix::order; ++column) {
      matrix[row][column] = static_cast<float64>(view.at(column, row, 0));
    }
  }
  return matrix;
}

}  // namespace NORV::TaviOperators
