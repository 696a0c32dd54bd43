#pragma once

#include <Parameter.hpp>

/// Averages each column of a volume along tert, optionally within a mask.
///
/// The output is one slice. Means of integers in an integer output are (sum + count / 2) / count in integer division,
/// which rounds halves upwards for columns of non-negative sum; all others are divided in double precision.
///
/// - Border: every voxel is written; a column without a selected voxel takes inputDefaultValue.
/// - NaN: a column that holds a selected one becomes NaN.
/// - Failures: InvalidParameterObjectException without inputVolume or outputVolume, or with a mask of other extents;
///   NULLPointer without inputDefaultValue, BadCast for one of another voxel type; `std::out_of_range` for an empty
///   input; `std::invalid_argument` for combinations of voxel types that do not exist.
/// - Halo: whole volume.
/// - Memory: per thread one plane of 4 or 8 bytes per pixel for the sums, and with a mask one of 8 for the counts. A
///   copy of each input whose rows are not dense.
/// - Threads: parallel over input slices. One step of progress per slice and per thread. Floating-point sums depend on
///   the number of threads that is asked for, as each adds up its own slices first; all others do not.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::MeanProjection {

/// One run. The default is a `Data<T>` of the voxel type of outputVolume, which is that of inputVolume, float32 or
/// float64.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> inputMaskVolume;
  Property<IData> inputDefaultValue;
  Property<int32> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to project"});
    append(
        "inputMaskVolume", inputMaskVolume,
        KeyInfo{Takes::mask, optional, "uint8 volume of the same extents; 255 selects a voxel"}.ifAbsent("all voxels"));
    append("inputDefaultValue", inputDefaultValue,
           like("outputVolume", required, "grey value of columns without a selected voxel"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume,
           {Takes::volume, required, "target of one slice, of the input's voxel type, float32 or float64"});
  }
  std::string getType() const override { return "NORV::TaviOperators::MeanProjection::Parameter"; }
};

}  // namespace NORV::TaviOperators::MeanProjection
