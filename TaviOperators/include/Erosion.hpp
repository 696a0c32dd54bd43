#pragma once

#include <RankKeys.hpp>

/// Writes to each voxel the minimum of the voxels under a structuring element, whose anchor lies at that voxel (grey
/// value erosion: J. Serra, Image Analysis and Mathematical Morphology, 1982).
///
/// Only voxels where the whole element lies inside the volume are written; all others keep what they had. The minimum
/// goes through the element in the order of the mask; a NaN is replaced by the voxel after it, so only one that comes
/// last results.
///
/// Extra memory: 9 bytes per voxel of the element; a copy of the input if it shares voxels with the output; under
/// larger elements up to twice as many slices per thread as the element has. Parallel over slices, each of which is a
/// step.
namespace NORV::TaviOperators::Erosion {

/// One run. The mask is a volume of `uint8` that is nowhere longer than the input, the anchor a voxel of it.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<SmartPointer<IVolume>> inputMask;
  Property<Position<SizeType>> inputAnchor;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, rankInputKey);
    append("outputVolume", outputVolume, rankOutputKey);
    append("inputMask", inputMask, rankMaskKey);
    append("inputAnchor", inputAnchor, rankAnchorKey);
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::Erosion::Parameter"; }
};

}  // namespace NORV::TaviOperators::Erosion
