#pragma once

#include <Parameter.hpp>

/// Replaces every voxel that is no number (NaN) by a value. Infinities are numbers here.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::FixNaN {

/// One run. The replacement is a `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputReplacementValue;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of floating-point voxels to repair"});
    append("inputReplacementValue", inputReplacementValue,
           like("inputVolume", required, "grey value that takes the place of NaN"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
  }
  std::string getType() const override { return "NORV::TaviOperators::FixNaN::Parameter"; }
};

}  // namespace NORV::TaviOperators::FixNaN
