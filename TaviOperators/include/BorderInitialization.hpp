#pragma once

#include <Parameter.hpp>

/// Sets all voxels of the view of a volume that lie outside a box to one value. It has no exported frame.
///
/// Extra memory: none. Parallel over slices; the progress stays 0.
namespace NORV::TaviOperators::BorderInitialization {

/// One run. The value is a `Data<T>` of the voxel type of modifyVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> modifyVolume;
  Property<RegionOfInterest> inputExclusionRoi;
  Property<IData> inputBorderValue;

  Parameter() {
    append("modifyVolume", modifyVolume, {Takes::volume, required, "volume whose border is set"});
    append("inputExclusionRoi", inputExclusionRoi,
           {Takes::region, required, "box inside the view that keeps its voxels; an empty one keeps none"});
    append("inputBorderValue", inputBorderValue, like("modifyVolume", required, "grey value of the border"));
  }
  std::string getType() const override { return "NORV::TaviOperators::BorderInitialization::Parameter"; }
};

}  // namespace NORV::TaviOperators::BorderInitialization
