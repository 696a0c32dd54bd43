#pragma once

#include <Parameter.hpp>

/// Averages cells of a fractional size, as many as the output has voxels.
///
/// The extents of outputVolume set the size of a cell along each axis: the extent of the input divided by that of the
/// output, above or below 1. A voxel that a cell covers in part is weighted by that part. The weighted voxels are
/// summed in double precision and the sum is divided by the volume of a cell. The mean is truncated toward zero for
/// integer voxel types and rounded to nearest for float32.
///
/// - Border: every voxel is written. Where rounding puts the end of the last cell behind the volume, the cell ends
///   with the volume.
/// - NaN: a cell that touches one becomes NaN.
/// - Failures: InvalidParameterObjectException without inputVolume or outputVolume, or with an empty input and an
///   output that is not; `std::invalid_argument` for float64 voxels and for volumes of different voxel types.
/// - Halo: whole volume.
/// - Memory: a few numbers per voxel of the three axes; a copy of the output where it shares memory with the input. A
///   copy of each input whose rows are not dense.
/// - Threads: parallel over output slices, one step of progress each; the result does not depend on the number of
///   threads.
/// - Cost: some arithmetic operations per input voxel that a cell touches.
namespace NORV::TaviOperators::SubpixelExactBinning {

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<int32> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to average"});
    append("outputVolume", outputVolume,
           {Takes::volume, required, "target of the same voxel type, whose extents set the scale"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::SubpixelExactBinning::Parameter"; }
};

}  // namespace NORV::TaviOperators::SubpixelExactBinning
