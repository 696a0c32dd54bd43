#include "Geometry/CoordinateTransformFailures.hpp"
#include "Geometry/CoordinateTransforms.hpp"

#include <DLL/LogCylinderToCartesianCoordinatesTransform.hpp>
#include <LogCylinderToCartesianCoordinatesTransform.hpp>

#include <cmath>
#include <limits>
#include <vector>

namespace NORV::Tests {
namespace {

struct Op {
  using Frame = TaviOperators::DLL::LogCylinderToCartesianCoordinatesTransform::Operator;
  using Parameter = TaviOperators::LogCylinderToCartesianCoordinatesTransform::Parameter;
  static constexpr const char* name = "LogCylinderToCartesianCoordinatesTransform";
  static constexpr bool isToPolar = false, takesPairs = false;

  static Point position(const Setting& setting, const Extents& input, const Extents&, const Extents& at) {
    const float32 dx = statedNumber(at[0]) - setting.center.x, dy = statedNumber(at[1]) - setting.center.y;
    const float32 radius = std::sqrt(dx * dx + dy * dy);
    const float32 index =
        radius > 0.0f ? std::exp((radius - setting.minimum) * statedExponentStep(setting, input[0])) : radius;
    return {index, statedAzimuthIndex(dx, dy, input[1]), statedNumber(at[2])};
  }
  template <class Body>
  static void forEachInstance(const Body& body) {
    forEachVoxelType([&body]<class T>() { body.template operator()<T, T>(); });
  }
};

TEST(LogCylinderToCartesianCoordinatesTransform, KeysStandInTheirOrderWithTheirDefaults) { expectKeys<Op>(); }
TEST(LogCylinderToCartesianCoordinatesTransform, EveryInstanceIsRegisteredUnderItsName) { expectInstances<Op>(8); }
TEST(LogCylinderToCartesianCoordinatesTransform, EveryInstanceGivesTheStatedVoxels) { expectEveryInstanceStated<Op>(); }
TEST(LogCylinderToCartesianCoordinatesTransform, EveryLayoutGivesTheStatedVoxels) { expectEveryLayoutStated<Op>(); }
TEST(LogCylinderToCartesianCoordinatesTransform, EveryThreadCountGivesTheSameVoxels) {
  expectEveryThreadCountStated<Op>();
}
TEST(LogCylinderToCartesianCoordinatesTransform, ExtentsOfOneVoxel) { expectSmallExtentsStated<Op>(); }
TEST(LogCylinderToCartesianCoordinatesTransform, PositionsThatAreNoNumberOrFarAwayTakeTheOuterValue) {
  expectExtremePositionsStated<Op>();
}
TEST(LogCylinderToCartesianCoordinatesTransform, APositionOutsideTheRegionTakesTheOuterValueAsItIs) {
  expectOuterValueBeyondTheInput<Op>();
}
TEST(LogCylinderToCartesianCoordinatesTransform, TheOutputMayShareMemoryWithTheInput) {
  expectSharedMemoryStated<Op>();
}
TEST(LogCylinderToCartesianCoordinatesTransform, StepsOfProgressAreSlicesAndAnAbortSkipsThem) {
  expectProgressAndAbort<Op>();
}
TEST(LogCylinderToCartesianCoordinatesTransform, RowsBeyondSinglePrecision) { expectLongRowsStated<Op>(); }
TEST(LogCylinderToCartesianCoordinatesTransformFailure, ParameterObjectsAndVolumes) { expectParameterFailures<Op>(); }
TEST(LogCylinderToCartesianCoordinatesTransformFailure, VolumesWithoutAnInstance) { expectMissingInstances<Op>(); }
TEST(LogCylinderToCartesianCoordinatesTransformFailure, DistancesInTheWrongOrderAndOuterValues) {
  expectValueFailures<Op>();
}
TEST(LogCylinderToCartesianCoordinatesTransformFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  expectAllocationFailures<Op>();
}

}  // namespace
}  // namespace NORV::Tests
