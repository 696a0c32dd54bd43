#include <ConversionToAttenuationCoefficient.hpp>
#include <DLL/ConversionToAttenuationCoefficient.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>

#include <VoxelWise/CoefficientQuotient.hpp>

namespace NORV::TaviOperators::ConversionToAttenuationCoefficient {
namespace {

constexpr Impl::Names names{"ConversionToAttenuationCoefficient"};

template <class InputPtr, class OutputPtr>
class Operator final : public TaviOperators::Operator<Operator<InputPtr, OutputPtr>> {
  using In = VoxelOf<InputPtr>;
  using Out = VoxelOf<OutputPtr>;

public:
  std::string getType() const override { return Impl::typedIdentifier<InputPtr, OutputPtr>(names); }

  void apply(SmartPointer<IComposite> composite) override {
    this->beginApply();
    const auto parameter = Impl::castParameter<Parameter>(composite, names.inApply());
    const InputPtr input(parameter->inputVolume.value());
    const Out offset = parameter->inputOffset.template extractValue<Out>();
    const Out factor = parameter->inputFactor.template extractValue<Out>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" input volume is NULL"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const Impl::LanewiseRule<In, Out, Unscale<Out>> rule{{factor, offset}};
    Impl::transformVoxels(*this, threads, Impl::Steps::counted, rule, Impl::viewOf(*output), from);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::ConversionToAttenuationCoefficient

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::ConversionToAttenuationCoefficient;
using Typed::names;

using Instances = Impl::Pairs<Impl::TypeList<uint8, uint16>, Impl::FloatVoxelTypes>;

}  // namespace

ConversionToAttenuationCoefficient::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
ConversionToAttenuationCoefficient::Operator::Operator(const Operator&) = default;
ConversionToAttenuationCoefficient::Operator::~Operator() = default;
ConversionToAttenuationCoefficient::Operator& ConversionToAttenuationCoefficient::Operator::operator=(const Operator&) =
    default;

SmartPointer<IOperator> ConversionToAttenuationCoefficient::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
