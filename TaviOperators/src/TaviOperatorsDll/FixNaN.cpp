#include <DLL/FixNaN.hpp>
#include <FixNaN.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>

#include <Vectors/Lanes.hpp>

namespace NORV::TaviOperators::FixNaN {
namespace {

constexpr Impl::Names names{"FixNaN"};

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

}  // namespace
}  // namespace NORV::TaviOperators::FixNaN

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::FixNaN;
using Typed::names;

using Instances = Impl::Same<Impl::FloatVoxelTypes>;

}  // namespace

FixNaN::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
FixNaN::Operator::Operator(const Operator&) = default;
FixNaN::Operator::~Operator() = default;
FixNaN::Operator& FixNaN::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> FixNaN::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
