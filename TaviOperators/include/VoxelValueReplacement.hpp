#pragma once

#include <Parameter.hpp>

/// Replaces one grey value of a volume by another.
///
/// The comparison is exact: -0.0 equals 0.0.
///
/// - Border: every voxel is written.
/// - NaN: equals nothing, so it stays and cannot be replaced.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type.
/// - Halo: none.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel.
/// - Threads: as many slabs as the runtime offers threads; the result does not depend on their number. The progress
///   follows the first slab.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::VoxelValueReplacement {

/// One run. Both values are each a `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputChangingValue;
  Property<IData> inputNewValue;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume in which a grey value is replaced"});
    append("inputChangingValue", inputChangingValue, like("inputVolume", required, "grey value that is replaced"));
    append("inputNewValue", inputNewValue, like("inputVolume", required, "grey value that takes its place"));
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::VoxelValueReplacement::Parameter"; }
};

}  // namespace NORV::TaviOperators::VoxelValueReplacement
