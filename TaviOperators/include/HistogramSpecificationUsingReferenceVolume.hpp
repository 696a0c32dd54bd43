#pragma once

#include <Parameter.hpp>

/// Remaps the grey values of a volume so that their distribution follows that of a reference volume: each value goes to
/// the one of the reference at which as large a share of the voxels is reached (R. C. Gonzalez, R. E. Woods, "Digital
/// Image Processing", histogram specification).
///
/// An empty volume has no distribution: all shares are NaN then, and every value goes to the largest. Extra memory: 21
/// bytes per value of the voxel type and, while voxels are counted, 4 KiB (uint8) or 512 KiB (uint16) per thread and
/// once more. Parallel on all threads that the runtime offers. The progress is that of the first thread's slices.
namespace NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume {

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> inputVolumeReference;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to remap, uint8 or uint16"});
    append("inputVolumeReference", inputVolumeReference,
           {Takes::volume, required, "volume of the same voxel type whose distribution is imitated"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override {
    return "NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume::Parameter";
  }
};

}  // namespace NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume
