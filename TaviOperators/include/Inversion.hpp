#pragma once

#include <Parameter.hpp>

/// Inverts the grey values of an integer volume over the whole range of the voxel type: each voxel becomes its bitwise
/// complement, which is 255 - x for uint8 and -1 - x for signed types.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::Inversion {

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of integers to invert"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
  }
  std::string getType() const override { return "NORV::TaviOperators::Inversion::Parameter"; }
};

}  // namespace NORV::TaviOperators::Inversion
