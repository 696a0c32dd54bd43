#include "Geometry/CoordinateTransformFailures.hpp"
#include "Geometry/CoordinateTransforms.hpp"

#include <CartesianToCylinderCoordinatesTransform.hpp>
#include <DLL/CartesianToCylinderCoordinatesTransform.hpp>

#include <cmath>
#include <limits>
#include <vector>

namespace NORV::Tests {
namespace {

struct Op {
  using Frame = TaviOperators::DLL::CartesianToCylinderCoordinatesTransform::Operator;
  using Parameter = TaviOperators::CartesianToCylinderCoordinatesTransform::Parameter;
  static constexpr const char* name = "CartesianToCylinderCoordinatesTransform";
  static constexpr bool isToPolar = true, takesPairs = false;

  static Point position(const Setting& setting, const Extents&, const Extents& output, const Extents& at) {
    const float32 radius = statedNumber(at[0]) * statedRadialStep(setting, output[0]) + setting.minimum;
    return statedCylinderPoint(setting, radius, output, at);
  }
  template <class Body>
  static void forEachInstance(const Body& body) {
    forEachSameInstance(body);
  }
};

TEST(CartesianToCylinderCoordinatesTransform, KeysStandInTheirOrderWithTheirDefaults) { expectKeys<Op>(); }
TEST(CartesianToCylinderCoordinatesTransform, EveryInstanceIsRegisteredUnderItsName) { expectInstances<Op>(5); }
TEST(CartesianToCylinderCoordinatesTransform, EveryInstanceGivesTheStatedVoxels) { expectEveryInstanceStated<Op>(); }
TEST(CartesianToCylinderCoordinatesTransform, EveryLayoutGivesTheStatedVoxels) { expectEveryLayoutStated<Op>(); }
TEST(CartesianToCylinderCoordinatesTransform, EveryThreadCountGivesTheSameVoxels) {
  expectEveryThreadCountStated<Op>();
}
TEST(CartesianToCylinderCoordinatesTransform, ExtentsOfOneVoxel) { expectSmallExtentsStated<Op>(); }
TEST(CartesianToCylinderCoordinatesTransform, PositionsThatAreNoNumberOrFarAwayTakeTheOuterValue) {
  expectExtremePositionsStated<Op>();
}
TEST(CartesianToCylinderCoordinatesTransform, APositionOutsideTheRegionTakesTheOuterValueAsItIs) {
  expectOuterValueBeyondTheInput<Op>();
}
TEST(CartesianToCylinderCoordinatesTransform, TheOutputMayShareMemoryWithTheInput) { expectSharedMemoryStated<Op>(); }
TEST(CartesianToCylinderCoordinatesTransform, StepsOfProgressAreSlicesAndAnAbortSkipsThem) {
  expectProgressAndAbort<Op>();
}
TEST(CartesianToCylinderCoordinatesTransform, RowsBeyondSinglePrecision) { expectLongRowsStated<Op>(); }
TEST(CartesianToCylinderCoordinatesTransformFailure, ParameterObjectsAndVolumes) { expectParameterFailures<Op>(); }
TEST(CartesianToCylinderCoordinatesTransformFailure, VolumesWithoutAnInstance) { expectMissingInstances<Op>(); }
TEST(CartesianToCylinderCoordinatesTransformFailure, DistancesInTheWrongOrderAndOuterValues) {
  expectValueFailures<Op>();
}
TEST(CartesianToCylinderCoordinatesTransformFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  expectAllocationFailures<Op>();
}

TEST(CartesianToCylinderCoordinatesTransform, ADefaultOutputHasOneRadiusMoreThanTheRangeRoundedUp) {
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

TEST(CartesianToCylinderCoordinatesTransform, ARangeOfOneRadiusHasNoStep) {
  const Setting setting{{3.0f, 2.0f, 1.0f}, 0.0f, 2.0f, true};
  expectStated<Op, float32, float32>(setting, moderateValues<float32>(210), 9.0f, {7, 6, 5}, {1, 9, 4});
}

TEST(CartesianToCylinderCoordinatesTransformFailure, ADefaultOutputForDistancesThatAreNotFiniteOrTooFarApart) {
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
                                          "CartesianToCylinderCoordinatesTransform::apply");
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
