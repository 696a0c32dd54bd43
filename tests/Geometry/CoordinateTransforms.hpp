#pragma once

#include "Geometry/StatedTransform.hpp"
#include "support/HostMemory.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Tavi/Data.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/Triple.hpp>

#include <array>
#include <atomic>
#include <limits>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

/// What all transforms between Cartesian coordinates and polar grids have in common. `Op` names the frame and the
/// parameter class, states the positions and lists the instances.
namespace NORV::Tests {

using Tavi::Dimension;
using Tavi::Volume;
using Tavi::VolumePtr;

template <class Body>
void forEachSameInstance(const Body& body) {
  forEachVoxelType([&body]<class T>() {
    if constexpr (sizeof(T) <= 2 || std::is_same_v<T, float32>) {
      body.template operator()<T, T>();
    }
  });
}

template <class Op, class In>
SmartPointer<typename Op::Parameter> transformRequest(const SmartPointer<IVolume>& input, const Setting& setting,
                                                      In outer, const SmartPointer<IVolume>& output = {},
                                                      int32 threads = 2) {
  const auto parameter = makeParameter<typename Op::Parameter>();
  parameter->inputVolume = input;
  parameter->inputCenter = Tavi::Triple<float32>(setting.center.x, setting.center.y, setting.center.z);
  parameter->inputMinimumDistance = setting.minimum;
  parameter->inputMaximumDistance = setting.maximum;
  parameter->inputLinearInterpolation = setting.isLinear;
  parameter->inputOuterValue.setValue(outer);
  parameter->inputNumberOfThreads = threads;
  parameter->outputVolume = output;
  return parameter;
}

/// Moderate values, all different; whole numbers for integers.
template <class T>
std::vector<T> moderateValues(std::size_t count) {
  std::vector<T> values(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto number = static_cast<int>(i * 37 % 101);
    values[i] = std::is_floating_point_v<T> ? static_cast<T>(number) / T(8) - T(3) : static_cast<T>(number);
  }
  return values;
}

inline std::size_t countOf(const Extents& extents) { return extents[0] * extents[1] * extents[2]; }

/// Runs the frame on views of these layouts and compares with the rule.
template <class Op, class In, class Out>
void expectStated(const Setting& setting, const std::vector<In>& values, In outer, const Extents& inputExtents,
                  const Extents& outputExtents, const Layout& inputLayout = {}, const Layout& outputLayout = {},
                  int32 threads = 2) {
  const TestVolume<In> input(inputExtents, inputLayout);
  input.fill(values);
  const TestVolume<Out> output(outputExtents, outputLayout);
  const auto parameter = transformRequest<Op>(input, setting, outer, output, threads);
  typename Op::Frame frame;
  frame.apply(parameter);
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  const StatedSource<In> source{input.voxels(), inputExtents, outer};
  expectSameNumbers(output.voxels(), statedTransform<Op, In, Out>(setting, source, outputExtents));
  output.expectUntouchedOutside();
  input.expectUntouchedOutside();
}

inline std::vector<Setting> commonSettings() {
  std::vector<Setting> settings;
  for (const bool isLinear : {true, false}) {
    settings.push_back({{3.0f, 2.0f, 1.0f}, 0.0f, 3.0f, isLinear});
    settings.push_back({{2.75f, 3.1f, 1.9f}, 0.5f, 4.25f, isLinear});
    settings.push_back({{-1.5f, 8.0f, 2.5f}, 1.0f, 9.0f, isLinear});
    settings.push_back({{3.0f, 2.0f, 1.0f}, 1.5f, 1.5f, isLinear});
    settings.push_back({{3.0f, 2.0f, 1.0f}, -2.0f, 2.5f, isLinear});
    settings.push_back({{3.0f, 2.0f, 1.0f}, 0.25f, 0.75f, isLinear});
  }
  return settings;
}

/// Every instance on several layouts, settings and grids, with special values as well.
template <class Op>
void expectEveryInstanceStated() {
  const RuntimeSettings settings;
  Op::forEachInstance([]<class In, class Out>() {
    const testing::ScopedTrace trace(__FILE__, __LINE__, Tavi::typeName<Out>);
    std::size_t number = 0;
    for (const Setting& setting : commonSettings()) {
      SCOPED_TRACE(number);
      const auto& layouts = someLayouts();
      const Layout& inputLayout = layouts[number % layouts.size()];
      const Layout& outputLayout = layouts[(number / 2 + 1) % layouts.size()];
      const bool isMixed = number % 3 == 2;
      ++number;
      expectStated<Op, In, Out>(setting, isMixed ? mixedValues<In>(210, 3) : moderateValues<In>(210), In(99), {7, 6, 5},
                                {5, 9, 4}, inputLayout, outputLayout);
    }
    const Setting longRows{{8.0f, 1.5f, 1.0f}, 0.0f, 12.0f, true};
    expectStated<Op, In, Out>(longRows, moderateValues<In>(1717), In(3), {17, 3, 2}, {601, 2, 2});
  });
}

template <class Op>
void expectEveryLayoutStated() {
  const RuntimeSettings settings;
  const Setting linear{{2.75f, 3.1f, 1.9f}, 0.5f, 4.25f, true}, nearest{{2.75f, 3.1f, 1.9f}, 0.5f, 4.25f, false};
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    for (const Setting& setting : {linear, nearest}) {
      expectStated<Op, uint8, uint8>(setting, moderateValues<uint8>(210), 200, {7, 6, 5}, {5, 9, 4}, layout);
      expectStated<Op, float32, float32>(setting, moderateValues<float32>(210), -7.5f, {7, 6, 5}, {5, 9, 4},
                                         regionLayout, layout);
    }
  }
}

