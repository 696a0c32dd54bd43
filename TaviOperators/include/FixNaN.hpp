#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>

#include <Vectors/Lanes.hpp>

/// Replaces every voxel that is no number (NaN) by a value. Infinities are numbers here.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::FixNaN {

inline constexpr Impl::Names names{"FixNaN"};

/// One run. The replacement is a `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputReplacementValue;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume of floating-point voxels to repair"});
    append("inputReplacementValue", inputReplacementValue,
           like("inputVolume", required, "grey value that takes the place of NaN"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
  }
  std::string getType() const override { return names.parameterType(); }
};

/// Only what is a number is at most itself.
template <class T>
struct ReplaceNaN {
  using Real = T;
  T replacement;

  template <class L>
  typename L::V map(L, typename L::V x) const {
    return L::ifLessOrEqual(x, x, x, L::set(replacement));
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, getType() + "::apply parameter is NULL");
    const InputPtr input(parameter->inputVolume.value());
    const T replacement = parameter->inputReplacementValue.template extractValue<T>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, getType() + " input volume is NULL");

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const Impl::LanewiseRule<T, T, ReplaceNaN<T>> rule{{replacement}};
    Impl::transformVoxels(*this, threads, Impl::Steps::silent, rule, Impl::viewOf(*output), Impl::inputViewOf(*input));
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::FixNaN
