#pragma once

#include <Parameter.hpp>

/// Turns grey values into attenuation coefficients.
///
/// A voxel becomes voxel / inputFactor - inputOffset. The arithmetic is that of the output's voxel type. It undoes
/// ConversionFromAttenuationCoefficient, up to rounding, with the factor and the offset that that operator gives.
///
/// - Border: every voxel is written.
/// - NaN: a factor of 0 gives infinity or, for voxels of 0, NaN.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type; std::overflow_error for a thread count beyond
///   2147483647.
/// - Halo: none.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel.
/// - Threads: parallel over slices, one step of progress each; the result does not depend on the number of threads.
/// - Cost: one pass at the speed of memory.
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
