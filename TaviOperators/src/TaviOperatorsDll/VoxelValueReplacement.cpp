#include <DLL/VoxelValueReplacement.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/BitsView.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Tavi/ForEachParallel.hpp>
#include <Tavi/Operator.hpp>
#include <VoxelValueReplacement.hpp>

namespace NORV::TaviOperators::VoxelValueReplacement {
namespace {

constexpr Impl::Names names{"VoxelValueReplacement"};

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
    Impl::Unstoppable copying;
    const InputPtr source = Impl::keptVolume(copying, Impl::threadCount(0), input, output, Impl::Aliasing::identical);
    const ReplaceFunctor<T> functor(changingValue, newValue, Impl::inputViewOf(*source), Impl::viewOf(*output));
    Tavi::Iterating::ForEachParallel::apply(&functor, source, output, &this->_progress, &this->_aborted);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::VoxelValueReplacement

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::VoxelValueReplacement;
using Typed::names;

using Instances = Impl::Same<Impl::AllVoxelTypes>;

}  // namespace

VoxelValueReplacement::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
VoxelValueReplacement::Operator::Operator(const Operator&) = default;
VoxelValueReplacement::Operator::~Operator() = default;
VoxelValueReplacement::Operator& VoxelValueReplacement::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> VoxelValueReplacement::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
