// The transforms between Cartesian coordinates and polar grids beside plain loops over the output with the same tables.
// Bytes are those of the output, counted once.

#include "Contest.hpp"

#include <CartesianToCylinderCoordinatesTransform.hpp>
#include <CartesianToLogCylinderCoordinatesTransform.hpp>
#include <CartesianToSphericalCoordinatesTransform.hpp>
#include <CylinderToCartesianCoordinatesTransform.hpp>
#include <DLL/CartesianToCylinderCoordinatesTransform.hpp>
#include <DLL/CartesianToLogCylinderCoordinatesTransform.hpp>
#include <DLL/CartesianToSphericalCoordinatesTransform.hpp>
#include <DLL/CylinderToCartesianCoordinatesTransform.hpp>
#include <DLL/LogCylinderToCartesianCoordinatesTransform.hpp>
#include <DLL/SphericalToCartesianCoordinatesTransform.hpp>
#include <LogCylinderToCartesianCoordinatesTransform.hpp>
#include <SphericalToCartesianCoordinatesTransform.hpp>
#include <Tavi/View.hpp>

#include <cmath>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;
using Tavi::View;
using Tavi::viewOf;

enum class Grid { cylinder, logCylinder, sphere };

struct Task {
  Grid grid;
  bool isToPolar, isLinear;
  float32 center[3], range;
};

template <class T>
struct PlainSampler {
  View<T> view;
  float32 outer;

  float32 corner(int64 i, int64 j, int64 k) const {
    const bool isInside = i >= 0 && j >= 0 && k >= 0 && i < static_cast<int64>(view.dimPrim) &&
                          j < static_cast<int64>(view.dimSec) && k < static_cast<int64>(view.dimTert);
    return isInside ? static_cast<float32>(view.data[i * view.stridePrim + j * view.strideSec + k * view.strideTert])
                    : outer;
  }
  float32 nearest(float32 x, float32 y, float32 z) const {
    return corner(static_cast<int64>(std::floor(x + 0.5f)), static_cast<int64>(std::floor(y + 0.5f)),
                  static_cast<int64>(std::floor(z + 0.5f)));
  }
  float32 linear(float32 x, float32 y, float32 z) const {
    const auto i = static_cast<int64>(std::floor(x)), j = static_cast<int64>(std::floor(y)),
               k = static_cast<int64>(std::floor(z));
    const float32 fx = x - static_cast<float32>(i), fy = y - static_cast<float32>(j), fz = z - static_cast<float32>(k);
    const float32 c000 = corner(i, j, k), c100 = corner(i + 1, j, k), c010 = corner(i, j + 1, k),
                  c001 = corner(i, j, k + 1), c110 = corner(i + 1, j + 1, k), c101 = corner(i + 1, j, k + 1),
                  c011 = corner(i, j + 1, k + 1), c111 = corner(i + 1, j + 1, k + 1);
    return c000 + (c100 - c000) * fx + (c010 - c000) * fy + (c001 - c000) * fz + (c000 - c010 - c100 + c110) * fx * fy +
           (c000 - c001 - c100 + c101) * fx * fz + (c000 - c001 - c010 + c011) * fy * fz +
           (c001 + c010 - c011 + c100 - c101 - c110 - c000 + c111) * fx * fy * fz;
  }
};

/// Calls `sample(x, y, z, sourceX, sourceY, sourceZ)` for the voxels of some slices of the output.
template <class Sample>
void plainPositions(const Task& task, const View<const char>& input, const View<const char>& output, SizeType begin,
                    SizeType end, const Sample& sample) {
  const auto& grid = task.isToPolar ? output : input;
  const auto number = [](SizeType index) { return static_cast<float32>(index); };
  const float32 step = (task.grid == Grid::logCylinder ? std::log(task.range) : task.range) / number(grid.dimPrim - 1);
  const float32 azimuthStep = 6.2831855f / number(grid.dimSec), polarStep = 3.1415927f / number(grid.dimTert);
  std::vector<float32> cosines, sines;
  for (SizeType j = 0; j < grid.dimSec; ++j) {
    cosines.push_back(std::cos(number(j) * azimuthStep));
    sines.push_back(std::sin(number(j) * azimuthStep));
  }
  for (SizeType z = begin; z < end; ++z) {
    const float32 polarCosine = std::cos(number(z) * polarStep), polarSine = std::sin(number(z) * polarStep);
    for (SizeType y = 0; y < output.dimSec; ++y) {
      for (SizeType x = 0; x < output.dimPrim; ++x) {
        if (task.isToPolar) {
          float32 radius = number(x) * step;
          if (task.grid == Grid::logCylinder && radius > 0.0f) {
            radius = std::exp(radius);
          }
          const bool isSphere = task.grid == Grid::sphere;
          const float32 horizontal = isSphere ? radius * polarSine : radius;
          sample(x, y, z, horizontal * cosines[y] + task.center[0], horizontal * sines[y] + task.center[1],
                 isSphere ? radius * polarCosine + task.center[2] : number(z));
        } else {
          const float32 dx = number(x) - task.center[0], dy = number(y) - task.center[1];
          const float32 dz = task.grid == Grid::sphere ? number(z) - task.center[2] : 0.0f;
          const float32 radius = std::sqrt(dx * dx + dy * dy + dz * dz);
          float32 azimuth = std::atan2(dy, dx);
          azimuth = azimuth < 0.0f ? azimuth + 6.2831855f : azimuth;
          const float32 index = task.grid != Grid::logCylinder ? radius / step
                                : radius > 0.0f                ? std::exp(radius * step)
                                                               : radius;
          const float32 polar = radius == 0.0f ? 0.0f : std::acos(dz / radius);
          sample(x, y, z, index, azimuth / azimuthStep, task.grid == Grid::sphere ? polar / polarStep : number(z));
        }
      }
    }
  }
}

