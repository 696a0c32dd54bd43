#include "Geometry/CoordinateTransformFailures.hpp"
#include "Geometry/CoordinateTransforms.hpp"

#include <DLL/SphericalToCartesianCoordinatesTransform.hpp>
#include <SphericalToCartesianCoordinatesTransform.hpp>

#include <cmath>
#include <limits>
#include <vector>

namespace NORV::Tests {
namespace {

struct Op {
  using Frame = TaviOperators::DLL::SphericalToCartesianCoordinatesTransform::Operator;
  using Parameter = TaviOperators::SphericalToCartesianCoordinatesTransform::Parameter;
  static constexpr const char* name = "SphericalToCartesianCoordinatesTransform";
  static constexpr bool isToPolar = false, takesPairs = false;

  static Point position(const Setting& setting, const Extents& input, const Extents&, const Extents& at) {
    const float32 dx = statedNumber(at[0]) - setting.center.x, dy = statedNumber(at[1]) - setting.center.y;
    const float32 dz = statedNumber(at[2]) - setting.center.z;
    const float32 radius = std::sqrt(dx * dx + dy * dy + dz * dz);
    const float32 polar = radius == 0.0f ? 0.0f : std::acos(dz / radius);
    return {(radius - setting.minimum) / statedRadialStep(setting, input[0]), statedAzimuthIndex(dx, dy, input[1]),
            polar / (statedHalfTurn / statedNumber(input[2]))};
  }
  template <class Body>
  static void forEachInstance(const Body& body) {
    forEachSameInstance(body);
  }
};

TEST(SphericalToCartesianCoordinatesTransform, KeysStandInTheirOrderWithTheirDefaults) { expectKeys<Op>(); }
TEST(SphericalToCartesianCoordinatesTransform, EveryInstanceIsRegisteredUnderItsName) { expectInstances<Op>(5); }
TEST(SphericalToCartesianCoordinatesTransform, EveryInstanceGivesTheStatedVoxels) { expectEveryInstanceStated<Op>(); }
TEST(SphericalToCartesianCoordinatesTransform, EveryLayoutGivesTheStatedVoxels) { expectEveryLayoutStated<Op>(); }
TEST(SphericalToCartesianCoordinatesTransform, EveryThreadCountGivesTheSameVoxels) {
  expectEveryThreadCountStated<Op>();
}
TEST(SphericalToCartesianCoordinatesTransform, ExtentsOfOneVoxel) { expectSmallExtentsStated<Op>(); }
TEST(SphericalToCartesianCoordinatesTransform, PositionsThatAreNoNumberOrFarAwayTakeTheOuterValue) {
  expectExtremePositionsStated<Op>();
}
TEST(SphericalToCartesianCoordinatesTransform, APositionOutsideTheRegionTakesTheOuterValueAsItIs) {
  expectOuterValueBeyondTheInput<Op>();
}
TEST(SphericalToCartesianCoordinatesTransform, TheOutputMayShareMemoryWithTheInput) { expectSharedMemoryStated<Op>(); }
TEST(SphericalToCartesianCoordinatesTransform, StepsOfProgressAreSlicesAndAnAbortSkipsThem) {
  expectProgressAndAbort<Op>();
}
TEST(SphericalToCartesianCoordinatesTransform, RowsBeyondSinglePrecision) { expectLongRowsStated<Op>(); }
TEST(SphericalToCartesianCoordinatesTransformFailure, ParameterObjectsAndVolumes) { expectParameterFailures<Op>(); }
TEST(SphericalToCartesianCoordinatesTransformFailure, VolumesWithoutAnInstance) { expectMissingInstances<Op>(); }
TEST(SphericalToCartesianCoordinatesTransformFailure, DistancesInTheWrongOrderAndOuterValues) {
  expectValueFailures<Op>();
}
TEST(SphericalToCartesianCoordinatesTransformFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  expectAllocationFailures<Op>();
}

}  // namespace
}  // namespace NORV::Tests
