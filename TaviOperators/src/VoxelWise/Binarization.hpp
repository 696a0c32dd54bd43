#pragma once

#include <BinarizationParameter.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/BitsView.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

/// Operators that tell foreground from background by one voxel at a time.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::Impl {

/// `Criterion` has `using Voxel` and `bool isForeground(Voxel) const`.
template <class Criterion, class Out>
struct Binarize {
  Criterion criterion;
  Out background, foreground;

  Out operator()(typename Criterion::Voxel x) const { return criterion.isForeground(x) ? foreground : background; }
};

/// `Traits` has the operator's names, the words for a missing input, and `criterion<In>(parameter)`, which reads the
/// typed values that decide.
template <class Derived, class Parameter, class Traits, class InputPtr, class OutputPtr>
class BinarizationOperator : public TaviOperators::Operator<Derived> {
  static constexpr const Names& names = Traits::names;
  using Out = VoxelOf<OutputPtr>;
  using OutBits = BitsOf<Out>;  // values are only moved, so that outputs of one size share their code

public:
  std::string getType() const override { return typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const auto criterion = Traits::template criterion<VoxelOf<InputPtr>>(*parameter);
    const Out background = parameter->inputBackgroundValue.template extractValue<Out>();
    const Out foreground = parameter->inputForegroundValue.template extractValue<Out>();
    const int threads = threadCount(parameter->inputNumberOfThreads.value());
    requireGiven(input, names.inApply(Traits::missingInput));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    using Criterion = std::remove_const_t<decltype(criterion)>;
    const Binarize<Criterion, OutBits> rule{criterion, static_cast<OutBits>(background),
                                            static_cast<OutBits>(foreground)};
    transformVoxels(*this, threads, Steps::silent, rule, viewAs<OutBits>(viewOf(*output)),
                    viewAs<const typename Criterion::Voxel>(inputViewOf(*input)));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::Impl
