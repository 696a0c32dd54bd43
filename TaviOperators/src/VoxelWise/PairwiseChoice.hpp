#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>
#include <PairwiseParameter.hpp>

/// Operators that choose, at each position, one of the voxels of two volumes of like extents.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::Impl {

/// `Traits::Choose<T>` is the rule on the first and the second voxel.
template <class Derived, class Parameter, class Traits, class InputPtr, class OutputPtr>
class PairwiseOperator : public TaviOperators::Operator<Derived> {
  static constexpr const Names& names = Traits::names;

public:
  std::string getType() const override { return typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = castParameter<Parameter>(composite, names.inApply());
    const InputPtr first(parameter->inputFirstVolume.value());
    const InputPtr second(parameter->inputSecondVolume.value());
    const int threads = threadCount(parameter->inputNumberOfThreads.value());
    require(first != nullptr && second != nullptr, names.inApply(" input volume is NULL"));
    require(first->getDimension() == second->getDimension(), names.inApply(" input volumes have different size"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), first->getDimension());
    transformVoxels(*this, threads, Steps::silent, typename Traits::template Choose<VoxelOf<OutputPtr>>(),
                    viewOf(*output), inputViewOf(*first), inputViewOf(*second));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

/// The typed operator that fits the volumes of a `Minimum` or `Maximum` parameter object.
template <class Parameter>
SmartPointer<IOperator> createPairwiseOperator(const Names& names, const SmartPointer<IComposite>& composite) {
  const auto parameter = castParameter<Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> first = parameter->inputFirstVolume.value();
  const SmartPointer<IVolume> second = parameter->inputSecondVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  require(first != nullptr && second != nullptr && output != nullptr,
          names.inFrame("inputVolume or outputVolume is NULL!"));
  require(first->getType() == second->getType(), names.inFrame("inputVolumes have different type!"));
  return createOperator(names, first, output);
}

}  // namespace NORV::TaviOperators::Impl
