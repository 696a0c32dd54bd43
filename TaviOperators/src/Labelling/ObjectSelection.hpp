#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/DenseOutput.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/View.hpp>
#include <ObjectSelectionParameter.hpp>
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
/// most. Each thread counts in a table of its own, as long as all tables take no more memory than the labels do. And
/// volumes like those whose rows are not dense. All threads that the runtime offers, in volumes that are not small;
/// three steps of progress per slice.
namespace NORV::TaviOperators::Impl {

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
    requireOutputClass<OutputPtr>(parameter->outputVolume.value());
    if constexpr (hasThreshold) {
      parameter->outputNumberOfRemovedObjects = 0;
    }

    const int threads = threadCount(0);
    const KeptInput<L> measuredLabels(*this, threads, viewOf(std::as_const(*labels)), RowLayout::dense);
    const auto& labelView = measuredLabels.view();
    constexpr SizeType leastVoxels = 65536;  // for one thread
    SelectionRun run(*this, threads, workersFor(threads, labelView.dimTert, labelView.size(), leastVoxels),
                     labelView.dimTert);
    ObjectSizes sizes = ObjectMeasurement<L>(run, labelView).run();
    if (sizes.size() == 0) {
      return;
    }
    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const DenseOutput<T> dense(viewOf(*output));
    const auto& target = dense.view();
    const KeptInput<L> keptLabels(*this, threads, labelView, target, Aliasing::identical);
    const KeptInput<T> keptInput(*this, threads, viewOf(std::as_const(*input)), target, Aliasing::identical,
                                 RowLayout::dense);
    const SizeRule rule =
        Traits::rule(sizes, isProtecting && background < sizes.size() ? &sizes[background] : nullptr, threshold);
    const SelectedCopy<T, L> copy(sizes, rule, keptLabels.view(), keptInput.view(), target, substitution);
    if (!copy.run(run)) {
      return;
    }
    dense.store(threads);
    if constexpr (hasThreshold) {
      parameter->outputNumberOfRemovedObjects = countRemoved(run, sizes, rule);
    }
    run.end();
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
