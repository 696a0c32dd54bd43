#pragma once

#include <Parameter.hpp>

/// Stretches the grey values of a volume linearly, from an original range to a result range; what lies outside the
/// original range takes the limits of the result range.
///
/// The arithmetic is that of float32 for 8- and 16-bit input and that of float64 for all other. Integer results are
/// rounded to the nearest, halves up. A NaN voxel stays NaN in a float volume and becomes 0 in an integer one.
/// Extra memory: none; for 8-bit volumes 256 bytes. Parallel over slices, one step of progress each.
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
