#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <optional>

/// Eigenvalues and eigenvectors of symmetric 3 x 3 matrices.
namespace NORV::TaviOperators::Impl {

using Vector3 = std::array<double, 3>;
using Matrix3 = std::array<Vector3, 3>;  // of rows

inline double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline Vector3 cross(const Vector3& a, const Vector3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
/// `a` + `factor` * `b`
inline Vector3 plus(const Vector3& a, double factor, const Vector3& b) {
  return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}
inline Vector3 normalised(const Vector3& a) {
  const double length = std::sqrt(dot(a, a));
  return {a[0] / length, a[1] / length, a[2] / length};
}

/// The vector of unit length in row i belongs to value i.
struct EigenSystem {
  Vector3 values{};
  Matrix3 vectors{};
};

/// The roots of the characteristic polynomial, by the trigonometric formula.
inline Vector3 eigenvaluesInClosedForm(const Matrix3& a) {
  const double xy = a[0][1] * a[0][1], yz = a[1][2] * a[1][2], xz = a[0][2] * a[0][2];
  const double trace = a[0][0] + a[1][1] + a[2][2];
  const double c1 = a[0][0] * a[1][1] + a[0][0] * a[2][2] + a[1][1] * a[2][2] - (xy + yz + xz);
  const double c0 =
      a[2][2] * xy + a[0][0] * yz + a[1][1] * xz - a[0][0] * a[1][1] * a[2][2] - 2.0 * a[0][2] * a[0][1] * a[1][2];
  const double p = trace * trace - 3.0 * c1;
  const double q = trace * (p - 1.5 * c1) - 13.5 * c0;
  const double discriminant = 0.25 * c1 * c1 * (p - c1) + c0 * (q + 6.75 * c0);
  const double angle = std::atan2(std::sqrt(27.0 * std::abs(discriminant)), q) / 3.0;
  const double radius = std::sqrt(std::abs(p));
  const double along = radius * std::cos(angle), across = radius * std::sin(angle) / std::numbers::sqrt3;
  const double middle = (trace - along) / 3.0;
  return {middle + along, middle + across, middle - across};
}

/// The direction that is orthogonal to the rows of `a` without its eigenvalue: the longest of their cross products.
inline Vector3 eigenvectorInClosedForm(const Matrix3& a, double value) {
  Matrix3 rest = a;
  for (std::size_t i = 0; i < 3; ++i) {
    rest[i][i] -= value;
  }
  const Matrix3 candidates{cross(rest[0], rest[1]), cross(rest[0], rest[2]), cross(rest[1], rest[2])};
  return normalised(*std::max_element(candidates.begin(), candidates.end(),
                                      [](const Vector3& b, const Vector3& c) { return dot(b, b) < dot(c, c); }));
}

/// Nothing if the result is less accurate than that of the iteration: the formula cancels digits where eigenvalues lie
/// close together.
inline std::optional<EigenSystem> eigenSystemInClosedForm(const Matrix3& a) {
  EigenSystem found;
  found.values = eigenvaluesInClosedForm(a);
  constexpr double tolerance = 16.0 * std::numeric_limits<double>::epsilon();
  const double scale = std::max({std::abs(found.values[0]), std::abs(found.values[1]), std::abs(found.values[2])});
  for (std::size_t i = 0; i < 3; ++i) {
    const Vector3 v = eigenvectorInClosedForm(a, found.values[i]);
    found.vectors[i] = v;
    for (std::size_t row = 0; row < 3; ++row) {
      if (!(std::abs(dot(a[row], v) - found.values[i] * v[row]) <= tolerance * scale)) {
        return {};
      }
    }
    for (std::size_t j = 0; j < i; ++j) {
      if (!(std::abs(dot(v, found.vectors[j])) <= tolerance)) {
        return {};
      }
    }
  }
  return found;
}

/// A tridiagonal matrix and the basis in which it is one.
struct Tridiagonal {
  Vector3 diagonal{};
  Vector3 beside{};  ///< beside[i] couples i and i + 1; the last one is not used
  Matrix3 basis{};

  explicit Tridiagonal(const Matrix3& a)
      : diagonal{a[0][0], a[1][1], a[2][2]},
        beside{a[0][1], a[1][2], 0.0},
        basis{{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}} {
    if (a[0][2] == 0.0) {
      return;
    }
    // A rotation about the first axis makes the corner zero.
    const double length = std::hypot(a[0][1], a[0][2]);
    const double c = a[0][1] / length, s = a[0][2] / length;
    diagonal[1] = c * c * a[1][1] + 2.0 * c * s * a[1][2] + s * s * a[2][2];
    diagonal[2] = s * s * a[1][1] - 2.0 * c * s * a[1][2] + c * c * a[2][2];
    beside = {length, c * s * (a[2][2] - a[1][1]) + (c * c - s * s) * a[1][2], 0.0};
    basis[1] = {0.0, c, s};
    basis[2] = {0.0, -s, c};
  }

  /// The end of the block from `begin` on that is coupled.
  std::size_t blockEnd(std::size_t begin) const {
    std::size_t end = begin;
    for (; end < 2; ++end) {
      const double size = std::abs(diagonal[end]) + std::abs(diagonal[end + 1]);
      if (std::abs(beside[end]) <= std::numeric_limits<double>::epsilon() * size) {
        break;
      }
    }
    return end;
  }

  /// One QL step with an implicit shift on the block from `begin` to `end`.
  void step(std::size_t begin, std::size_t end) {
    const double ratio = (diagonal[begin + 1] - diagonal[begin]) / (2.0 * beside[begin]);
    double g = diagonal[end] - diagonal[begin] + beside[begin] / (ratio + std::copysign(std::hypot(ratio, 1.0), ratio));
    double s = 1.0, c = 1.0, shift = 0.0;
    for (std::size_t i = end; i-- > begin;) {
      const double f = s * beside[i], b = c * beside[i];
      const double length = std::hypot(f, g);
      beside[i + 1] = length;
      if (length == 0.0) {
        diagonal[i + 1] -= shift;
        beside[end] = 0.0;
        return;
      }
      s = f / length;
      c = g / length;
      g = diagonal[i + 1] - shift;
      const double r = (diagonal[i] - g) * s + 2.0 * c * b;
      shift = s * r;
      diagonal[i + 1] = g + shift;
      g = c * r - b;
      for (std::size_t k = 0; k < 3; ++k) {
        const double upper = basis[i + 1][k];
        basis[i + 1][k] = s * basis[i][k] + c * upper;
        basis[i][k] = c * basis[i][k] - s * upper;
      }
    }
    diagonal[begin] -= shift;
    beside[begin] = g;
    beside[end] = 0.0;
  }
};

/// QL iteration with implicit shifts (A. Dubrulle, R. S. Martin, J. H. Wilkinson, The implicit QL algorithm, Numerische
/// Mathematik 12, 1968).
inline EigenSystem eigenSystemByIteration(const Matrix3& a) {
  constexpr int most = 100;  // two or three steps are usual
  Tridiagonal matrix(a);
  for (std::size_t begin = 0; begin < 2; ++begin) {
    for (int i = 0; i < most; ++i) {
      const std::size_t end = matrix.blockEnd(begin);
      if (end == begin) {
        break;
      }
      matrix.step(begin, end);
    }
  }
  return {matrix.diagonal, matrix.basis};
}

/// The exponent of the largest element; nothing if an element is not finite.
inline std::optional<int> exponentOf(const Matrix3& a) {
  double largest = 0.0;
  for (const Vector3& row : a) {
    for (const double element : row) {
      if (!std::isfinite(element)) {
        return {};
      }
      largest = std::max(largest, std::abs(element));
    }
  }
  return largest == 0.0 ? 0 : std::ilogb(largest);
}

/// In descending order of the values. All are NaN if an element is not finite.
inline EigenSystem eigenSystem(Matrix3 a) {
  const std::optional<int> exponent = exponentOf(a);
  if (!exponent) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    return {{nan, nan, nan}, {{{nan, nan, nan}, {nan, nan, nan}, {nan, nan, nan}}}};
  }
  for (Vector3& row : a) {  // so that no product overflows or loses digits to underflow
    for (double& element : row) {
      element = std::ldexp(element, -*exponent);
    }
  }
  const bool isDiagonal = a[0][1] == 0.0 && a[0][2] == 0.0 && a[1][2] == 0.0;  // solved without rounding
  const auto closed = isDiagonal ? std::nullopt : eigenSystemInClosedForm(a);
  const EigenSystem found = closed ? *closed : eigenSystemByIteration(a);
  std::array<std::size_t, 3> order{0, 1, 2};
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t i, std::size_t j) { return found.values[i] > found.values[j]; });
  EigenSystem system;
  for (std::size_t i = 0; i < 3; ++i) {
    system.values[i] = std::ldexp(found.values[order[i]], *exponent);
    system.vectors[i] = found.vectors[order[i]];
  }
  return system;
}

}  // namespace NORV::TaviOperators::Impl
