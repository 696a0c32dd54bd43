#include <EulerRotationMatrix.hpp>

#include <Measurement/PrincipalAxes.hpp>
#include <Measurement/SelectedVoxels.hpp>
#include <Measurement/SymmetricEigen.hpp>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace TaviOperators::Impl;

/// The rows of the rotation by these angles.
Matrix3 rotationBy(double heading, double attitude, double bank) {
  const TaviOperators::EulerRotationMatrix<float64> rotation(0.0, 0.0, 0.0, heading, attitude, bank);
  const auto volume = rotation.getMatrix();
  Matrix3 rows;
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t c = 0; c < 3; ++c) {
      rows[r][c] = volume->getData()[4 * r + c];
    }
  }
  return rows;
}

double largestDifference(const Matrix3& a, const Matrix3& b) {
  double largest = 0.0;
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t c = 0; c < 3; ++c) {
      largest = std::max(largest, std::abs(a[r][c] - b[r][c]));
    }
  }
  return largest;
}

/// The symmetric matrix with the rows of `basis` as eigenvectors.
Matrix3 composed(const Vector3& values, const Matrix3& basis) {
  Matrix3 matrix{};
  for (std::size_t r = 0; r < 3; ++r) {
    for (std::size_t c = r; c < 3; ++c) {
      for (std::size_t i = 0; i < 3; ++i) {
        matrix[r][c] += basis[i][r] * values[i] * basis[i][c];
      }
      matrix[c][r] = matrix[r][c];
    }
  }
  return matrix;
}

void expectEigenSystem(const EigenSystem& system, const Matrix3& matrix, const Vector3& values) {
  const double scale = std::max({std::abs(values[0]), std::abs(values[1]), std::abs(values[2])});
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(system.values[i], values[i], 1e-14 * scale);
    for (std::size_t row = 0; row < 3; ++row) {
      EXPECT_NEAR(dot(matrix[row], system.vectors[i]), system.values[i] * system.vectors[i][row], 1e-14 * scale);
    }
    for (std::size_t j = 0; j < 3; ++j) {
      EXPECT_NEAR(dot(system.vectors[i], system.vectors[j]), i == j ? 1.0 : 0.0, 1e-14);
    }
  }
}

const std::vector<Vector3>& someEigenvalues() {
  static const std::vector<Vector3> all{{3, 2, 1},           {3, 3, 1},        {3, 1, 1},     {2, 2, 2},
                                        {5, 0, 0},           {0, 0, 0},        {7, 7, 0},     {1e12, 1, 1e-12},
                                        {1, 1e-6, 1e-7},     {4, -1, -5},      {1e-9, 0, -1}, {1, 1 - 1e-9, 0},
                                        {1e-200, 1e-201, 0}, {1e200, 1e199, 0}};
  return all;
}

TEST(SymmetricEigen, EigenvaluesOfAnyKindInAnyBasis) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> angle(-4.0, 4.0);
  for (const Vector3& values : someEigenvalues()) {
    for (int i = 0; i < 300; ++i) {
      const Matrix3 matrix = composed(values, rotationBy(angle(random), angle(random), angle(random)));
      expectEigenSystem(eigenSystem(matrix), matrix, values);
      const EigenSystem iterated = eigenSystemByIteration(matrix);
      expectEigenSystem(iterated, matrix, iterated.values);
    }
  }
}

TEST(SymmetricEigen, RandomMatricesMostlyInClosedForm) {
  std::mt19937_64 random(8);
  std::uniform_real_distribution<double> element(-10.0, 10.0);
  int closed = 0;
  for (int i = 0; i < 2000; ++i) {
    Matrix3 matrix{};
    for (std::size_t r = 0; r < 3; ++r) {
      for (std::size_t c = r; c < 3; ++c) {
        matrix[r][c] = matrix[c][r] = element(random);
      }
    }
    Vector3 values = eigenSystemByIteration(matrix).values;
    std::sort(values.begin(), values.end(), std::greater<>());
    expectEigenSystem(eigenSystem(matrix), matrix, values);
    closed += eigenSystemInClosedForm(matrix) ? 1 : 0;
  }
  EXPECT_GT(closed, 1000);
}

TEST(SymmetricEigen, ADiagonalMatrixIsSolvedExactly) {
  const EigenSystem system = eigenSystem({{{0.1, 0, 0}, {0, 0.7, 0}, {0, 0, 0.3}}});
  EXPECT_EQ(system.values, (Vector3{0.7, 0.3, 0.1}));
  EXPECT_EQ(system.vectors, (Matrix3{{{0, 1, 0}, {0, 0, 1}, {1, 0, 0}}}));
}

TEST(SymmetricEigen, ElementsThatAreNoNumberGiveNaN) {
  for (const double element : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    const EigenSystem system = eigenSystem({{{1, element, 0}, {element, 1, 0}, {0, 0, 1}}});
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_TRUE(std::isnan(system.values[i]));
      EXPECT_TRUE(std::isnan(system.vectors[i][0]));
    }
  }
}

TEST(PrincipalAxes, BasesBecomeOrthonormalAndRightHanded) {
  std::mt19937_64 random(9);
  std::uniform_real_distribution<double> element(-1.0, 1.0);
  for (int i = 0; i < 500; ++i) {
    Matrix3 vectors;
    for (Vector3& vector : vectors) {
      vector = {element(random), element(random), element(random)};
    }
    const Matrix3 basis = rightHandedBasis(vectors);
    for (std::size_t r = 0; r < 3; ++r) {
      for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(dot(basis[r], basis[c]), r == c ? 1.0 : 0.0, 1e-9);
      }
    }
    EXPECT_NEAR(dot(basis[0], cross(basis[1], basis[2])), 1.0, 1e-9);
    EXPECT_GT(dot(basis[0], vectors[0]), 0.0);
    EXPECT_GT(dot(basis[1], vectors[1]), 0.0);
  }
}

