#pragma once

#include <Parameter.hpp>

/// Clamps every voxel of a volume to the range [inputLowerLimit, inputUpperLimit].
///
/// The upper limit is compared first, so it wins where the limits cross.
///
/// - Border: every voxel is written.
/// - NaN: stays NaN.
/// - Failures: InvalidParameterObjectException without inputVolume or with volumes of different voxel types;
///   NULLPointer without a limit, BadCast for a limit of another voxel type.
/// - Halo: none.
/// - Memory: none beyond the output.
/// - Threads: parallel over slices; the result does not depend on the number of threads. No steps of progress.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::Saturation {

/// One run. The limits are grey values, each a `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputUpperLimit;
  Property<IData> inputLowerLimit;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to clamp"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
    append("inputUpperLimit", inputUpperLimit,
           like("inputVolume", required, "voxels at or above this grey value take it"));
    append("inputLowerLimit", inputLowerLimit,
           like("inputVolume", required, "voxels at or below this grey value take it"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::Saturation::Parameter"; }
};

}  // namespace NORV::TaviOperators::Saturation
