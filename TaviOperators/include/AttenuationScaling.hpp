#pragma once

#include <Parameter.hpp>

/// Scales a window of attenuation values to grey values.
///
/// The attenuation of a voxel is voxel / inputFactor - inputOffset. Inside the window the grey value is
/// floor((attenuation - minimum attenuation) / scale - minimum grey value + 0.5), where scale is the attenuation per
/// grey value; outside it is the limit itself. The minimum grey value is subtracted, so the scaled values meet the
/// limits only where it is 0. The arithmetic is that of float32, for a float64 output that of float64. An integer
/// output keeps the low bits of a result that it cannot hold, and 0 where these are unknown (from 2^31 on, from 2^63 on
/// for uint32).
///
/// - Border: every voxel is written.
/// - NaN: a factor of 0 gives NaN for voxels of 0: NaN in float outputs, 0 in integer ones.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type; std::overflow_error for a thread count beyond
///   2147483647; InvalidArg for a maximum below its minimum.
/// - Halo: none.
/// - Memory: 256 bytes from uint8 to uint8. None beyond the output, but a copy of an input that overlaps the output in
///   another way than voxel by voxel.
/// - Threads: parallel over slices, one step of progress each; the result does not depend on the number of threads.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::AttenuationScaling {

/// One run. Attenuation values, offset and factor are `Data<float32>`, for a float64 output `Data<float64>`; the grey
/// values are `Data<T>` of the voxel type of outputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputMinimumAttenuationValue;
  Property<IData> inputMaximumAttenuationValue;
  Property<IData> inputMinimumOutputGreyValue;
  Property<IData> inputMaximumOutputGreyValue;
  Property<IData> inputOffset;
  Property<IData> inputFactor;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of scaled attenuation, uint8 or uint16"});
    append("inputMinimumAttenuationValue", inputMinimumAttenuationValue,
           floatLike("outputVolume", required, "voxels below take the minimum grey value"));
    append("inputMaximumAttenuationValue", inputMaximumAttenuationValue,
           floatLike("outputVolume", required, "voxels from here on take the maximum grey value"));
    append("inputMinimumOutputGreyValue", inputMinimumOutputGreyValue,
           like("outputVolume", required, "grey value below the window"));
    append("inputMaximumOutputGreyValue", inputMaximumOutputGreyValue,
           like("outputVolume", required, "grey value above the window"));
    append("inputOffset", inputOffset, floatLike("outputVolume", required, "attenuation taken off after the division"));
    append("inputFactor", inputFactor,
           floatLike("outputVolume", required, "input grey values per unit of attenuation"));
    append("outputVolume", outputVolume,
           {Takes::volume, optional, "target; uint8, uint16, uint32, float32 or float64; as the input if absent"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::AttenuationScaling::Parameter"; }
};

}  // namespace NORV::TaviOperators::AttenuationScaling
