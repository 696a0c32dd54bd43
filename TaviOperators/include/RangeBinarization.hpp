#pragma once

#include <BinarizationParameter.hpp>

/// Separates the voxels within a range of grey values from all others.
///
/// Both limits belong to the range. Limits in the wrong order leave nothing between them.
///
/// - Border: every voxel is written.
/// - NaN: lies on neither side of the range and so is foreground.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type; std::overflow_error for a thread count beyond
///   2147483647.
/// - Halo: none.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel.
/// - Threads: parallel over slices; the result does not depend on the number of threads. No steps of progress.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::RangeBinarization {

/// One run. The thresholds are each a `Data<T>` of the voxel type of inputVolume, the two values of that of
/// outputVolume.
class Parameter final : public BinarizationParameter<Parameter> {
public:
  Property<IData> inputMinimumThreshold;
  Property<IData> inputMaximumThreshold;

  Parameter() {
    appendInputVolume();
    appendOutputVolume(required, "target, whose voxel type is that of the two values");
    append("inputMinimumThreshold", inputMinimumThreshold,
           like("inputVolume", required, "lowest grey value of the foreground"));
    append("inputMaximumThreshold", inputMaximumThreshold,
           like("inputVolume", required, "highest grey value of the foreground"));
    appendValuesAndThreads();
  }
  std::string getType() const override { return "NORV::TaviOperators::RangeBinarization::Parameter"; }
};

}  // namespace NORV::TaviOperators::RangeBinarization
