#pragma once

#include <CoordinatesTransformParameter.hpp>

/// Unrolls a volume around an axis along z with radii that grow exponentially.
///
/// The output's x axis is the radius, its y axis the azimuth, its z axis the height. With k = log(maximum -
/// minimum) / (nx - 1), or 1 for a range below 1e-6, and t = i k + minimum, radius i is exp(t) for t above 0 and t
/// elsewhere; azimuth j is j 2 pi / ny.
///
/// An output that is not given has ceil(maximum - minimum) + 1 radii, 360 azimuths and the input's slices.
/// Interpolated values are rounded for integer outputs and kept for floating-point ones.
///
/// - Border: every voxel is written. Interpolation blends into inputOuterValue at the edges of the input; positions
///   further out, and those that are infinite or not a number, take it.
/// - NaN: a voxel that is not a number makes each result so that it takes part in.
/// - Failures: InvalidParameterObjectException without inputVolume; InvalidArg if the minimum exceeds the maximum
///   distance, or if they are not finite and an output has to be made; NULLPointer without inputOuterValue, BadCast
///   for one of another voxel type.
/// - Halo: whole volume.
/// - Memory: a few numbers for each radius and azimuth; a copy of the input if it overlaps the output.
/// - Threads: parallel over slices; the result does not depend on the number of threads. A step of progress per
///   slice of the output.
/// - Cost: one sample of the input per voxel; exponentials, sines and cosines once per radius or angle. All
///   positions are in single precision.
namespace NORV::TaviOperators::CartesianToLogCylinderCoordinatesTransform {

/// One run.
class Parameter final : public CoordinatesTransformParameter<Parameter> {
public:
  Parameter()
      : CoordinatesTransformParameter(
            "Cartesian volume", "centre on the first two axes, relative to the region of interest",
            {Takes::volume, optional,
             "target of any voxel type, whose extents are the grid; made of the input's if absent"}) {}
  std::string getType() const override {
    return "NORV::TaviOperators::CartesianToLogCylinderCoordinatesTransform::Parameter";
  }
};

}  // namespace NORV::TaviOperators::CartesianToLogCylinderCoordinatesTransform
