#pragma once

#include <Parameter.hpp>

/// Scales a range of attenuation coefficients linearly to grey values.
///
/// Coefficients outside the range take the limits of the grey values. Factor and offset of the mapping are results, as
/// ConversionToAttenuationCoefficient takes them for the way back; they may be infinite or NaN where a range has no
/// extent. The arithmetic is that of float64, rounded to the nearest grey value, halves up. Results that rounding
/// carries beyond the output's voxel type are limited to it.
///
/// - Border: every voxel is written.
/// - NaN: takes the minimum scaled value, like any voxel inside a range without extent.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type; std::overflow_error for a thread count beyond
///   2147483647.
/// - Halo: none.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel.
/// - Threads: parallel over slices, one step of progress each; the result does not depend on the number of threads.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::ConversionFromAttenuationCoefficient {

/// One run. The coefficients, outputFactor and outputOffset are `Data<T>` of the voxel type of inputVolume, the scaled
/// values of that of outputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputMinimumCoefficient;
  Property<IData> inputMaximumCoefficient;
  Property<IData> inputMinimumScaledValue;
  Property<IData> inputMaximumScaledValue;
  Property<SizeType> inputNumberOfThreads;
  Property<IData> outputFactor;
  Property<IData> outputOffset;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume,
           {Takes::volume, required, "volume of attenuation coefficients, float32 or float64"});
    append("inputMinimumCoefficient", inputMinimumCoefficient,
           like("inputVolume", required, "coefficients below take the minimum scaled value"));
    append("inputMaximumCoefficient", inputMaximumCoefficient,
           like("inputVolume", required, "coefficients above take the maximum scaled value"));
    append("inputMinimumScaledValue", inputMinimumScaledValue,
           like("outputVolume", required, "grey value for the minimum coefficient"));
    append("inputMaximumScaledValue", inputMaximumScaledValue,
           like("outputVolume", required, "grey value for the maximum coefficient"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputFactor", outputFactor, like("inputVolume", optional, "grey values per unit of the coefficient"));
    append("outputOffset", outputOffset, like("inputVolume", optional, "coefficient added before the multiplication"));
    append("outputVolume", outputVolume, {Takes::volume, required, "target of scaled grey values, uint8 or uint16"});
  }
  std::string getType() const override {
    return "NORV::TaviOperators::ConversionFromAttenuationCoefficient::Parameter";
  }
};

}  // namespace NORV::TaviOperators::ConversionFromAttenuationCoefficient
