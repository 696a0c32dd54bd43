#include "support/ExpectFailure.hpp"

#include <Impl/MatrixStaticSquare4x4.hpp>
#include <Rational.hpp>
#include <Tavi/Exceptions.hpp>
#include <Tavi/Types.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>
#include <vector>

namespace NORV::Tests {
namespace {

using Matrix = Numera::MatrixStaticSquare4x4<float64>;
using Fraction = Numera::Rational<int64>;
using Fractions = std::array<std::array<Fraction, 4>, 4>;
using Integers = std::array<std::array<int64, 4>, 4>;

Fraction sum(const Fraction& a, const Fraction& b) {
  return {a.getNumerator() * b.getDenominator() + b.getNumerator() * a.getDenominator(),
          a.getDenominator() * b.getDenominator()};
}
Fraction product(const Fraction& a, const Fraction& b) {
  return {a.getNumerator() * b.getNumerator(), a.getDenominator() * b.getDenominator()};
}
Fraction quotient(const Fraction& a, const Fraction& b) {
  return product(a, Fraction(b.getDenominator(), b.getNumerator()));
}

/// The exact inverse by elimination; false for a singular matrix.
bool invertExactly(const Integers& matrix, Fractions& inverse) {
  Fractions left;
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) {
      left[i][j] = Fraction(matrix[i][j], 1);
      inverse[i][j] = Fraction(i == j ? 1 : 0, 1);
    }
  }
  for (std::size_t column = 0; column < 4; ++column) {
    std::size_t pivot = column;
    while (pivot < 4 && left[pivot][column] == Fraction(0, 1)) {
      ++pivot;
    }
    if (pivot == 4) {
      return false;
    }
    std::swap(left[pivot], left[column]);
    std::swap(inverse[pivot], inverse[column]);
    const Fraction by = left[column][column];
    for (std::size_t j = 0; j < 4; ++j) {
      left[column][j] = quotient(left[column][j], by);
      inverse[column][j] = quotient(inverse[column][j], by);
    }
    for (std::size_t row = 0; row < 4; ++row) {
      if (row != column) {
        const Fraction times = product(Fraction(-1, 1), left[row][column]);
        for (std::size_t j = 0; j < 4; ++j) {
          left[row][j] = sum(left[row][j], product(times, left[column][j]));
          inverse[row][j] = sum(inverse[row][j], product(times, inverse[column][j]));
        }
      }
    }
  }
  return true;
}

Matrix fromIntegers(const Integers& integers) {
  Matrix matrix;
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) {
      matrix[i][j] = static_cast<float64>(integers[i][j]);
    }
  }
  return matrix;
}

Integers randomIntegers(std::mt19937& random, int64 largest) {
  std::uniform_int_distribution<int64> any(-largest, largest);
  Integers matrix{};
  for (auto& row : matrix) {
    for (int64& value : row) {
      value = any(random);
    }
  }
  return matrix;
}

TEST(MatrixStaticSquare4x4, BeginsAsZeroAndHoldsItsElementsRowByRow) {
  Matrix matrix;
  EXPECT_EQ(matrix.getNumberOfElements(), 16u);
  EXPECT_EQ(matrix.getNumberOfRows(), 4u);
  EXPECT_EQ(matrix.getNumberOfColumns(), 4u);
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) {
      EXPECT_EQ(matrix[i][j], 0.0);
      EXPECT_EQ(Matrix::identity()[i][j], i == j ? 1.0 : 0.0);
    }
    EXPECT_EQ(&matrix[i][0], &matrix[0][0] + 4 * i);
  }
}

