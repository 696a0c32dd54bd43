#pragma once

#include <Parameter.hpp>

/// Rounds every voxel to a number of decimal places, halves up.
///
/// Halves go up also below zero: -2.5 becomes -2. All arithmetic is that of the voxel type, so a float32 voxel is
/// rounded to places that float32 has.
///
/// - Border: every voxel is written.
/// - NaN: stays NaN. Where 10 to the power of the places is beyond the voxel type, every voxel becomes NaN.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   std::overflow_error for a thread count beyond 2147483647.
/// - Halo: none.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel.
/// - Threads: parallel over slices; the result does not depend on the number of threads. No steps of progress.
/// - Cost: one pass at the speed of memory.
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
