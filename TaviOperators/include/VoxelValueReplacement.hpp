#pragma once

#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Loops/BitsView.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Operator.hpp>
#include <Tavi/ForEachParallel.hpp>
#include <Tavi/Operator.hpp>

/// Gives all voxels of one grey value another. The comparison is exact, also for floating point: -0.0 equals 0.0, and
/// NaN equals nothing.
///
/// Extra memory: none. Works on as many slabs as the runtime offers threads; the progress follows the first of them.
namespace NORV::TaviOperators::VoxelValueReplacement {

inline constexpr Impl::Names names{"VoxelValueReplacement"};

/// One run. Both values are each a `Data<T>` of the voxel type of inputVolume.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<IData> inputChangingValue;
  Property<IData> inputNewValue;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume in which a grey value is replaced"});
    append("inputChangingValue", inputChangingValue, like("inputVolume", required, "grey value that is replaced"));
    append("inputNewValue", inputNewValue, like("inputVolume", required, "grey value that takes its place"));
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class T>
struct Replace {
  T changingValue, newValue;
  T operator()(T x) const { return x == changingValue ? newValue : x; }
};

/// Integers of one size are equal when their bits are, so the row kernels exist for unsigned ones only.
template <class T>
class ReplaceFunctor : public Tavi::Iterating::Functor {
  using Bits = Impl::BitsOf<T>;

public:
  ReplaceFunctor(T changingValue, T newValue, const Tavi::View<const T>& input, const Tavi::View<T>& output)
      : _rule{static_cast<Bits>(changingValue), static_cast<Bits>(newValue)},
        _streaming(output.size() * sizeof(T) >= Tavi::Streaming::threshold && !mayOverlap(input, output) &&
                   reinterpret_cast<std::uintptr_t>(output.data) % sizeof(T) == 0) {}

  void operator()(const T& input, T& output) const { output = static_cast<T>(_rule(static_cast<Bits>(input))); }

  void row(const T* input, T* output, SizeType count) const {
    const auto* from = reinterpret_cast<const Bits*>(input);
    auto* to = reinterpret_cast<Bits*>(output);
    if (_streaming && count * sizeof(T) >= 1024) {
      Impl::transformRowStreaming(_rule, to, count, from);
      Tavi::Streaming::finish();
    } else {
      Impl::transformRow(_rule, to, count, from);
    }
  }

private:
  Replace<Bits> _rule;
  bool _streaming;
};

template <class InputPtr, class OutputPtr>
class Operator final : public Tavi::Operator<Operator<InputPtr, OutputPtr>> {
  using T = VoxelOf<InputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, getType() + "::apply parameter is NULL");
    const InputPtr input(parameter->inputVolume.value());
    const T changingValue = parameter->inputChangingValue.template extractValue<T>();
    const T newValue = parameter->inputNewValue.template extractValue<T>();
    Impl::requireGiven(input, getType() + " input volume is NULL");

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const ReplaceFunctor<T> functor(changingValue, newValue, Impl::inputViewOf(*input), Impl::viewOf(*output));
    Tavi::Iterating::ForEachParallel::apply(&functor, input, output, &this->_progress, &this->_aborted);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace NORV::TaviOperators::VoxelValueReplacement
