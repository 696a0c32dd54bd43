#pragma once

#include <RankKeys.hpp>

/// The keys of the rank filters.
namespace NORV::TaviOperators {

/// The parameter object.
template <class Derived>
class HistogramUpdateParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> inputMask;
  Property<Position<SizeType>> inputAnchor;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  HistogramUpdateParameter() {
    this->append("inputVolume", inputVolume, rankInputKey);
    this->append("inputMask", inputMask, rankMaskKey);
    this->append("inputAnchor", inputAnchor, rankAnchorKey);
    this->append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    this->append("outputVolume", outputVolume, rankOutputKey);
  }
};

}  // namespace NORV::TaviOperators