template <class Op>
void expectEveryThreadCountStated() {
  const RuntimeSettings settings;
  for (const int dynamic : {0, 1}) {
    omp_set_dynamic(dynamic);
    for (const int32 threads : {-7, 0, 1, 2, 5, 33, 100000}) {
      SCOPED_TRACE(threads);
      const Setting setting{{2.75f, 3.1f, 1.9f}, 0.5f, 4.25f, true};
      expectStated<Op, int16, int16>(setting, moderateValues<int16>(210), -30, {7, 6, 5}, {5, 9, 11}, {}, {}, threads);
      expectStated<Op, int16, int16>(setting, moderateValues<int16>(210), -30, {7, 6, 5}, {5, 9, 1}, {}, {}, threads);
    }
  }
}

/// One voxel along each axis, in the input and in the output.
template <class Op>
void expectSmallExtentsStated() {
  for (const bool isLinear : {true, false}) {
    for (const float32 maximum : {0.0f, 2.0f}) {
      const Setting setting{{0.0f, 0.0f, 0.0f}, 0.0f, maximum, isLinear};
      for (const Extents& extents : {Extents{1, 1, 1}, Extents{1, 4, 3}, Extents{4, 1, 3}, Extents{4, 3, 1}}) {
        SCOPED_TRACE(testing::Message() << isLinear << maximum << extents[0] << extents[1] << extents[2]);
        expectStated<Op, float32, float32>(setting, {5.5f, 2.25f, 1.0f}, 9.0f, extents, {3, 4, 2});
        expectStated<Op, float32, float32>(setting, {5.5f, 2.25f, 1.0f}, 9.0f, {3, 4, 2}, extents);
        expectStated<Op, uint8, uint8>(setting, {5, 2, 1}, 9, extents, {3, 4, 2});
      }
    }
  }
}

/// Centres and distances that lead to positions without an index take the outer value, and nothing is read outside.
template <class Op>
void expectExtremePositionsStated() {
  using Limits = std::numeric_limits<float32>;
  const std::vector<float32> extremes{Limits::quiet_NaN(),
                                      Limits::infinity(),
                                      -Limits::infinity(),
                                      Limits::max(),
                                      -Limits::max(),
                                      0x1p63f,
                                      -0x1p63f,
                                      0x1p64f,
                                      0x1p31f,
                                      -0x1p31f,
                                      1e30f,
                                      Limits::denorm_min()};
  for (const bool isLinear : {true, false}) {
    for (const float32 extreme : extremes) {
      SCOPED_TRACE(testing::Message() << extreme << " " << isLinear);
      std::vector<Setting> settings(6, Setting{{3.0f, 2.0f, 1.0f}, 0.0f, 3.0f, isLinear});
      settings[0].center.x = extreme;
      settings[1].center.y = extreme;
      settings[2].center.z = extreme;
      settings[3].minimum = settings[3].maximum = extreme;
      settings[4].minimum = -std::fabs(extreme);
      settings[5].maximum = std::fabs(extreme);
      for (const Setting& setting : settings) {
        expectStated<Op, uint8, uint8>(setting, moderateValues<uint8>(210), 200, {7, 6, 5}, {5, 9, 4});
        expectStated<Op, float32, float32>(setting, moderateValues<float32>(210), -7.5f, {7, 6, 5}, {5, 9, 4});
      }
    }
  }
}

/// Outer values that no arithmetic keeps come out as they are.
template <class Op>
void expectOuterValueBeyondTheInput() {
  using Limits = std::numeric_limits<float32>;
  for (const bool isLinear : {true, false}) {
    for (const float32 outer : {Limits::infinity(), -Limits::infinity(), Limits::max(), Limits::quiet_NaN(), -0.0f}) {
      const Setting setting{{1e6f, 1e6f, 1e6f}, 1e3f, 1e3f + 4.0f, isLinear};
      const TestVolume<float32> input({7, 6, 5});
      const TestVolume<float32> output({5, 9, 4});
      typename Op::Frame().apply(transformRequest<Op>(input, setting, outer, output));
      expectSameNumbers(output.voxels(), std::vector<float32>(180, outer));
    }
  }
}

