#pragma once

#include <Measurement/SymmetricEigen.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace NORV::TaviOperators::Impl {

/// Orthonormal rows, by the method of Gram and Schmidt. The last one is turned round where they are left-handed.
inline Matrix3 rightHandedBasis(const Matrix3& vectors) {
  Matrix3 basis;
  basis[0] = normalised(vectors[0]);
  basis[1] = normalised(plus(vectors[1], -dot(basis[0], vectors[1]), basis[0]));
  const Vector3 rest = plus(vectors[2], -dot(basis[0], vectors[2]), basis[0]);
  basis[2] = normalised(plus(rest, -dot(basis[1], vectors[2]), basis[1]));
  if (dot(basis[0], cross(basis[1], basis[2])) < 0.0) {
    basis[2] = {-basis[2][0], -basis[2][1], -basis[2][2]};
  }
  return basis;
}

/// The angles of an EulerRotationMatrix, in radians.
struct EulerAngles {
  double heading, attitude, bank;
};

/// The angles of the rotation that turns the rows of a right-handed orthonormal basis onto the coordinate axes.
///
/// Of the two solutions, whose attitudes add up to pi, it is the one with an attitude from -pi/2 to pi/2. Near these
/// ends the plain formulas lose half of the digits, and at the ends themselves ("gimbal lock") only the sum or the
/// difference of the other two angles is defined. There the attitude comes from its tangent, and the heading from the
/// bank, which is 0 at the ends.
inline EulerAngles eulerAnglesOf(const Matrix3& basis) {
  const auto& [e1, e2, e3] = basis;
  const double attitude = std::asin(std::clamp(e2[0], -1.0, 1.0));
  const double cosine = std::cos(attitude);
  if (!(std::abs(cosine) < 1e-3)) {
    return {std::atan2(-e3[0] / cosine, e1[0] / cosine), attitude, std::atan2(-e2[2] / cosine, e2[1] / cosine)};
  }
  const double length = std::hypot(e2[1], e2[2]);
  const double bank = length < 1e-15 ? 0.0 : std::atan2(-e2[2], e2[1]);
  const double sinBank = std::sin(bank), cosBank = std::cos(bank);
  return {std::atan2(cosBank * e1[2] + sinBank * e1[1], cosBank * e3[2] + sinBank * e3[1]), std::atan2(e2[0], length),
          bank};
}

/// To three decimals, so that a bound does not move to the next voxel for the last digits.
inline double roundedBound(double bound) { return std::floor(bound * 1000.0 + 0.5) / 1000.0; }

}  // namespace NORV::TaviOperators::Impl
