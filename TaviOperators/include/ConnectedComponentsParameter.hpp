#pragma once

#include <Parameter.hpp>

/// The keys of the operators that number connected objects.
namespace NORV::TaviOperators {

/// The parameter object of both operators.
template <class Derived>
class ConnectedComponentsParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputFirstVolume;
  Property<IData> inputBackgroundValue;
  Property<uint64> inputExpectedNumberOfLabels;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<uint64> outputNumberOfLabels;

  ConnectedComponentsParameter() {
    this->append("inputFirstVolume", inputFirstVolume, {Takes::volume, required, "volume whose objects are numbered"});
    this->append("inputBackgroundValue", inputBackgroundValue,
                 like("inputFirstVolume", required, "voxels of this grey value belong to no object"));
    this->append("inputExpectedNumberOfLabels", inputExpectedNumberOfLabels,
                 {Takes::count, optional, "size at which the table of labels begins; it grows by multiples of it"});
    this->append(
        "outputVolume", outputVolume,
        {Takes::volume, optional, "labels, of an unsigned voxel type; made of the input's voxel type if absent"});
    this->append("outputNumberOfLabels", outputNumberOfLabels,
                 {Takes::count, optional, "number of objects and one, for the background"});
    inputExpectedNumberOfLabels = 65536;
  }
};

}  // namespace NORV::TaviOperators
