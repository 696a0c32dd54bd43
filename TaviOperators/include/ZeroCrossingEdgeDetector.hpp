#pragma once

#include <Parameter.hpp>

/// Marks the voxels at which a signed volume, such as a Laplacian, falls from above zero to zero or below.
///
/// D. Marr, E. Hildreth: Theory of Edge Detection. Proceedings of the Royal Society B 207 (1980). The test is
/// one-sided, so an edge is one voxel wide and lies on the side that is not positive. Extra memory: none. Parallel over
/// slices, or over rows where an extent is 1; each is a step of progress.
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
