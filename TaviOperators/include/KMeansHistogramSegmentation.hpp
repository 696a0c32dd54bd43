#pragma once

#include <Parameter.hpp>

#include <limits>

/// Labels each voxel with the number of its grey-value class, found by k-means.
///
/// The classes come from k-means on the histogram with evenly spaced seeds, so there is no random start. Classes count
/// from 1, in the order of the seeds; labels are those of the last assignment. A number that the voxel type of the
/// labels does not hold is narrowed.
///
/// - Border: every voxel is written.
/// - NaN: there is none in integer voxels.
/// - Failures: InvalidParameterObjectException for a missing volume, no class or more than 16777216 classes, or an
///   outputLabelVolume of another voxel type; std::overflow_error for a thread count beyond 2147483647.
/// - Halo: whole volume.
/// - Memory: 24 bytes per class, at most 1.5 MiB of tables, and per thread 4 KiB (uint8) or 512 KiB (uint16) while
///   voxels are counted.
/// - Threads: parallel over slices; the result does not depend on the number of threads. Three steps of progress per
///   slice: counted, clustered (a guess), labelled.
/// - Cost: three passes at the speed of memory; an iteration costs no more than the histogram.
/// - Paper: S. Lloyd: Least squares quantization in PCM. IEEE Trans. Inf. Theory 28 (1982).
namespace NORV::TaviOperators::KMeansHistogramSegmentation {

/// As many iterations as it takes.
inline constexpr SizeType noLimit = std::numeric_limits<SizeType>::max();

class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputNumberOfClasses;
  Property<SizeType> inputNumberOfIterations;
  Property<double> inputEpsilon;
  Property<int32> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputLabelVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to segment, uint8 or uint16"});
    append("inputNumberOfClasses", inputNumberOfClasses, {Takes::count, required, "number of classes, at least 1"});
    append("inputNumberOfIterations", inputNumberOfIterations,
           {Takes::count, optional, "most iterations; 0 and the default: until the centres rest"});
    append("inputEpsilon", inputEpsilon,
           {Takes::number, optional, "grey values by which all centres together may still move at the end"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputLabelVolume", outputLabelVolume,
           {Takes::volume, optional, "class of each voxel, uint8 or uint16; made like the input if absent"});
    inputNumberOfIterations = noLimit;
    inputEpsilon = std::numeric_limits<double>::epsilon();
  }
  std::string getType() const override { return "NORV::TaviOperators::KMeansHistogramSegmentation::Parameter"; }
};

}  // namespace NORV::TaviOperators::KMeansHistogramSegmentation
