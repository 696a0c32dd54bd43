#pragma once

#include <Parameter.hpp>

/// What the parameter objects of all binarisations share.
namespace NORV::TaviOperators {

/// What the parameter objects of all binarisations hold; each appends its keys in its own order.
template <class Derived>
class BinarizationParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<IData> inputBackgroundValue;
  Property<IData> inputForegroundValue;
  Property<SizeType> inputNumberOfThreads;

protected:
  void appendInputVolume() {
    this->append("inputVolume", inputVolume, {Takes::volume, required, "volume to binarise"});
  }
  void appendOutputVolume(bool isRequired, const char* meaning) {
    this->append("outputVolume", outputVolume, {Takes::volume, isRequired, meaning});
  }
  void appendValuesAndThreads() {
    this->append("inputBackgroundValue", inputBackgroundValue,
                 like("outputVolume", required, "grey value of all other voxels in the result"));
    this->append("inputForegroundValue", inputForegroundValue,
                 like("outputVolume", required, "grey value of the found voxels in the result"));
    this->append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
};

}  // namespace NORV::TaviOperators
