#pragma once

#include <Parameter.hpp>

/// Resamples a volume through a 4 x 4 homogeneous matrix.
///
/// The matrix maps positions of the input to positions of the output; its inverse, computed once in double precision,
/// gives the input position of each output voxel. Positions count voxels from the first voxel of each view. The fourth
/// row of the matrix counts, so projective matrices work: positions are divided by w.
///
/// The extents of outputVolume are those of the result; it is not resized.
///
/// - Border: nearest neighbour takes inputOuterValue outside the input. Trilinear interpolation replaces each of the
///   eight voxels that lies outside, so edges blend into inputOuterValue.
/// - Rounding: interpolated results are rounded to whole numbers, halves upwards, also those of floating-point voxels.
///   Nearest neighbour keeps fractions.
/// - NaN: nearest neighbour copies it; it makes NaN of every interpolated voxel whose cell has it. Positions that are
///   NaN or infinite have the outer value.
/// - Failures: InvalidParameterObjectException without one of the three volumes, with an output of another voxel type,
///   with a matrix volume that is not 4 x 4 x 1; NULLPointer without inputOuterValue, BadCast for one of another voxel
///   type; InvalidArg for a singular matrix.
/// - Halo: whole volume.
/// - Memory: none; a copy of the input if it shares voxels with the output.
/// - Threads: parallel over slices; the result does not depend on the number of threads. One step of progress per
/// slice.
/// - Cost: one position and one or eight voxels of the input per output voxel.
namespace NORV::TaviOperators::AffineTransform {

/// One run. outputVolume may be or share voxels with inputVolume or inputMatrixVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> inputMatrixVolume;
  Property<IData> inputOuterValue;
  Property<bool> inputLinearInterpolation;
  Property<int32> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to resample"});
    append("inputMatrixVolume", inputMatrixVolume,
           KeyInfo{Takes::matrix, required, "matrix from input to output positions, row by row; float32 or float64"}
               .within("4 x 4 x 1 voxels, not singular")
               .in("voxels"));
    append("inputOuterValue", inputOuterValue, like("inputVolume", required, "value of positions outside the input"));
    append("inputLinearInterpolation", inputLinearInterpolation,
           KeyInfo{Takes::flag, optional, "trilinear interpolation; nearest neighbour if false"}.ifAbsent("true"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume,
           {Takes::volume, required, "target of the same voxel type, which gives the extents of the result"});
    inputLinearInterpolation = true;
  }
  std::string getType() const override { return "NORV::TaviOperators::AffineTransform::Parameter"; }
};

}  // namespace NORV::TaviOperators::AffineTransform
