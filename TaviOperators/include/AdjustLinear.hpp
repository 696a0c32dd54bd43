#pragma once

#include <Parameter.hpp>

/// Maps a range of grey values linearly onto another.
///
/// Values outside the original range take the limits of the result range. The arithmetic is that of float32 for 8- and
/// 16-bit input and that of float64 for all other. Integer results are rounded to the nearest, halves up.
///
/// - Border: every voxel is written.
/// - NaN: stays NaN in a float volume, becomes 0 in an integer one.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type; std::overflow_error for a thread count beyond
///   2147483647; InvalidParameterObjectException for a minimum above its maximum.
/// - Halo: none.
/// - Memory: 256 bytes for 8-bit volumes. None beyond the output, but a copy of an input that overlaps the output in
///   another way than voxel by voxel.
/// - Threads: parallel over slices, one step of progress each; the result does not depend on the number of threads.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::AdjustLinear {

/// One run. The original range is in grey values of inputVolume, the result range in those of outputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputOriginalMinimumValue;
  Property<IData> inputOriginalMaximumValue;
  Property<IData> inputResultMinimumValue;
  Property<IData> inputResultMaximumValue;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to stretch"});
    append("outputVolume", outputVolume,
           {Takes::volume, required, "target; of the voxel type of the input, uint8 or uint16"});
    append("inputOriginalMinimumValue", inputOriginalMinimumValue,
           like("inputVolume", required, "voxels at or below this grey value take the result minimum"));
    append("inputOriginalMaximumValue", inputOriginalMaximumValue,
           like("inputVolume", required, "voxels at or above this grey value take the result maximum"));
    append("inputResultMinimumValue", inputResultMinimumValue,
           like("outputVolume", required, "grey value for the original minimum"));
    append("inputResultMaximumValue", inputResultMaximumValue,
           like("outputVolume", required, "grey value for the original maximum"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::AdjustLinear::Parameter"; }
};

}  // namespace NORV::TaviOperators::AdjustLinear
