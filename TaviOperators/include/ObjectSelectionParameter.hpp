#pragma once

#include <Parameter.hpp>

/// The keys of the operators that keep or remove objects by their size.
namespace NORV::TaviOperators {

/// What the parameter objects of all selections share.
template <class Derived>
class SelectionParameter : public CompositeOfProperties<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> inputLabelVolume;
  Property<bool> inputBackgroundLabelEnabled;
  Property<IData> inputBackgroundLabel;
  Property<IData> inputSubstitutionValue;
  Property<SmartPointer<IVolume>> outputVolume;

protected:
  void appendInputVolumes() {
    this->append("inputVolume", inputVolume, {Takes::volume, required, "grey values, of an unsigned voxel type"});
    this->append("inputLabelVolume", inputLabelVolume,
                 {Takes::volume, required, "labels of the same extents, of an unsigned voxel type"});
  }
  void appendOthers() {
    this->append("inputBackgroundLabelEnabled", inputBackgroundLabelEnabled,
                 {Takes::flag, optional, "whether the label inputBackgroundLabel is kept whatever its size"});
    this->append("inputBackgroundLabel", inputBackgroundLabel,
                 like("inputLabelVolume", optional, "label that is kept"));
    this->append("inputSubstitutionValue", inputSubstitutionValue,
                 like("inputVolume", required, "grey value of what is removed"));
    this->append("outputVolume", outputVolume,
                 {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
};

/// The parameter object of a selection by a size that is given.
template <class Derived>
class SizeSelectionParameter : public SelectionParameter<Derived> {
public:
  template <class T>
  using Property = typename CompositeOfProperties<Derived>::template Property<T>;

  Property<uint64> inputThreshold;
  Property<uint64> outputNumberOfRemovedObjects;

  SizeSelectionParameter() {
    this->appendInputVolumes();
    this->append("inputThreshold", inputThreshold,
                 {Takes::count, optional, "size in voxels; an object of just this size is kept"});
    this->appendOthers();
    this->append("outputNumberOfRemovedObjects", outputNumberOfRemovedObjects,
                 {Takes::count, optional, "how many labels, up to the largest, have a size that is removed"});
  }
};

/// The parameter object of a selection by the size of the largest object.
template <class Derived>
class BiggestSelectionParameter : public SelectionParameter<Derived> {
public:
  BiggestSelectionParameter() {
    this->appendInputVolumes();
    this->appendOthers();
  }
};

}  // namespace NORV::TaviOperators
