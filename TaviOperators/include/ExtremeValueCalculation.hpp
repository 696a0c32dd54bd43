#pragma once

#include <Parameter.hpp>

/// Finds the smallest and the largest voxel value of a volume.
///
/// Only the voxels of the view count. Of an empty volume both results are 0. After an abort the results mean nothing.
///
/// - Border: every voxel is read.
/// - NaN: never replaces a value, but the first voxel of a slice always counts: a NaN there hides its slice, and as the
///   first voxel of the volume makes both results NaN.
/// - Failures: InvalidParameterObjectException for a missing volume; std::overflow_error for a thread count beyond
///   2147483647.
/// - Halo: whole volume.
/// - Memory: two values per slice. A copy of a floating-point input whose rows are not dense.
/// - Threads: parallel over slices, one step of progress each; the result does not depend on the number of threads.
/// - Cost: one read at the speed of memory.
namespace NORV::TaviOperators::ExtremeValueCalculation {

/// One run. The results are `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<int32> inputNumberOfThreads;
  Property<IData> outputMinimumValue;
  Property<IData> outputMaximumValue;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to look through"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputMinimumValue", outputMinimumValue, like("inputVolume", optional, "smallest grey value"));
    append("outputMaximumValue", outputMaximumValue, like("inputVolume", optional, "largest grey value"));
  }
  std::string getType() const override { return "NORV::TaviOperators::ExtremeValueCalculation::Parameter"; }
};

}  // namespace NORV::TaviOperators::ExtremeValueCalculation
