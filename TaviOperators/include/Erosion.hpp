#pragma once

#include <RankKeys.hpp>

/// Writes to each voxel the minimum of the voxels under a structuring element.
///
/// The anchor of the element lies at the voxel that is written. The minimum is taken in the order of the mask.
///
/// - Border: only voxels where the anchor and the whole element lie inside the volume are written; all others keep what
///   they held. An element that does not fit writes nothing.
/// - NaN: is replaced by the voxel after it, so only a NaN at the last voxel of the element results.
/// - Failures: InvalidParameterObjectException for a missing volume or mask, a mask without a voxel, or an outputVolume
///   of another voxel type; std::overflow_error for a thread count beyond 2147483647; InvalidArg for an anchor outside
///   the mask or a mask that is longer than the volume.
/// - Halo: the extents of inputMask.
/// - Memory: 9 bytes per voxel of the element; under larger elements up to twice as many slices per thread as the
///   element has. A copy of an input or a mask that shares voxels with the output. Likewise of an input whose rows do
///   not lie in memory as those of the output.
/// - Threads: parallel over slices, one step of progress each; the result does not depend on the number of threads.
/// - Cost: under a box a few comparisons per voxel and axis; otherwise one comparison per voxel of the element at most,
///   with shared partial minima.
/// - Paper: J. Serra: Image Analysis and Mathematical Morphology. Academic Press 1982.
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
