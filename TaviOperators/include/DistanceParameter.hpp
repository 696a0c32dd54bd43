#pragma once

#include <Parameter.hpp>

/// The keys of the distance transforms.
namespace NORV::TaviOperators {

/// The parameter object of both transforms.
template <class Derived>
class DistanceParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputObjectValue;

  DistanceParameter() {
    this->append("inputVolume", inputVolume, {Takes::volume, required, "volume to measure"});
    this->append("outputVolume", outputVolume,
                 {Takes::volume, optional,
                  "distances in voxels, of any integer type; made of the input's voxel type if absent"});
    this->append("inputObjectValue", inputObjectValue,
                 like("inputVolume", required, "voxels of this grey value have distance 0"));
  }
};

}  // namespace NORV::TaviOperators
