#pragma once

#include <Parameter.hpp>

/// Rounds every voxel to a number of decimal places. Halves go up, also below zero: -2.5 becomes -2.
///
/// All arithmetic is that of the voxel type, the half included, so a `float32` voxel is rounded to places that
/// `float32` has. Where the scale, 10 to the power of the places, is beyond the voxel type, it is infinite and every
/// voxel NaN. Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::Round {

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputDecimalPlaces;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of floating-point voxels to round"});
    append("inputDecimalPlaces", inputDecimalPlaces,
           {Takes::count, optional, "digits that stay behind the decimal point; 0: whole numbers"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
  }
  std::string getType() const override { return "NORV::TaviOperators::Round::Parameter"; }
};

}  // namespace NORV::TaviOperators::Round
