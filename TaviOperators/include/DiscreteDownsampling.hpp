#pragma once

#include <Parameter.hpp>

/// Keeps every n-th voxel along each axis.
///
/// The first voxel of each axis is kept. Voxels behind the last whole step are dropped.
///
/// - Border: every voxel is written.
/// - NaN: copied.
/// - Failures: InvalidParameterObjectException without inputVolume or with a factor of 0; `std::out_of_range` if a
///   factor exceeds the extent of its axis while another does not; `std::invalid_argument` for volumes of different
///   voxel types.
/// - Halo: whole volume.
/// - Memory: none beyond the output; a copy of the output where a given one shares memory with the input.
/// - Threads: parallel over output slices, one step of progress each; the result does not depend on the number of
///   threads.
/// - Cost: one pass over the kept rows.
namespace NORV::TaviOperators::DiscreteDownsampling {

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<Triple<SizeType>> inputDownsamplingFactor;
  Property<int32> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to sample"});
    append("inputDownsamplingFactor", inputDownsamplingFactor,
           KeyInfo{Takes::dimension, required, "steps from voxel to voxel"}.within("above 0").in("voxels"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::DiscreteDownsampling::Parameter"; }
};

}  // namespace NORV::TaviOperators::DiscreteDownsampling
