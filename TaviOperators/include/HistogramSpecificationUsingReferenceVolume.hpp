#pragma once

#include <Parameter.hpp>

/// Remaps grey values so that their distribution follows a reference volume.
///
/// Each value goes to the one of the reference at which as large a share of the voxels is reached. An empty volume has
/// no distribution: every value goes to the largest then.
///
/// - Border: every voxel is written.
/// - NaN: there is none in integer voxels.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type.
/// - Halo: whole volume.
/// - Memory: 21 bytes per value of the voxel type and, while voxels are counted, 4 KiB (uint8) or 512 KiB (uint16) per
///   thread and once more.
/// - Threads: parallel on all threads that the runtime offers; the result does not depend on their number. The progress
///   is that of the slices of the first thread.
/// - Cost: two passes at the speed of memory, and one over the reference.
/// - Paper: R. C. Gonzalez, R. E. Woods: Digital Image Processing, histogram specification.
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
