#pragma once

#include <HistogramUpdateParameter.hpp>

/// Writes to each voxel the minimum under a structuring element, by sliding counts.
///
/// The voxels are those of Erosion; under large elements the counts of grey values slide along the rows.
///
/// - Border: only voxels where the anchor and the whole element lie inside the volume are written; all others keep what
///   they held. An element that does not fit writes nothing.
/// - NaN: there is none in integer voxels.
/// - Failures: InvalidParameterObjectException for a missing volume or mask, a mask without a voxel, or an outputVolume
///   of another voxel type; std::overflow_error for a thread count beyond 2147483647.
/// - Halo: the extents of inputMask.
/// - Memory: 16 bytes per voxel and 16 bytes per run of the element; counts of 2 KiB (8 bits) or 514 KiB (16 bits)
///   per thread. A copy of an input or a mask that shares voxels with the output. Likewise of an input whose rows do
///   not lie in memory as those of the output.
/// - Threads: parallel over slices, one step of progress each; the result does not depend on the number of threads.
/// - Cost: per voxel, one count for each run of the element, or one comparison for each voxel of a small one.
/// - Paper: T. S. Huang, G. J. Yang, G. Y. Tang: A fast two-dimensional median filtering algorithm. IEEE Trans. ASSP 27
///   (1979).
namespace NORV::TaviOperators::HistogramUpdateErosion {

/// One run. The mask is a volume of `uint8`.
class Parameter final : public HistogramUpdateParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::HistogramUpdateErosion::Parameter"; }
};

}  // namespace NORV::TaviOperators::HistogramUpdateErosion
