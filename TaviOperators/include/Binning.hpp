#pragma once

#include <Parameter.hpp>

/// Averages whole blocks of voxels into one voxel each.
///
/// The voxels of a block are summed in double precision and the sum is divided by their number. The mean is truncated
/// toward zero for integer voxel types and rounded to nearest for float32.
///
/// - Border: every voxel is written; the factors divide the extents.
/// - NaN: a block that holds one becomes NaN.
/// - Failures: InvalidParameterObjectException without inputVolume, with a factor of 0 or with a factor that does not
///   divide the extent of its axis; `std::invalid_argument` for float64 voxels and for volumes of different voxel
///   types.
/// - Halo: whole volume.
/// - Memory: none beyond the output; a copy of the output where a given one shares memory with the input. A copy of
///   each input whose rows are not dense.
/// - Threads: parallel over output slices, one step of progress each; the result does not depend on the number of
///   threads.
/// - Cost: one pass at the speed of memory for small factors.
namespace NORV::TaviOperators::Binning {

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<int32> inputNumberOfThreads;
  Property<Triple<SizeType>> inputDownSamplingFactor;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to average"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("inputDownSamplingFactor", inputDownSamplingFactor,
           KeyInfo{Takes::dimension, required, "extents of a block"}.within("divisors of the extents").in("voxels"));
  }
  std::string getType() const override { return "NORV::TaviOperators::Binning::Parameter"; }
};

}  // namespace NORV::TaviOperators::Binning
