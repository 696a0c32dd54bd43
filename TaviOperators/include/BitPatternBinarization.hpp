#pragma once

#include <BinarizationParameter.hpp>

/// Separates the voxels that have all bits of a pattern set from all others.
///
/// Every voxel has the pattern 0.
///
/// - Border: every voxel is written.
/// - NaN: there is none in integer voxels.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type; std::overflow_error for a thread count beyond
///   2147483647.
/// - Halo: none.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel.
/// - Threads: parallel over slices; the result does not depend on the number of threads. No steps of progress.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::BitPatternBinarization {

/// One run. The pattern is a `Data<T>` of the voxel type of inputVolume, the two values of that of outputVolume.
class Parameter final : public BinarizationParameter<Parameter> {
public:
  Property<IData> inputBitPattern;

  Parameter() {
    appendInputVolume();
    append("inputBitPattern", inputBitPattern,
           like("inputVolume", required, "bits that all voxels of the foreground have"));
    appendValuesAndThreads();
    appendOutputVolume(optional, "target, whose voxel type is that of the two values; made with the input's if absent");
  }
  std::string getType() const override { return "NORV::TaviOperators::BitPatternBinarization::Parameter"; }
};

}  // namespace NORV::TaviOperators::BitPatternBinarization
