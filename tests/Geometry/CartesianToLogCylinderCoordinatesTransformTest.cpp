#include "Geometry/CoordinateTransformFailures.hpp"
#include "Geometry/CoordinateTransforms.hpp"

#include <CartesianToLogCylinderCoordinatesTransform.hpp>
#include <DLL/CartesianToLogCylinderCoordinatesTransform.hpp>

#include <cmath>
#include <limits>
#include <vector>

namespace NORV::Tests {
namespace {

struct Op {
  using Frame = TaviOperators::DLL::CartesianToLogCylinderCoordinatesTransform::Operator;
  using Parameter = TaviOperators::CartesianToLogCylinderCoordinatesTransform::Parameter;
  static constexpr const char* name = "CartesianToLogCylinderCoordinatesTransform";
  static constexpr bool isToPolar = true, takesPairs = true;

  static Point position(const Setting& setting, const Extents&, const Extents& output, const Extents& at) {
    const float32 exponent = statedNumber(at[0]) * statedExponentStep(setting, output[0]) + setting.minimum;
    const float32 radius = exponent > 0.0f ? std::exp(exponent) : exponent;
    return statedCylinderPoint(setting, radius, output, at);
  }
  template <class Body>
  static void forEachInstance(const Body& body) {
    forEachVoxelTypePair(body);
  }
};

TEST(CartesianToLogCylinderCoordinatesTransform, KeysStandInTheirOrderWithTheirDefaults) { expectKeys<Op>(); }
TEST(CartesianToLogCylinderCoordinatesTransform, EveryInstanceIsRegisteredUnderItsName) { expectInstances<Op>(64); }
TEST(CartesianToLogCylinderCoordinatesTransform, EveryInstanceGivesTheStatedVoxels) { expectEveryInstanceStated<Op>(); }
TEST(CartesianToLogCylinderCoordinatesTransform, EveryLayoutGivesTheStatedVoxels) { expectEveryLayoutStated<Op>(); }
TEST(CartesianToLogCylinderCoordinatesTransform, EveryThreadCountGivesTheSameVoxels) {
  expectEveryThreadCountStated<Op>();
}
TEST(CartesianToLogCylinderCoordinatesTransform, ExtentsOfOneVoxel) { expectSmallExtentsStated<Op>(); }
TEST(CartesianToLogCylinderCoordinatesTransform, PositionsThatAreNoNumberOrFarAwayTakeTheOuterValue) {
  expectExtremePositionsStated<Op>();
}
TEST(CartesianToLogCylinderCoordinatesTransform, APositionOutsideTheRegionTakesTheOuterValueAsItIs) {
  expectOuterValueBeyondTheInput<Op>();
}
TEST(CartesianToLogCylinderCoordinatesTransform, TheOutputMayShareMemoryWithTheInput) {
  expectSharedMemoryStated<Op>();
}
TEST(CartesianToLogCylinderCoordinatesTransform, StepsOfProgressAreSlicesAndAnAbortSkipsThem) {
  expectProgressAndAbort<Op>();
}
TEST(CartesianToLogCylinderCoordinatesTransform, RowsBeyondSinglePrecision) { expectLongRowsStated<Op>(); }
TEST(CartesianToLogCylinderCoordinatesTransformFailure, ParameterObjectsAndVolumes) { expectParameterFailures<Op>(); }
TEST(CartesianToLogCylinderCoordinatesTransformFailure, VolumesWithoutAnInstance) { expectMissingInstances<Op>(); }
TEST(CartesianToLogCylinderCoordinatesTransformFailure, DistancesInTheWrongOrderAndOuterValues) {
  expectValueFailures<Op>();
}
TEST(CartesianToLogCylinderCoordinatesTransformFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  expectAllocationFailures<Op>();
}

TEST(CartesianToLogCylinderCoordinatesTransform, ADefaultOutputHasOneRadiusMoreThanTheRangeRoundedUp) {
  struct Case {
    float32 minimum, maximum;
    SizeType radii;
  };
  for (const Case& example : {Case{0.0f, 0.0f, 1}, Case{2.5f, 2.5f, 1}, Case{0.25f, 0.75f, 2}, Case{0.0f, 1.0f, 2},
                              Case{0.0f, 1.0001f, 3}, Case{-2.0f, 4.5f, 8}}) {
    const TestVolume<float32> input({7, 6, 5}, regionLayout);
    input.fill(moderateValues<float32>(210));
    const Setting setting{{3.0f, 2.0f, 1.0f}, example.minimum, example.maximum, true};
    const auto parameter = transformRequest<Op>(input, setting, 9.0f);
    Op::Frame().apply(parameter);
    const VolumePtr<float32> output(parameter->outputVolume.value());
    ASSERT_TRUE(output != nullptr);
    EXPECT_TRUE(output->getDimension() == Dimension<SizeType>(example.radii, 360, 5));
    const StatedSource<float32> source{input.voxels(), {7, 6, 5}, 9.0f};
    expectSameNumbers(voxelsOf(output),
                      statedTransform<Op, float32, float32>(setting, source, {example.radii, 360, 5}));
  }
}

TEST(CartesianToLogCylinderCoordinatesTransform, ARangeOfOneRadiusHasNoStep) {
  const Setting setting{{3.0f, 2.0f, 1.0f}, 0.0f, 2.0f, true};
  expectStated<Op, float32, float32>(setting, moderateValues<float32>(210), 9.0f, {7, 6, 5}, {1, 9, 4});
}

TEST(CartesianToLogCylinderCoordinatesTransformFailure, ADefaultOutputForDistancesThatAreNotFiniteOrTooFarApart) {
  using Limits = std::numeric_limits<float32>;
  const TestVolume<uint8> input({4, 3, 2});
  const float32 infinity = Limits::infinity(), nan = Limits::quiet_NaN();
  const std::vector<std::pair<float32, float32>> distances{{0.0f, infinity},     {-infinity, 0.0f},
                                                           {infinity, infinity}, {nan, 1.0f},
                                                           {0.0f, nan},          {-Limits::max(), Limits::max()}};
  for (const auto& [minimum, maximum] : distances) {
    const auto parameter = transformRequest<Op>(input, {{}, minimum, maximum, true}, uint8{7});
    expectFailure<Exceptions::InvalidArg>([&] { Op::Frame().apply(parameter); },
                                          "Minimum and maximum distance must be finite!",
                                          "CartesianToLogCylinderCoordinatesTransform::apply");
    EXPECT_TRUE(parameter->outputVolume.value() == nullptr);
  }
  for (const float32 maximum : {Limits::max(), 0x1p63f, 0x1p62f}) {
    const auto parameter = transformRequest<Op>(input, {{}, 0.0f, maximum, true}, uint8{7});
    expectStandard<std::overflow_error>(
        [&] { Op::Frame().apply(parameter); },
        "NORV::Tavi::Dimension< NORV::uint64 >::size current size exceeds to boundarys of NORV::uint64");
  }
}

/// Volumes of different voxel types over the same memory.
TEST(CartesianToLogCylinderCoordinatesTransform, AnOutputOfAnotherTypeMayShareMemoryWithTheInput) {
  const Setting setting{{2.75f, 3.1f, 1.9f}, 0.5f, 4.25f, true};
  std::vector<float32> memory = moderateValues<float32>(300);
  const StatedSource<float32> source{{memory.begin() + 20, memory.begin() + 230}, {7, 6, 5}, -2.0f};
  const VolumePtr<float32> input(new Volume<float32>(Dimension<SizeType>(7, 6, 5), memory.data() + 20, {}));
  const VolumePtr<int16> output(
      new Volume<int16>(Dimension<SizeType>(5, 9, 4), reinterpret_cast<int16*>(memory.data()), {}));
  Op::Frame().apply(transformRequest<Op>(input, setting, -2.0f, output));
  expectSameNumbers(voxelsOf(output), statedTransform<Op, float32, int16>(setting, source, {5, 9, 4}));
}

}  // namespace
}  // namespace NORV::Tests
