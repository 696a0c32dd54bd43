#pragma once

#include <Parameter.hpp>

/// Sets every voxel of the view of a volume to one value. It has no exported frame.
///
/// Extra memory: none. Parallel over slices; the progress stays 0.
namespace NORV::TaviOperators::Fill {

/// One run. The value is a `Data<T>` of the voxel type of modifyVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> modifyVolume;
  Property<IData> inputValue;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("modifyVolume", modifyVolume, {Takes::volume, required, "volume whose view is filled"});
    append("inputValue", inputValue, like("modifyVolume", required, "grey value that every voxel takes"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::Fill::Parameter"; }
};

}  // namespace NORV::TaviOperators::Fill
