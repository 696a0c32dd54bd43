#pragma once

#include <CoordinatesTransformParameter.hpp>

/// Rolls a volume of radius, azimuth and polar angle into a Cartesian one.
///
/// The input's x axis is the radius, its y axis the azimuth, its z axis the polar angle, in the steps of
/// CartesianToSphericalCoordinatesTransform. The centre itself has azimuth 0 and polar angle 0.
///
/// - Border: every voxel is written. Interpolation blends into inputOuterValue at the edges of the input; positions
///   further out, and those that are infinite or not a number, take it. So does the gap between the last azimuth
///   and the first: the grid is not closed into a circle.
/// - NaN: a voxel that is not a number makes each result so that it takes part in.
/// - Failures: InvalidParameterObjectException without inputVolume or outputVolume; InvalidArg if the minimum
///   exceeds the maximum distance; NULLPointer without inputOuterValue, BadCast for one of another voxel type.
/// - Halo: whole volume.
/// - Memory: 8 bytes for each voxel of one slice if the output has several; a copy of the input if it overlaps the
///   output.
/// - Threads: parallel over slices; the result does not depend on the number of threads. A step of progress per
///   slice of the output.
/// - Cost: one sample of the input, a square root and an arc cosine per voxel; an arc tangent per row and column.
///   All positions are in single precision.
namespace NORV::TaviOperators::SphericalToCartesianCoordinatesTransform {

/// One run.
class Parameter final : public CoordinatesTransformParameter<Parameter> {
public:
  Parameter()
      : CoordinatesTransformParameter(
            "polar volume", "centre, relative to the region of interest",
            {Takes::volume, required, "target of the same voxel type, whose extents are the Cartesian grid"}) {}
  std::string getType() const override {
    return "NORV::TaviOperators::SphericalToCartesianCoordinatesTransform::Parameter";
  }
};

}  // namespace NORV::TaviOperators::SphericalToCartesianCoordinatesTransform
