#pragma once

#include <Parameter.hpp>

/// Finds the smallest and the largest voxel value of the view of a volume.
///
/// A NaN never replaces a value, but the first voxel of a slice always counts: if it is a NaN, its slice is ignored,
/// and if it is the first voxel of the volume, both results are NaN. Of an empty volume both results are 0. After an
/// abort the results mean nothing. Extra memory: two values per slice. Parallel over slices, one step of progress each.
namespace NORV::TaviOperators::ExtremeValueCalculation {

/// One run. The results are `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<int32> inputNumberOfThreads;
  Property<IData> outputMinimumValue;
  Property<IData> outputMaximumValue;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to look through"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputMinimumValue", outputMinimumValue, like("inputVolume", optional, "smallest grey value"));
    append("outputMaximumValue", outputMaximumValue, like("inputVolume", optional, "largest grey value"));
  }
  std::string getType() const override { return "NORV::TaviOperators::ExtremeValueCalculation::Parameter"; }
};

}  // namespace NORV::TaviOperators::ExtremeValueCalculation
