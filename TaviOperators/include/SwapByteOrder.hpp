#pragma once

#include <Parameter.hpp>

/// Reverses the bytes of each voxel, so that volumes of machines with the other byte order can be read. Voxels of one
/// byte are copied.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::SwapByteOrder {

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of integers whose bytes are reversed"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::SwapByteOrder::Parameter"; }
};

}  // namespace NORV::TaviOperators::SwapByteOrder
