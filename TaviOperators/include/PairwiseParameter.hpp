#pragma once

#include <Parameter.hpp>

/// The keys of the operators that choose between the voxels of two volumes.
namespace NORV::TaviOperators {

/// The parameter object of `Minimum` and `Maximum`.
template <class Derived>
class PairwiseParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputFirstVolume;
  Property<SmartPointer<IVolume>> inputSecondVolume;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  PairwiseParameter() {
    this->append("inputFirstVolume", inputFirstVolume, {Takes::volume, required, "first of the two volumes"});
    this->append("inputSecondVolume", inputSecondVolume,
                 {Takes::volume, required, "second volume, of the same voxel type and extents"});
    this->append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    this->append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
  }
};

}  // namespace NORV::TaviOperators
