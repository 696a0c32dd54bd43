#include "Geometry/CoordinateTransformFailures.hpp"
#include "Geometry/CoordinateTransforms.hpp"

#include <CylinderToCartesianCoordinatesTransform.hpp>
#include <DLL/CylinderToCartesianCoordinatesTransform.hpp>

#include <cmath>
#include <limits>
#include <vector>

namespace NORV::Tests {
namespace {

struct Op {
  using Frame = TaviOperators::DLL::CylinderToCartesianCoordinatesTransform::Operator;
  using Parameter = TaviOperators::CylinderToCartesianCoordinatesTransform::Parameter;
  static constexpr const char* name = "CylinderToCartesianCoordinatesTransform";
  static constexpr bool isToPolar = false, takesPairs = false;

  static Point position(const Setting& setting, const Extents& input, const Extents&, const Extents& at) {
    const float32 dx = statedNumber(at[0]) - setting.center.x, dy = statedNumber(at[1]) - setting.center.y;
    const float32 radius = std::sqrt(dx * dx + dy * dy);
    return {(radius - setting.minimum) / statedRadialStep(setting, input[0]), statedAzimuthIndex(dx, dy, input[1]),
            statedNumber(at[2])};
  }
  template <class Body>
  static void forEachInstance(const Body& body) {
    forEachSameInstance(body);
  }
};

TEST(CylinderToCartesianCoordinatesTransform, KeysStandInTheirOrderWithTheirDefaults) { expectKeys<Op>(); }
TEST(CylinderToCartesianCoordinatesTransform, EveryInstanceIsRegisteredUnderItsName) { expectInstances<Op>(5); }
TEST(CylinderToCartesianCoordinatesTransform, EveryInstanceGivesTheStatedVoxels) { expectEveryInstanceStated<Op>(); }
TEST(CylinderToCartesianCoordinatesTransform, EveryLayoutGivesTheStatedVoxels) { expectEveryLayoutStated<Op>(); }
TEST(CylinderToCartesianCoordinatesTransform, EveryThreadCountGivesTheSameVoxels) {
  expectEveryThreadCountStated<Op>();
}
TEST(CylinderToCartesianCoordinatesTransform, ExtentsOfOneVoxel) { expectSmallExtentsStated<Op>(); }
TEST(CylinderToCartesianCoordinatesTransform, PositionsThatAreNoNumberOrFarAwayTakeTheOuterValue) {
  expectExtremePositionsStated<Op>();
}
TEST(CylinderToCartesianCoordinatesTransform, APositionOutsideTheRegionTakesTheOuterValueAsItIs) {
  expectOuterValueBeyondTheInput<Op>();
}
TEST(CylinderToCartesianCoordinatesTransform, TheOutputMayShareMemoryWithTheInput) { expectSharedMemoryStated<Op>(); }
TEST(CylinderToCartesianCoordinatesTransform, StepsOfProgressAreSlicesAndAnAbortSkipsThem) {
  expectProgressAndAbort<Op>();
}
TEST(CylinderToCartesianCoordinatesTransform, RowsBeyondSinglePrecision) { expectLongRowsStated<Op>(); }
TEST(CylinderToCartesianCoordinatesTransformFailure, ParameterObjectsAndVolumes) { expectParameterFailures<Op>(); }
TEST(CylinderToCartesianCoordinatesTransformFailure, VolumesWithoutAnInstance) { expectMissingInstances<Op>(); }
TEST(CylinderToCartesianCoordinatesTransformFailure, DistancesInTheWrongOrderAndOuterValues) {
  expectValueFailures<Op>();
}
TEST(CylinderToCartesianCoordinatesTransformFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  expectAllocationFailures<Op>();
}

}  // namespace
}  // namespace NORV::Tests
