#pragma once

#include <HistogramUpdateParameter.hpp>

/// Writes to each voxel the lower median of the voxels under a structuring element.
///
/// Of an even number of voxels the lower one of the two in the middle counts.
///
/// - Border: only voxels where the anchor and the whole element lie inside the volume are written; all others keep what
///   they held. An element that does not fit writes nothing.
/// - NaN: there is none in integer voxels.
/// - Failures: InvalidParameterObjectException for a missing volume or mask, a mask without a voxel, or an outputVolume
///   of another voxel type; std::overflow_error for a thread count beyond 2147483647.
/// - Halo: the extents of inputMask.
/// - Memory: 16 bytes per voxel and 16 bytes per run of the element; per thread counts of 2 KiB (8 bits) or 514 KiB (16
///   bits), 64 bytes per voxel of a small element, up to 2 KiB per voxel of a box of at most 512 voxels, or under
///   larger boxes 20 bytes per voxel of a tile of 128 x 16 x 16 voxels with what lies under the box around it, and for
///   16 bits 320 KiB. A copy of an input or a mask that shares voxels with the output. Likewise of an input whose rows
///   do not lie in memory as those of the output.
/// - Threads: parallel over slices, one step of progress each; the result does not depend on the number of threads.
/// - Cost: per voxel, one count for each run of the element; small elements are ranked in vectors. Boxes share sorted
///   columns and planes between neighbouring voxels, and large ones the counts below each threshold, which hardly grow
///   with the box.
/// - Paper: T. S. Huang, G. J. Yang, G. Y. Tang: A fast two-dimensional median filtering algorithm. IEEE Trans. ASSP 27
///   (1979); J. P. Fitch, E. J. Coyle, N. C. Gallagher: Median filtering by threshold decomposition. IEEE Trans. ASSP
///   32 (1984); A. Adams: Fast Median Filters using Separable Sorting Networks. ACM Transactions on Graphics 40 (2021).
namespace NORV::TaviOperators::HistogramUpdateMedian {

/// One run. The mask is a volume of `uint8`.
class Parameter final : public HistogramUpdateParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::HistogramUpdateMedian::Parameter"; }
};

}  // namespace NORV::TaviOperators::HistogramUpdateMedian
