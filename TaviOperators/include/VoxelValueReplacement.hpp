#pragma once

#include <Parameter.hpp>

/// Gives all voxels of one grey value another. The comparison is exact, also for floating point: -0.0 equals 0.0, and
/// NaN equals nothing.
///
/// Extra memory: none. Works on as many slabs as the runtime offers threads; the progress follows the first of them.
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