template <class T>
void plainTransform(const Task& task, const View<T>& input, const View<T>& output) {
  const auto shape = [](const View<T>& view) {
    return View<const char>{nullptr, view.dimPrim, view.dimSec, view.dimTert, 0, 0, 0};
  };
  const PlainSampler<T> sampler{input, 1.0f};
  inParts(omp_get_max_threads(), output.dimTert, [&](SizeType begin, SizeType end) {
    plainPositions(task, shape(input), shape(output), begin, end,
                   [&](SizeType x, SizeType y, SizeType z, float32 px, float32 py, float32 pz) {
                     if (!task.isLinear) {
                       output.at(x, y, z) = static_cast<T>(sampler.nearest(px, py, pz));
                     } else if constexpr (std::is_integral_v<T>) {
                       output.at(x, y, z) = static_cast<T>(std::floor(sampler.linear(px, py, pz) + 0.5f));
                     } else {
                       output.at(x, y, z) = sampler.linear(px, py, pz);
                     }
                   });
  });
}

template <class Frame, class Parameter, class T>
void add(const std::string& name, Grid grid, bool isToPolar) {
  for (const bool isLinear : {true, false}) {
    const std::string title = name + "<" + Tavi::typeName<T> + ">/" + (isLinear ? "linear" : "nearest");
    benchmark::RegisterBenchmark(
        title.c_str(),
        [=](benchmark::State& state) {
          const SizeType edge = std::min<SizeType>(
              256, static_cast<SizeType>(std::cbrt(static_cast<double>(smallBytes() / sizeof(float32)))) * 2);
          const VolumePtr<T> cube(new Volume<T>(Tavi::Dimension<SizeType>(edge, edge, edge)));
          const VolumePtr<T> polar(new Volume<T>(Tavi::Dimension<SizeType>(edge / 2, 360, edge)));
          const auto input = isToPolar ? cube : polar, output = isToPolar ? polar : cube;
          for (SizeType i = 0; i < input->getSize(); ++i) {
            input->getData()[i] = static_cast<T>((i * 2654435761u >> 13) % 101);
          }
          const auto middle = static_cast<float32>(edge) / 2.0f - 0.25f;
          const Task task{grid, isToPolar, isLinear, {middle, middle, middle}, middle};
          const SmartPointer<Parameter> parameter(new Parameter);
          parameter->inputVolume = input;
          parameter->outputVolume = output;
          parameter->inputCenter = Tavi::Triple<float32>(middle, middle, middle);
          parameter->inputMaximumDistance = middle;
          parameter->inputLinearInterpolation = isLinear;
          parameter->inputOuterValue.setValue(T(1));
          const VolumePtr<T> plain(new Volume<T>(output->getDimension()));
          const SizeType bytes = output->getSize() * sizeof(T);
          contest(state, {{name, bytes, [=] { Frame().apply(parameter); }},
                          {"plain", bytes, [=] { plainTransform(task, viewOf(*input), viewOf(*plain)); }}});
          state.counters["voxels"] =
              benchmark::Counter(static_cast<double>(output->getSize()), benchmark::Counter::kIsIterationInvariantRate);
        })
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime();
  }
}

template <class T>
void addAll() {
  add<DLL::CartesianToCylinderCoordinatesTransform::Operator, CartesianToCylinderCoordinatesTransform::Parameter, T>(
      "CartesianToCylinder", Grid::cylinder, true);
  add<DLL::CartesianToLogCylinderCoordinatesTransform::Operator, CartesianToLogCylinderCoordinatesTransform::Parameter,
      T>("CartesianToLogCylinder", Grid::logCylinder, true);
  add<DLL::CartesianToSphericalCoordinatesTransform::Operator, CartesianToSphericalCoordinatesTransform::Parameter, T>(
      "CartesianToSpherical", Grid::sphere, true);
  add<DLL::CylinderToCartesianCoordinatesTransform::Operator, CylinderToCartesianCoordinatesTransform::Parameter, T>(
      "CylinderToCartesian", Grid::cylinder, false);
  add<DLL::LogCylinderToCartesianCoordinatesTransform::Operator, LogCylinderToCartesianCoordinatesTransform::Parameter,
      T>("LogCylinderToCartesian", Grid::logCylinder, false);
  add<DLL::SphericalToCartesianCoordinatesTransform::Operator, SphericalToCartesianCoordinatesTransform::Parameter, T>(
      "SphericalToCartesian", Grid::sphere, false);
}

[[maybe_unused]] const bool registered = [] {
  addAll<uint8>();
  addAll<uint16>();
  addAll<float32>();
  return true;
}();

}  // namespace
