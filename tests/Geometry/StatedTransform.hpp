#pragma once

#include "VoxelWise/PlainConversion.hpp"
#include "support/Volumes.hpp"

#include <Tavi/Types.hpp>

#include <cmath>
#include <vector>

/// The transforms between Cartesian coordinates and polar grids as they are stated, voxel by voxel.
namespace NORV::Tests {

struct Point {
  float32 x, y, z;
};

struct Setting {
  Point center{0.0f, 0.0f, 0.0f};
  float32 minimum = 0.0f, maximum = 0.0f;
  bool isLinear = true;
};

inline constexpr float32 statedFullTurn = 6.2831855f, statedHalfTurn = 3.1415927f;

inline float32 statedNumber(Tavi::SizeType index) { return static_cast<float32>(index); }

inline float32 statedRadialStep(const Setting& setting, Tavi::SizeType count) {
  const float32 range = setting.maximum - setting.minimum;
  if (std::fabs(range) < 1e-6f) {
    return 1.0f;
  }
  return range / statedNumber(count - 1);
}
inline float32 statedExponentStep(const Setting& setting, Tavi::SizeType count) {
  const float32 range = setting.maximum - setting.minimum;
  if (std::fabs(range) < 1e-6f) {
    return 1.0f;
  }
  return std::log(range) / statedNumber(count - 1);
}

inline Point statedCylinderPoint(const Setting& setting, float32 radius, const Extents& output, const Extents& at) {
  const float32 angle = statedNumber(at[1]) * (statedFullTurn / statedNumber(output[1]));
  return {radius * std::cos(angle) + setting.center.x, radius * std::sin(angle) + setting.center.y,
          statedNumber(at[2])};
}

inline float32 statedAzimuthIndex(float32 dx, float32 dy, Tavi::SizeType count) {
  float32 angle = std::atan2(dy, dx);
  if (angle < 0.0f) {
    angle += statedFullTurn;
  }
  return angle / (statedFullTurn / statedNumber(count));
}

/// The voxels of an input with what lies around it.
template <class In>
struct StatedSource {
  std::vector<In> voxels;
  Extents extents;
  In outer;

  In at(float64 i, float64 j, float64 k) const {
    const auto inside = [](float64 index, Tavi::SizeType extent) {
      return index >= 0.0 && index < static_cast<float64>(extent);
    };
    if (!inside(i, extents[0]) || !inside(j, extents[1]) || !inside(k, extents[2])) {
      return outer;
    }
    return voxels[static_cast<std::size_t>(i) +
                  extents[0] * (static_cast<std::size_t>(j) + extents[1] * static_cast<std::size_t>(k))];
  }

  In nearest(const Point& p) const {
    return at(std::floor(p.x + 0.5f), std::floor(p.y + 0.5f), std::floor(p.z + 0.5f));
  }

  bool reaches(const Point& p) const {
    const auto one = [](float32 position, Tavi::SizeType extent) {
      return position >= -1.0f && position < statedNumber(extent);
    };
    return one(p.x, extents[0]) && one(p.y, extents[1]) && one(p.z, extents[2]);
  }

  float32 linear(const Point& p) const {
    if (!reaches(p)) {
      return static_cast<float32>(outer);
    }
    const float32 i = std::floor(p.x), j = std::floor(p.y), k = std::floor(p.z);
    const float32 fx = p.x - i, fy = p.y - j, fz = p.z - k;
    const auto corner = [&](int a, int b, int c) {
      return static_cast<float32>(at(float64(i) + a, float64(j) + b, float64(k) + c));
    };
    const float32 c000 = corner(0, 0, 0), c100 = corner(1, 0, 0), c010 = corner(0, 1, 0), c001 = corner(0, 0, 1);
    const float32 c110 = corner(1, 1, 0), c101 = corner(1, 0, 1), c011 = corner(0, 1, 1), c111 = corner(1, 1, 1);
    return c000 + (c100 - c000) * fx + (c010 - c000) * fy + (c001 - c000) * fz + (c000 - c010 - c100 + c110) * fx * fy +
           (c000 - c001 - c100 + c101) * fx * fz + (c000 - c001 - c010 + c011) * fy * fz +
           (c001 + c010 - c011 + c100 - c101 - c110 - c000 + c111) * fx * fy * fz;
  }
};

/// The whole output of a transform whose positions `Op::position` states.
template <class Op, class In, class Out>
std::vector<Out> statedTransform(const Setting& setting, const StatedSource<In>& source, const Extents& output) {
  std::vector<Out> results;
  Extents at{};
  for (at[2] = 0; at[2] < output[2]; ++at[2]) {
    for (at[1] = 0; at[1] < output[1]; ++at[1]) {
      for (at[0] = 0; at[0] < output[0]; ++at[0]) {
        const Point position = Op::position(setting, source.extents, output, at);
        if (!setting.isLinear) {
          results.push_back(converted<In, Out>(source.nearest(position)));
        } else if constexpr (std::is_integral_v<Out>) {
          results.push_back(converted<float32, Out>(std::floor(source.linear(position) + 0.5f)));
        } else {
          results.push_back(static_cast<Out>(source.linear(position)));
        }
      }
    }
  }
  return results;
}

/// The same numbers; one NaN is as good as another.
template <class T>
void expectSameNumbers(const std::vector<T>& actual, const std::vector<T>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  int shown = 0;
  for (std::size_t i = 0; i < actual.size() && shown < 3; ++i) {
    bool areBothNaN = false;
    if constexpr (std::is_floating_point_v<T>) {
      areBothNaN = std::isnan(actual[i]) && std::isnan(expected[i]);
    }
    if (!areBothNaN && !isSameValue(actual[i], expected[i])) {
      ADD_FAILURE() << "voxel " << i << " is " << +actual[i] << ", expected " << +expected[i];
      ++shown;
    }
  }
}

}  // namespace NORV::Tests
