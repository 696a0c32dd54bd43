#pragma once

#include <Parameter.hpp>

/// Marks where a signed volume falls from above zero to zero or below.
///
/// Suited to a Laplacian. The test is one-sided, so an edge is one voxel wide and lies on the side that is not
/// positive.
///
/// - Border: every voxel is written; outside the volume all is 0, which crosses nothing.
/// - NaN: is neither above zero nor a crossing beside.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   NULLPointer for a missing value, BadCast for one of another type; std::overflow_error for a thread count beyond
///   2147483647.
/// - Halo: 1 voxel.
/// - Memory: none beyond the output, but a copy of an input that shares voxels with it. Likewise of an input whose
///   rows do not lie in memory as those of the output.
/// - Threads: parallel over slices, or over rows where an extent is 1; each is a step of progress. The result does not
///   depend on the number of threads.
/// - Cost: one pass at the speed of memory.
/// - Paper: D. Marr, E. Hildreth: Theory of Edge Detection. Proceedings of the Royal Society B 207 (1980).
namespace NORV::TaviOperators::ZeroCrossingEdgeDetector {

/// One run. inputVolume is of a signed type, outputVolume of uint8 or uint16.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputEdgeValue;
  Property<IData> inputBackgroundValue;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume whose sign changes at edges"});
    append("inputEdgeValue", inputEdgeValue, like("outputVolume", required, "grey value of edge voxels"));
    append("inputBackgroundValue", inputBackgroundValue,
           like("outputVolume", required, "grey value of all other voxels"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, required, "target, uint8 or uint16"});
  }
  std::string getType() const override { return "NORV::TaviOperators::ZeroCrossingEdgeDetector::Parameter"; }
};

}  // namespace NORV::TaviOperators::ZeroCrossingEdgeDetector