TEST(MatrixStaticSquare4x4, TheInverseOfIntegersIsThatOfExactFractions) {
  std::mt19937 random(3);
  int regular = 0, singular = 0;
  for (int attempt = 0; attempt < 2000; ++attempt) {
    const Integers integers = randomIntegers(random, attempt % 2 == 0 ? 1 : 9);
    Matrix matrix = fromIntegers(integers);
    Fractions exact;
    if (!invertExactly(integers, exact)) {
      ++singular;
      const Matrix before = matrix;
      expectFailure<Exceptions::InvalidArg>([&] { matrix.Invert(); }, "Matrix is not invertible!", "Matrix::Invert");
      EXPECT_TRUE(matrix == before);
      continue;
    }
    ++regular;
    matrix.Invert();
    for (std::size_t i = 0; i < 4; ++i) {
      for (std::size_t j = 0; j < 4; ++j) {
        // Minors and determinant are exact, so that only the division rounds.
        ASSERT_EQ(matrix[i][j], static_cast<float64>(exact[i][j].getNumerator()) /
                                    static_cast<float64>(exact[i][j].getDenominator()));
      }
    }
  }
  EXPECT_GT(regular, 1000);
  EXPECT_GT(singular, 100);
}

TEST(MatrixStaticSquare4x4, ProductsOfIntegersAreExact) {
  std::mt19937 random(4);
  for (int attempt = 0; attempt < 200; ++attempt) {
    const Integers a = randomIntegers(random, 1000), b = randomIntegers(random, 1000);
    Integers expected{};
    for (std::size_t i = 0; i < 4; ++i) {
      for (std::size_t j = 0; j < 4; ++j) {
        for (std::size_t k = 0; k < 4; ++k) {
          expected[i][j] += a[i][k] * b[k][j];
        }
      }
    }
    ASSERT_TRUE(fromIntegers(a) * fromIntegers(b) == fromIntegers(expected));
  }
}

TEST(MatrixStaticSquare4x4, ProductsAddTheirTermsInOrder) {
  Matrix a, b;
  const std::array<float64, 4> terms{1e16, 1.0, -1e16, 0.5};
  for (std::size_t k = 0; k < 4; ++k) {
    a[1][k] = terms[k];
    b[k][2] = 1;
  }
  EXPECT_EQ((a * b)[1][2], ((0.0 + 1e16 + 1.0) - 1e16) + 0.5);
}

TEST(MatrixStaticSquare4x4, ThereIsNoToleranceForNearlySingularMatrices) {
  Matrix matrix = Matrix::identity();
  matrix[2][2] = 1e-300;
  matrix.Invert();
  EXPECT_EQ(matrix[2][2], 1 / 1e-300);
  EXPECT_EQ(matrix[0][0], 1.0);
}

TEST(MatrixStaticSquare4x4, TheLastRowOfAnAffineInverseIsExact) {
  std::mt19937 random(5);
  std::normal_distribution<float64> any(0, 10);
  for (int attempt = 0; attempt < 1000; ++attempt) {
    Matrix matrix = Matrix::identity();
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 4; ++j) {
        matrix[i][j] = any(random);
      }
    }
    matrix.Invert();
    for (std::size_t j = 0; j < 4; ++j) {
      ASSERT_EQ(matrix[3][j], j == 3 ? 1.0 : 0.0);
    }
  }
}

TEST(MatrixStaticSquare4x4Failure, AZeroOnTheDiagonal) {
  for (std::size_t i = 0; i < 4; ++i) {
    Matrix matrix = Matrix::identity();
    matrix[i][i] = 0;
    const Matrix before = matrix;
    expectFailure<Exceptions::InvalidArg>([&] { matrix.Invert(); }, "Matrix is not invertible!", "Matrix::Invert");
    EXPECT_TRUE(matrix == before);
  }
}

TEST(MatrixStaticSquare4x4Failure, ARowOutOfRange) {
  Matrix matrix;
  const Matrix constant;
  for (const std::size_t row : {4u, 5u, 100u}) {
    const std::string text = "The index " + std::to_string(row) + " is out of the valid range (0 to 3)!";
    expectFailure<Exceptions::IndexOutOfRange>([&] { static_cast<void>(matrix[row]); }, text, "Matrix::operator []");
    expectFailure<Exceptions::IndexOutOfRange>([&] { static_cast<void>(constant[row]); }, text, "Matrix::operator []");
  }
}

}  // namespace
}  // namespace NORV::Tests
