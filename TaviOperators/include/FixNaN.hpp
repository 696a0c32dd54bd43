#pragma once

#include <Parameter.hpp>

/// Replaces every voxel that is not a number (NaN) by a value.
///
/// Infinities are numbers here.
///
/// - Border: every voxel is written.
/// - NaN: becomes inputReplacementValue, which may be a NaN itself.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type; std::overflow_error for a thread count beyond
///   2147483647.
/// - Halo: none.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel.
/// - Threads: parallel over slices; the result does not depend on the number of threads. No steps of progress.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::FixNaN {

/// One run. The replacement is a `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputReplacementValue;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of floating-point voxels to repair"});
    append("inputReplacementValue", inputReplacementValue,
           like("inputVolume", required, "grey value that takes the place of NaN"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
  }
  std::string getType() const override { return "NORV::TaviOperators::FixNaN::Parameter"; }
};

}  // namespace NORV::TaviOperators::FixNaN
