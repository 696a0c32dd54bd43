#pragma once

#include <Parameter.hpp>

/// Turns grey values into attenuation coefficients: voxel / inputFactor - inputOffset.
///
/// The arithmetic is that of the output's voxel type; a factor of 0 gives infinity or, for voxels of 0, NaN. It undoes
/// `ConversionFromAttenuationCoefficient`, up to rounding, with the factor and the offset that that one puts out.
/// Extra memory: none. Parallel over slices, one step of progress each.
namespace NORV::TaviOperators::ConversionToAttenuationCoefficient {

/// One run. Factor and offset are `Data<T>` of the voxel type of outputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputOffset;
  Property<IData> inputFactor;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of scaled grey values, uint8 or uint16"});
    append("inputOffset", inputOffset, like("outputVolume", required, "coefficient taken off after the division"));
    append("inputFactor", inputFactor, like("outputVolume", required, "grey values per unit of the coefficient"));
    append("outputVolume", outputVolume,
           {Takes::volume, required, "target of attenuation coefficients, float32 or float64"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::ConversionToAttenuationCoefficient::Parameter"; }
};

}  // namespace NORV::TaviOperators::ConversionToAttenuationCoefficient
