#pragma once

#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <AffineTransform.hpp>
#include <DLL/AffineTransform.hpp>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

/// A plain restatement of the affine transform, and how tests run the operator.
namespace NORV::Tests::Affine {

namespace Typed = TaviOperators::AffineTransform;
using Frame = TaviOperators::DLL::AffineTransform::Operator;
using Tavi::Volume;
using Tavi::VolumePtr;

using Table = std::vector<std::vector<double>>;

inline const Table identity{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

inline Table translation(double x, double y, double z) {
  return {{1, 0, 0, x}, {0, 1, 0, y}, {0, 0, 1, z}, {0, 0, 0, 1}};
}
inline Table scale(double x, double y, double z) { return {{x, 0, 0, 0}, {0, y, 0, 0}, {0, 0, z, 0}, {0, 0, 0, 1}}; }

inline Table without(const Table& m, std::size_t row, std::size_t column) {
  Table rest;
  for (std::size_t r = 0; r < m.size(); ++r) {
    if (r != row) {
      rest.push_back(m[r]);
      rest.back().erase(rest.back().begin() + static_cast<std::ptrdiff_t>(column));
    }
  }
  return rest;
}
inline double determinant(const Table& m) {
  if (m.size() == 1) {
    return m[0][0];
  }
  double sum = 0;
  for (std::size_t c = 0; c < m.size(); ++c) {
    sum += std::pow(-1.0, static_cast<double>(c)) * m[0][c] * determinant(without(m, 0, c));
  }
  return sum;
}
inline Table inverse(const Table& m) {
  Table result = m;
  for (std::size_t i = 0; i < m.size(); ++i) {
    for (std::size_t j = 0; j < m.size(); ++j) {
      result[i][j] = std::pow(-1.0, static_cast<double>(i + j)) * determinant(without(m, j, i)) / determinant(m);
    }
  }
  return result;
}

/// The input as the rule sees it: voxels of the view, prim fastest.
template <class T>
struct Source {
  Extents extents;
  std::vector<T> voxels;
  T outer;

  /// `i`, `j`, `k` are whole numbers or not finite.
  T at(double i, double j, double k) const {
    const auto isInside = [](double index, SizeType extent) {
      return index >= 0 && index < static_cast<double>(extent);
    };
    if (!isInside(i, extents[0]) || !isInside(j, extents[1]) || !isInside(k, extents[2])) {
      return outer;
    }
    return voxels[static_cast<SizeType>(i) +
                  extents[0] * (static_cast<SizeType>(j) + extents[1] * static_cast<SizeType>(k))];
  }
};

template <class T>
T narrowed(double value) {
  if constexpr (std::is_integral_v<T>) {
    return static_cast<T>(static_cast<int64>(value));
  } else {
    return static_cast<T>(value);
  }
}

template <class T>
T nearest(const Source<T>& source, double x, double y, double z) {
  return source.at(std::floor(x + 0.5), std::floor(y + 0.5), std::floor(z + 0.5));
}

template <class T>
T linear(const Source<T>& source, double x, double y, double z) {
  const double i = std::floor(x), j = std::floor(y), k = std::floor(z);
  const auto corner = [&](int di, int dj, int dk) { return static_cast<double>(source.at(i + di, j + dj, k + dk)); };
  const double fx = std::isfinite(x) ? x - i : 0, fy = std::isfinite(y) ? y - j : 0, fz = std::isfinite(z) ? z - k : 0;
  const double c000 = corner(0, 0, 0), c100 = corner(1, 0, 0), c010 = corner(0, 1, 0), c110 = corner(1, 1, 0);
  const double c001 = corner(0, 0, 1), c101 = corner(1, 0, 1), c011 = corner(0, 1, 1), c111 = corner(1, 1, 1);
  const double value = c000 + (c100 - c000) * fx + (c010 - c000) * fy + (c001 - c000) * fz +
                       (c000 - c010 - c100 + c110) * fx * fy + (c000 - c001 - c100 + c101) * fx * fz +
                       (c000 - c001 - c010 + c011) * fy * fz +
                       (c001 + c010 - c011 + c100 - c101 - c110 - c000 + c111) * fx * fy * fz;
  return narrowed<T>(std::floor(value + 0.5));
}

template <class T>
std::vector<T> resampled(const Source<T>& source, const Table& forward, bool isLinear, const Extents& extents) {
  const Table r = inverse(forward);
  std::vector<T> result;
  for (SizeType z = 0; z < extents[2]; ++z) {
    for (SizeType y = 0; y < extents[1]; ++y) {
      for (SizeType x = 0; x < extents[0]; ++x) {
        std::array<double, 4> sums{};
        for (std::size_t row = 0; row < 4; ++row) {
          sums[row] = r[row][2] * static_cast<double>(z) + r[row][3];
          sums[row] += r[row][1] * static_cast<double>(y);
          sums[row] += r[row][0] * static_cast<double>(static_cast<float>(x));
        }
        const double px = sums[0] / sums[3], py = sums[1] / sums[3], pz = sums[2] / sums[3];
        result.push_back(isLinear ? linear(source, px, py, pz) : nearest(source, px, py, pz));
      }
    }
  }
  return result;
}

/// The matrix as a volume.
template <class M>
TestVolume<M> matrixVolume(const Table& matrix, const Layout& layout = {}) {
  const TestVolume<M> volume({4, 4, 1}, layout);
  std::vector<M> values;
  for (const auto& row : matrix) {
    for (const double value : row) {
      values.push_back(static_cast<M>(value));
    }
  }
  volume.fill(values);
  return volume;
}

template <class T>
SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& matrix, T outer,
                                       bool isLinear, const SmartPointer<IVolume>& output, int threads = 2) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->inputMatrixVolume = matrix;
  parameter->inputOuterValue.setValue(outer);
  parameter->inputLinearInterpolation = isLinear;
  parameter->inputNumberOfThreads = threads;
  parameter->outputVolume = output;
  return parameter;
}

/// Requires the same bits at each position, but that one NaN is as good as another.
template <class T>
void expectSame(const std::vector<T>& actual, const std::vector<T>& expected, const std::string& what = {}) {
  ASSERT_EQ(actual.size(), expected.size());
  int shown = 0;
  for (std::size_t i = 0; i < actual.size() && shown < 3; ++i) {
    const bool bothNaN = actual[i] != actual[i] && expected[i] != expected[i];
    if (!bothNaN && !isSameValue(actual[i], expected[i])) {
      ADD_FAILURE() << what << ": voxel " << i << " is " << +actual[i] << ", expected " << +expected[i];
      ++shown;
    }
  }
}

}  // namespace NORV::Tests::Affine
