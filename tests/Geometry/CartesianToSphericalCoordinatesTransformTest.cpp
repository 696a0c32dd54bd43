#include "Geometry/CoordinateTransformFailures.hpp"
#include "Geometry/CoordinateTransforms.hpp"

#include <CartesianToSphericalCoordinatesTransform.hpp>
#include <DLL/CartesianToSphericalCoordinatesTransform.hpp>

#include <cmath>
#include <limits>
#include <vector>

namespace NORV::Tests {
namespace {

struct Op {
  using Frame = TaviOperators::DLL::CartesianToSphericalCoordinatesTransform::Operator;
  using Parameter = TaviOperators::CartesianToSphericalCoordinatesTransform::Parameter;
  static constexpr const char* name = "CartesianToSphericalCoordinatesTransform";
  static constexpr bool isToPolar = true, takesPairs = false;

  static Point position(const Setting& setting, const Extents&, const Extents& output, const Extents& at) {
    const float32 radius = statedNumber(at[0]) * statedRadialStep(setting, output[0]) + setting.minimum;
    const float32 azimuth = statedNumber(at[1]) * (statedFullTurn / statedNumber(output[1]));
    const float32 polar = statedNumber(at[2]) * (statedHalfTurn / statedNumber(output[2]));
    const float32 horizontal = radius * std::sin(polar);
    return {horizontal * std::cos(azimuth) + setting.center.x, horizontal * std::sin(azimuth) + setting.center.y,
            radius * std::cos(polar) + setting.center.z};
  }
  template <class Body>
  static void forEachInstance(const Body& body) {
    forEachSameInstance(body);
  }
};

TEST(CartesianToSphericalCoordinatesTransform, KeysStandInTheirOrderWithTheirDefaults) { expectKeys<Op>(); }
TEST(CartesianToSphericalCoordinatesTransform, EveryInstanceIsRegisteredUnderItsName) { expectInstances<Op>(5); }
TEST(CartesianToSphericalCoordinatesTransform, EveryInstanceGivesTheStatedVoxels) { expectEveryInstanceStated<Op>(); }
TEST(CartesianToSphericalCoordinatesTransform, EveryLayoutGivesTheStatedVoxels) { expectEveryLayoutStated<Op>(); }
TEST(CartesianToSphericalCoordinatesTransform, EveryThreadCountGivesTheSameVoxels) {
  expectEveryThreadCountStated<Op>();
}
TEST(CartesianToSphericalCoordinatesTransform, ExtentsOfOneVoxel) { expectSmallExtentsStated<Op>(); }
TEST(CartesianToSphericalCoordinatesTransform, PositionsThatAreNoNumberOrFarAwayTakeTheOuterValue) {
  expectExtremePositionsStated<Op>();
}
TEST(CartesianToSphericalCoordinatesTransform, APositionOutsideTheRegionTakesTheOuterValueAsItIs) {
  expectOuterValueBeyondTheInput<Op>();
}
TEST(CartesianToSphericalCoordinatesTransform, TheOutputMayShareMemoryWithTheInput) { expectSharedMemoryStated<Op>(); }
TEST(CartesianToSphericalCoordinatesTransform, StepsOfProgressAreSlicesAndAnAbortSkipsThem) {
  expectProgressAndAbort<Op>();
}
TEST(CartesianToSphericalCoordinatesTransform, RowsBeyondSinglePrecision) { expectLongRowsStated<Op>(); }
TEST(CartesianToSphericalCoordinatesTransformFailure, ParameterObjectsAndVolumes) { expectParameterFailures<Op>(); }
TEST(CartesianToSphericalCoordinatesTransformFailure, VolumesWithoutAnInstance) { expectMissingInstances<Op>(); }
TEST(CartesianToSphericalCoordinatesTransformFailure, DistancesInTheWrongOrderAndOuterValues) {
  expectValueFailures<Op>();
}
TEST(CartesianToSphericalCoordinatesTransformFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  expectAllocationFailures<Op>();
}

TEST(CartesianToSphericalCoordinatesTransform, ADefaultOutputHasOneRadiusMoreThanTheRangeRoundedUp) {
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
    EXPECT_TRUE(output->getDimension() == Dimension<SizeType>(example.radii, 360, 181));
    const StatedSource<float32> source{input.voxels(), {7, 6, 5}, 9.0f};
    expectSameNumbers(voxelsOf(output),
                      statedTransform<Op, float32, float32>(setting, source, {example.radii, 360, 181}));
  }
}

TEST(CartesianToSphericalCoordinatesTransform, ARangeOfOneRadiusHasNoStep) {
  const Setting setting{{3.0f, 2.0f, 1.0f}, 0.0f, 2.0f, true};
  expectStated<Op, float32, float32>(setting, moderateValues<float32>(210), 9.0f, {7, 6, 5}, {1, 9, 4});
}

TEST(CartesianToSphericalCoordinatesTransformFailure, ADefaultOutputForDistancesThatAreNotFiniteOrTooFarApart) {
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
                                          "CartesianToSphericalCoordinatesTransform::apply");
    EXPECT_TRUE(parameter->outputVolume.value() == nullptr);
  }
  for (const float32 maximum : {Limits::max(), 0x1p63f, 0x1p62f}) {
    const auto parameter = transformRequest<Op>(input, {{}, 0.0f, maximum, true}, uint8{7});
    expectStandard<std::overflow_error>(
        [&] { Op::Frame().apply(parameter); },
        "NORV::Tavi::Dimension< NORV::uint64 >::size current size exceeds to boundarys of NORV::uint64");
  }
}

}  // namespace
}  // namespace NORV::Tests
