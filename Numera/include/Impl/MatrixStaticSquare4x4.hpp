#pragma once

#include <Impl/Failures.hpp>

#include <array>
#include <cmath>
#include <cstddef>

namespace NORV::Numera {

/// A 4 x 4 matrix, held row by row.
template <class T>
class MatrixStaticSquare4x4 {
public:
  static constexpr std::size_t order = 4;

  /// All elements are 0.
  MatrixStaticSquare4x4() = default;

  static MatrixStaticSquare4x4 identity() {
    MatrixStaticSquare4x4 matrix;
    for (std::size_t i = 0; i < order; ++i) {
      matrix.at(i, i) = T(1);
    }
    return matrix;
  }

  std::size_t getNumberOfElements() const { return _numberOfElements; }
  std::size_t getNumberOfRows() const { return _numberOfRows; }
  std::size_t getNumberOfColumns() const { return _numberOfColumns; }

  /// The first of the four elements of a row. Throws `Exceptions::IndexOutOfRange` for a row of 4 or above.
  T* operator[](std::size_t row) { return _elements.data() + order * checked(row); }
  const T* operator[](std::size_t row) const { return _elements.data() + order * checked(row); }

  /// Expanded along the first row.
  T getDeterminant() const {
    T sum(0);
    for (std::size_t column = 0; column < order; ++column) {
      sum += sign(column) * at(0, column) * minor(0, column);
    }
    return sum;
  }

  /// Replaces the matrix by its inverse, the adjugate divided by the determinant. Throws `Exceptions::InvalidArg` and
  /// changes nothing where the determinant is exactly 0. There is no tolerance: a nearly singular matrix is inverted.
  void Invert() {
    const T determinant = getDeterminant();
    if (determinant == T(0.0)) {
      Impl::throwInvalid<T>("Matrix::Invert", "Matrix is not invertible!");
    }
    MatrixStaticSquare4x4 inverse;
    for (std::size_t i = 0; i < order; ++i) {
      for (std::size_t j = 0; j < order; ++j) {
        inverse.at(i, j) = sign(i + j) * minor(j, i) / determinant;
      }
    }
    *this = inverse;
  }

  friend MatrixStaticSquare4x4 operator*(const MatrixStaticSquare4x4& a, const MatrixStaticSquare4x4& b) {
    MatrixStaticSquare4x4 product;
    for (std::size_t row = 0; row < order; ++row) {
      for (std::size_t column = 0; column < order; ++column) {
        T sum(0.0);
        for (std::size_t k = 0; k < order; ++k) {
          sum += a.at(row, k) * b.at(k, column);
        }
        product.at(row, column) = sum;
      }
    }
    return product;
  }

  friend bool operator==(const MatrixStaticSquare4x4& a, const MatrixStaticSquare4x4& b) {
    return a._elements == b._elements;
  }

private:
  T& at(std::size_t row, std::size_t column) { return _elements[order * row + column]; }
  const T& at(std::size_t row, std::size_t column) const { return _elements[order * row + column]; }

  static std::size_t checked(std::size_t row) {
    if (row >= order) {
      Impl::throwOutOfRange<T>("Matrix::operator []", row, order);
    }
    return row;
  }

  static T sign(std::size_t exponent) { return static_cast<T>(std::pow(-1.0, static_cast<double>(exponent))); }

  /// The determinant of what is left without a row and a column, expanded along its first row.
  T minor(std::size_t row, std::size_t column) const {
    std::array<std::size_t, 3> r{}, c{};
    for (std::size_t i = 0; i < 3; ++i) {
      r[i] = i + (i >= row ? 1 : 0);
      c[i] = i + (i >= column ? 1 : 0);
    }
    const auto pair = [&](std::size_t a, std::size_t b) {
      return at(r[1], c[a]) * at(r[2], c[b]) - at(r[1], c[b]) * at(r[2], c[a]);
    };
    return at(r[0], c[0]) * pair(1, 2) - at(r[0], c[1]) * pair(0, 2) + at(r[0], c[2]) * pair(0, 1);
  }

  std::array<T, order * order> _elements{};
  std::size_t _numberOfElements = order * order;
  std::size_t _numberOfRows = order;
  std::size_t _numberOfColumns = order;
};

}  // namespace NORV::Numera