TEST(PrincipalAxes, AMirroredBasisHasItsLastAxisTurned) {
  EXPECT_EQ(rightHandedBasis({{{1, 0, 0}, {0, 1, 0}, {0, 0, -1}}}), (Matrix3{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}));
  EXPECT_EQ(rightHandedBasis({{{0, 1, 0}, {1, 0, 0}, {0, 0, 1}}}), (Matrix3{{{0, 1, 0}, {1, 0, 0}, {0, 0, -1}}}));
}

TEST(EulerAngles, GiveTheRotationBackOverTheWholeRange) {
  constexpr int steps = 24;
  for (int h = -steps; h <= steps; ++h) {
    for (int a = -steps; a <= steps; ++a) {
      for (int b = -steps; b <= steps; ++b) {
        const double step = std::numbers::pi / steps;
        const Matrix3 basis = rotationBy(h * step, a * step, b * step);
        const EulerAngles angles = eulerAnglesOf(basis);
        ASSERT_LE(std::abs(angles.attitude), std::numbers::pi / 2 + 1e-12);
        ASSERT_LT(largestDifference(rotationBy(angles.heading, angles.attitude, angles.bank), basis), 1e-14)
            << h << " " << a << " " << b;
      }
    }
  }
}

TEST(EulerAngles, AreThoseOfTheRotation) {
  for (const double attitude : {-1.5, -1.0, 0.0, 0.3, 1.5}) {
    for (const double heading : {-3.0, -0.5, 0.0, 2.0}) {
      for (const double bank : {-2.5, 0.0, 0.5, 3.0}) {
        const EulerAngles angles = eulerAnglesOf(rotationBy(heading, attitude, bank));
        EXPECT_NEAR(angles.heading, heading, 1e-13);
        EXPECT_NEAR(angles.attitude, attitude, 1e-13);
        EXPECT_NEAR(angles.bank, bank, 1e-13);
      }
    }
  }
}

TEST(EulerAngles, StayAccurateAtGimbalLockAndBesideIt) {
  for (const double sign : {-1.0, 1.0}) {
    for (double off = 1e-17; off < 0.1; off *= 3.0) {
      for (const double heading : {-3.0, -0.5, 0.0, 2.0}) {
        for (const double bank : {-2.5, 0.0, 0.5, 3.0}) {
          const Matrix3 basis = rotationBy(heading, sign * (std::numbers::pi / 2 - off), bank);
          const EulerAngles angles = eulerAnglesOf(basis);
          ASSERT_LT(largestDifference(rotationBy(angles.heading, angles.attitude, angles.bank), basis), 2e-14)
              << off << " " << heading << " " << bank;
        }
      }
    }
  }
}

TEST(EulerAngles, TheBankIsZeroAtGimbalLock) {
  const EulerAngles up = eulerAnglesOf({{{0, 1, 0}, {1, 0, 0}, {0, 0, -1}}});
  EXPECT_EQ(up.bank, 0.0);
  EXPECT_DOUBLE_EQ(up.attitude, std::numbers::pi / 2);
  EXPECT_DOUBLE_EQ(std::abs(up.heading), std::numbers::pi);
  const EulerAngles down = eulerAnglesOf({{{0, 0, 1}, {-1.0000000000000002, 0, 0}, {0, -1, 0}}});
  EXPECT_EQ(down.bank, 0.0);
  EXPECT_DOUBLE_EQ(down.attitude, -std::numbers::pi / 2);
  EXPECT_DOUBLE_EQ(down.heading, std::numbers::pi / 2);
}

TEST(RoundedBound, HasThreeDecimalsWithHalvesUpwards) {
  EXPECT_EQ(roundedBound(1.0004), 1.0);
  EXPECT_EQ(roundedBound(-1e-9), 0.0);
  EXPECT_EQ(roundedBound(0.0005), 0.001);
  EXPECT_EQ(roundedBound(-0.0005), 0.0);
  EXPECT_EQ(roundedBound(-2.3456), -2.346);
}

TEST(SelectedVoxels, WordsHoldTheSelectedVoxelsOfARow) {
  std::mt19937_64 random(3);
  const auto check = [&]<class T>(T) {
    for (const SizeType count : {1u, 5u, 63u, 64u, 65u, 200u}) {
      std::vector<T> row(2 * count);
      for (T& voxel : row) {
        voxel = static_cast<T>(random() % 3);
      }
      for (const int64 stride : {int64{1}, int64{2}}) {
        std::vector<SizeType> found, expected;
        SizeType sum = 0, expectedSum = 0;
        for (SizeType i = 0; i < count; ++i) {
          if (row[i * static_cast<SizeType>(stride)] == T(2)) {
            expected.push_back(i);
            expectedSum += i;
          }
        }
        forEachSelection(row.data(), count, stride, T(2), [&](SizeType begin, uint64 word) {
          sum += begin * static_cast<SizeType>(std::popcount(word)) + sumOfBits(word);
          for (SizeType bit = 0; bit < 64; ++bit) {
            if ((word >> bit & 1) != 0) {
              found.push_back(begin + bit);
            }
          }
        });
        EXPECT_EQ(found, expected);
        EXPECT_EQ(sum, expectedSum);
      }
    }
  };
  check(int8());
  check(uint16());
  check(int32());
  check(float32());
  check(float64());
}

}  // namespace
}  // namespace NORV::Tests
