#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

#include <Labelling/ObjectSizes.hpp>
#include <Labelling/SelectionPasses.hpp>

#include <string>
#include <utility>

/// Copies a volume without some of its objects: their voxels take another grey value.
///
/// Which voxel belongs to which object is told by a label volume of the same extents; each label that occurs is an
/// object, 0 as any other, but for one that may be protected. Voxels are paired by their places in the views.
///
/// Three passes over the volume: the largest label, the sizes, the copy. Extra memory: 8 bytes for each label up to the
/// largest that occurs, whatever the number of objects; addresses are set aside for as many labels as voxels, 2^24 at
/// most. One thread; three steps of progress per slice.
namespace NORV::TaviOperators::Impl {

/// What the parameter objects of all selections share.
template <class Derived, class Traits>
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

  std::string getType() const override { return Traits::names.parameterType(); }

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
template <class Derived, class Traits>
class SizeSelectionParameter : public SelectionParameter<Derived, Traits> {
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
template <class Derived, class Traits>
class BiggestSelectionParameter : public SelectionParameter<Derived, Traits> {
public:
  BiggestSelectionParameter() {
    this->appendInputVolumes();
    this->appendOthers();
  }
};

/// `Traits` gives the names and `rule(sizes, protectedLabel, threshold)`, which may change the size of the protected
/// label; it is null if there is none.
template <class Derived, class Parameter, class Traits, class InputPtr, class LabelPtr, class OutputPtr>
class SelectionOperator : public TaviOperators::Operator<Derived> {
  using T = VoxelOf<InputPtr>;
  using L = VoxelOf<LabelPtr>;
  static constexpr bool hasThreshold = requires(Parameter & p) { p.inputThreshold; };

public:
  std::string getType() const override {
    return composeIdentifier(Traits::names,
                             std::string(Tavi::typeName<T>) + ", " + Tavi::typeName<L> + ", " + Tavi::typeName<T>);
  }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const Names& names = Traits::names;
    const auto parameter = castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const LabelPtr labels(parameter->inputLabelVolume.value());
    uint64 threshold = 0;
    if constexpr (hasThreshold) {
      threshold = parameter->inputThreshold.value();
    }
    const bool isProtecting = parameter->inputBackgroundLabelEnabled.value();
    const L background = isProtecting ? parameter->inputBackgroundLabel.template extractValue<L>() : L(0);
    const T substitution = parameter->inputSubstitutionValue.template extractValue<T>();
    require(input != nullptr && labels != nullptr, names.inApply(" input volume is NULL"));
    require(input->getDimension() == labels->getDimension(), names.inApply(" input volume have different size"));
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    if constexpr (hasThreshold) {
      parameter->outputNumberOfRemovedObjects = 0;
    }

    const auto labelView = viewOf(std::as_const(*labels));
    SelectionSteps steps(*this, labelView.dimTert);
    ObjectSizes sizes = ObjectMeasurement<L>(steps, labelView).run();
    if (sizes.size() == 0) {
      return;
    }
    const SizeRule rule =
        Traits::rule(sizes, isProtecting && background < sizes.size() ? &sizes[background] : nullptr, threshold);
    const SelectedCopy<T, L> copy(sizes, rule, labelView, viewOf(std::as_const(*input)), viewOf(*output), substitution);
    if (!copy.run(steps)) {
      return;
    }
    if constexpr (hasThreshold) {
      parameter->outputNumberOfRemovedObjects = sizes.countRemoved(rule);
    }
    steps.end();
    parameter->outputVolume = output;
  }
};

/// The typed operator that fits the volumes of a parameter object; an output that is absent is made like the input.
template <class Parameter>
SmartPointer<IOperator> createSelectionOperator(const Names& names, const SmartPointer<IComposite>& composite) {
  const auto parameter = castParameter<Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> labels = parameter->inputLabelVolume.value();
  require(input != nullptr && labels != nullptr, names.inFrame("inputVolume is NULL!"));
  const SmartPointer<IVolume> output = orElse(parameter->outputVolume.value(), input);
  return createByIdentifier(
      composeIdentifier(names, input->getVoxelType() + ", " + labels->getVoxelType() + ", " + output->getVoxelType()));
}

}  // namespace NORV::TaviOperators::Impl
