#pragma once

#include <Parameter.hpp>

/// Turns a volume of one voxel type into another by plain numeric conversion of each voxel: see
/// Impl/PlainConversion.hpp for what becomes of values that the target does not hold.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::StaticCast {

/// One run. The voxel type of outputVolume, if it is given, is the target type.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to convert"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume,
           {Takes::volume, optional, "target, whose voxel type is converted to; made with the input's if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::StaticCast::Parameter"; }
};

}  // namespace NORV::TaviOperators::StaticCast
