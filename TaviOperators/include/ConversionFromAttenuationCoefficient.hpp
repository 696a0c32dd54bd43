#pragma once

#include <Parameter.hpp>

/// Scales attenuation coefficients to grey values: a range of coefficients is mapped linearly onto a range of grey
/// values, whose limits serve for the coefficients outside. The factor and the offset of the mapping are put out as
/// `ConversionToAttenuationCoefficient` takes them for the way back.
///
/// The arithmetic is that of float64, rounded to the nearest grey value, halves up. A voxel that has no scaled value
/// (NaN, or any inside a range of which both ends are equal) takes the minimum scaled value. Results that rounding
/// carries beyond the output's voxel type are limited to it. Factor and offset may be infinite or NaN where a range has
/// no extent. Extra memory: none. Parallel over slices, one step of progress each.
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
