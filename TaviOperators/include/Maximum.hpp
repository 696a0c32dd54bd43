#pragma once

#include <PairwiseParameter.hpp>

/// Gives each voxel the larger of the voxels of two volumes at its position.
///
/// Where both are equal, the first stays.
///
/// - Border: every voxel is written.
/// - NaN: in either volume the comparison fails, and the first voxel stays.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   std::overflow_error for a thread count beyond 2147483647; InvalidParameterObjectException for inputs of different
///   voxel types or extents.
/// - Halo: none.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel.
/// - Threads: parallel over slices; the result does not depend on the number of threads. No steps of progress.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::Maximum {

class Parameter final : public PairwiseParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::Maximum::Parameter"; }
};

}  // namespace NORV::TaviOperators::Maximum
