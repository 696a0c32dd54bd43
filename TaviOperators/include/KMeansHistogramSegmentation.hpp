#pragma once

#include <Parameter.hpp>

#include <limits>

/// Divides the grey values of a volume into classes around centres and labels each voxel with the number of its class,
/// from 1 on. The classes come from k-means (S. Lloyd, "Least squares quantization in PCM", IEEE Trans. Inf. Theory 28,
/// 1982) on the histogram, with evenly spaced seeds: no random start, and no cost per voxel and iteration.
///
/// Labels are those of the last assignment, in the order of the seeds; a number that the labels' type does not hold is
/// narrowed. InvalidParameterObjectException for no class or more than 2^24. Extra memory: 24 bytes per class, at most
/// 1.5 MiB of tables, and per thread 4 KiB (uint8) or 512 KiB (uint16) while voxels are counted. Parallel over slices.
/// Three steps of progress per slice: counted, clustered (a guess), labelled.
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
