#include "Geometry/CoordinateTransforms.hpp"

#include <CartesianToCylinderCoordinatesTransform.hpp>
#include <CartesianToLogCylinderCoordinatesTransform.hpp>
#include <CartesianToSphericalCoordinatesTransform.hpp>
#include <CylinderToCartesianCoordinatesTransform.hpp>
#include <DLL/CartesianToCylinderCoordinatesTransform.hpp>
#include <DLL/CartesianToLogCylinderCoordinatesTransform.hpp>
#include <DLL/CartesianToSphericalCoordinatesTransform.hpp>
#include <DLL/CylinderToCartesianCoordinatesTransform.hpp>
#include <DLL/SphericalToCartesianCoordinatesTransform.hpp>
#include <SphericalToCartesianCoordinatesTransform.hpp>

#include <cmath>

/// Smooth volumes through a polar grid and back.
namespace NORV::Tests {
namespace {

namespace Frames = TaviOperators::DLL;

constexpr Extents cube{41, 43, 37};
constexpr Setting setting{{20.25f, 21.5f, 18.0f}, 0.0f, 17.0f, true};

/// Curved in all directions; linear interpolation on the unit grid is off by less than 0.2.
float64 smooth(float64 x, float64 y, float64 z) {
  return 100.0 + 30.0 * std::sin(x / 9.0) * std::cos(y / 8.0) + 20.0 * std::cos(z / 7.0);
}

TestVolume<float32> smoothCube() {
  const TestVolume<float32> volume(cube, regionLayout);
  Extents at{};
  for (at[2] = 0; at[2] < cube[2]; ++at[2]) {
    for (at[1] = 0; at[1] < cube[1]; ++at[1]) {
      for (at[0] = 0; at[0] < cube[0]; ++at[0]) {
        volume.at(at) = static_cast<float32>(
            smooth(static_cast<float64>(at[0]), static_cast<float64>(at[1]), static_cast<float64>(at[2])));
      }
    }
  }
  return volume;
}

template <class Op, class P>
struct Transform {
  using Frame = Op;
  using Parameter = P;
};
template <class T>
SmartPointer<IVolume> run(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& output) {
  const auto parameter = transformRequest<T>(input, setting, -1000.0f, output);
  typename T::Frame().apply(parameter);
  return parameter->outputVolume.value();
}

/// Requires that voxels at `isInside(dx, dy, dz)` from the centre come back within `tolerance`.
template <class Inside>
void expectCubeBack(const VolumePtr<float32>& volume, float64 tolerance, const Inside& isInside) {
  SizeType compared = 0;
  float64 worst = 0.0;
  for (SizeType z = 0; z < cube[2]; ++z) {
    for (SizeType y = 0; y < cube[1]; ++y) {
      for (SizeType x = 0; x < cube[0]; ++x) {
        const auto fx = static_cast<float64>(x), fy = static_cast<float64>(y), fz = static_cast<float64>(z);
        if (isInside(fx - setting.center.x, fy - setting.center.y, fz - setting.center.z)) {
          const float64 found = volume->getValueAt(Tavi::Position<SizeType>(x, y, z));
          worst = std::max(worst, std::fabs(found - smooth(fx, fy, fz)));
          ++compared;
        }
      }
    }
  }
  EXPECT_GT(compared, 4000u);
  EXPECT_LT(worst, tolerance);
  EXPECT_GT(worst, 0.0);
}

/// Beyond the last azimuth there is a gap of one step.
bool isOffTheGap(float64 dx, float64 dy, float64 steps) {
  const float64 angle = std::atan2(dy, dx);
  return angle >= 0.0 || angle < -2.0 * 3.14159265358979 / steps;
}

TEST(CoordinatesRoundTrip, ACylinderGridKeepsASmoothVolume) {
  const auto polar =
      run<Transform<Frames::CartesianToCylinderCoordinatesTransform::Operator,
                    TaviOperators::CartesianToCylinderCoordinatesTransform::Parameter>>(smoothCube(), {});
  EXPECT_TRUE(polar->getDimension() == Dimension<SizeType>(18, 360, cube[2]));
  const TestVolume<float32> back(cube);
  run<Transform<Frames::CylinderToCartesianCoordinatesTransform::Operator,
                TaviOperators::CylinderToCartesianCoordinatesTransform::Parameter>>(polar, back);
  expectCubeBack(back.volume(), 0.3, [](float64 dx, float64 dy, float64) {
    return std::hypot(dx, dy) < 16.9 && isOffTheGap(dx, dy, 360.0);
  });
}

TEST(CoordinatesRoundTrip, ASphericalGridKeepsASmoothVolume) {
  const auto polar =
      run<Transform<Frames::CartesianToSphericalCoordinatesTransform::Operator,
                    TaviOperators::CartesianToSphericalCoordinatesTransform::Parameter>>(smoothCube(), {});
  EXPECT_TRUE(polar->getDimension() == Dimension<SizeType>(18, 360, 181));
  const TestVolume<float32> back(cube);
  run<Transform<Frames::SphericalToCartesianCoordinatesTransform::Operator,
                TaviOperators::SphericalToCartesianCoordinatesTransform::Parameter>>(polar, back);
  expectCubeBack(back.volume(), 0.4, [](float64 dx, float64 dy, float64 dz) {
    const float64 radius = std::hypot(dx, dy, dz);
    const bool isOffThePole = dz > radius * std::cos(3.14159265358979 * 179.9 / 181.0);
    return radius < 16.9 && isOffTheGap(dx, dy, 360.0) && isOffThePole;
  });
}

TEST(CoordinatesRoundTrip, ALogCylinderGridShowsASmoothVolumeAtExponentialRadii) {
  const VolumePtr<float32> polar(
      run<Transform<Frames::CartesianToLogCylinderCoordinatesTransform::Operator,
                    TaviOperators::CartesianToLogCylinderCoordinatesTransform::Parameter>>(smoothCube(), {}));
  ASSERT_TRUE(polar->getDimension() == Dimension<SizeType>(18, 360, cube[2]));
  for (SizeType z = 0; z < cube[2]; ++z) {
    for (SizeType j = 0; j < 360; ++j) {
      for (SizeType i = 0; i < 18; ++i) {
        const float64 radius = i == 0 ? 0.0 : std::exp(static_cast<float64>(i) * std::log(17.0) / 17.0);
        const float64 angle = static_cast<float64>(j) * 3.14159265358979 / 180.0;
        const float64 x = setting.center.x + radius * std::cos(angle), y = setting.center.y + radius * std::sin(angle);
        ASSERT_NEAR(polar->getValueAt(Tavi::Position<SizeType>(i, j, z)), smooth(x, y, static_cast<float64>(z)), 0.2)
            << i << " " << j << " " << z;
      }
    }
  }
}

}  // namespace
}  // namespace NORV::Tests