/// The output may be the input, or a view of memory that overlaps it.
template <class Op>
void expectSharedMemoryStated() {
  for (const bool isLinear : {true, false}) {
    const Setting setting{{2.75f, 3.1f, 1.9f}, 0.5f, 4.25f, isLinear};
    for (const Layout& layout : someLayouts()) {
      SCOPED_TRACE(layout.name());
      const TestVolume<uint16> volume({7, 6, 5}, layout);
      volume.fill(moderateValues<uint16>(210));
      const StatedSource<uint16> source{volume.voxels(), {7, 6, 5}, 300};
      const auto parameter = transformRequest<Op>(volume, setting, uint16{300}, volume);
      typename Op::Frame().apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value() == volume.volume());
      expectSameNumbers(volume.voxels(), statedTransform<Op, uint16, uint16>(setting, source, {7, 6, 5}));
      volume.expectUntouchedOutside();
    }
    for (const SizeType shift : {0u, 1u, 35u, 100u}) {
      SCOPED_TRACE(shift);
      std::vector<uint16> memory = moderateValues<uint16>(400);
      const StatedSource<uint16> source{{memory.begin() + 50, memory.begin() + 260}, {7, 6, 5}, 300};
      const VolumePtr<uint16> input(new Volume<uint16>(Dimension<SizeType>(7, 6, 5), memory.data() + 50, {}));
      const VolumePtr<uint16> output(new Volume<uint16>(Dimension<SizeType>(5, 9, 4), memory.data() + shift, {}));
      typename Op::Frame().apply(transformRequest<Op>(input, setting, uint16{300}, output));
      expectSameNumbers(voxelsOf(output), statedTransform<Op, uint16, uint16>(setting, source, {5, 9, 4}));
    }
  }
}

/// Rows whose indices single precision does not hold, along each axis of the input.
template <class Op>
void expectLongRowsStated() {
  constexpr SizeType length = (SizeType{1} << 24) + 9;
  const VolumePtr<uint8> input(new Volume<uint8>(Dimension<SizeType>(length, 1, 1)));
  for (SizeType i = 0; i < length; ++i) {
    input->getData()[i] = static_cast<uint8>(i * 37 % 101);
  }
  const TestVolume<uint8> output({5, 4, 3});
  const std::vector<uint8> voxels(input->getData(), input->getData() + length);
  for (const int axis : {0, 1, 2}) {
    const std::array<uint8, 3> codes[]{{0, 2, 4}, {2, 0, 4}, {4, 2, 0}};
    input->setOrientation(Tavi::Orientation(codes[axis][0], codes[axis][1], codes[axis][2]));
    Extents extents{1, 1, 1};
    extents[static_cast<std::size_t>(axis)] = length;
    for (const bool isLinear : {true, false}) {
      const float32 far = 16777208.0f;
      const Setting setting{
          {axis == 0 ? far : 0.25f, axis == 1 ? far : 0.25f, axis == 2 ? far : 0.25f}, 0.0f, 9.0f, isLinear};
      typename Op::Frame().apply(transformRequest<Op>(input, setting, uint8{200}, output));
      const StatedSource<uint8> source{voxels, extents, 200};
      expectSameNumbers(output.voxels(), statedTransform<Op, uint8, uint8>(setting, source, {5, 4, 3}));
    }
  }
}

/// A step of progress per slice of the output; an abort skips what is left and ends the run normally.
template <class Op>
void expectProgressAndAbort() {
  const Setting setting{{60.0f, 60.0f, 20.0f}, 0.0f, 50.0f, true};
  const TestVolume<uint8> input({64, 64, 40});
  const TestVolume<uint8> output({64, 64, 40}, {}, 77);
  const auto parameter = transformRequest<Op>(input, setting, uint8{5}, output, 1);
  const auto typed = createTyped(typedIdentifier<uint8, uint8>(Op::name));
  EXPECT_EQ(typed->getProgress().getProgress(), 0.0);
  typed->apply(parameter);
  EXPECT_EQ(typed->getProgress().getProgress(), 1.0);

  bool seen = false;
  for (int attempt = 0; attempt < 50 && !seen; ++attempt) {
    output.fill({77});
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        typed->abort();
      }
    });
    typed->apply(parameter);
    ended = true;
    other.join();
    const double progress = typed->getProgress().getProgress();
    const double slices = progress * 40.0;
    EXPECT_NEAR(slices, std::round(slices), 1e-9);
    const std::vector<uint8> voxels = output.voxels();
    for (std::size_t slice = static_cast<std::size_t>(std::round(slices)); slice < 40; ++slice) {
      const auto begin = voxels.begin() + static_cast<std::ptrdiff_t>(slice * 4096);
      EXPECT_EQ(std::count(begin, begin + 4096, 77), 4096) << slice;
    }
    seen = progress < 1.0;
  }
  EXPECT_TRUE(seen) << "no run was aborted";
  typed->apply(parameter);
  EXPECT_EQ(typed->getProgress().getProgress(), 1.0);
}

}  // namespace NORV::Tests
