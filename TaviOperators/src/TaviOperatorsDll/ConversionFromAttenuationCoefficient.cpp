#include <ConversionFromAttenuationCoefficient.hpp>
#include <DLL/ConversionFromAttenuationCoefficient.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>

#include <VoxelWise/CoefficientScale.hpp>

#include <cmath>
#include <limits>

namespace NORV::TaviOperators::ConversionFromAttenuationCoefficient {
namespace {

constexpr Impl::Names names{"ConversionFromAttenuationCoefficient"};

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
    const In coefficientLow = parameter->inputMinimumCoefficient.template extractValue<In>();
    const In coefficientHigh = parameter->inputMaximumCoefficient.template extractValue<In>();
    const Out scaledLow = parameter->inputMinimumScaledValue.template extractValue<Out>();
    const Out scaledHigh = parameter->inputMaximumScaledValue.template extractValue<Out>();
    const int threads = Impl::threadCount(parameter->inputNumberOfThreads.value());
    Impl::requireGiven(input, names.inApply(" inputVolume is NULL"));

    const auto output =
        this->template checkOutputVolume<OutputPtr>(parameter->outputVolume.value(), input->getDimension());
    const Scale<In, Out> scale(coefficientLow, coefficientHigh, scaledLow, scaledHigh);
    parameter->outputFactor.setValue(static_cast<In>(scale.factor));
    parameter->outputOffset.setValue(static_cast<In>(scale.offset));
    const auto from = Impl::inputViewOf(*input);
    this->setTotal(from.dimTert);
    const Impl::WindowRule<In, Out, Scale<In, Out>> rule(scale);
    Impl::transformVoxels(*this, threads, Impl::Steps::counted, rule, Impl::viewOf(*output), from);
    if (!this->isAborted()) {
      parameter->outputVolume = output;
    }
  }
};

}  // namespace
}  // namespace NORV::TaviOperators::ConversionFromAttenuationCoefficient

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::ConversionFromAttenuationCoefficient;
using Typed::names;

using Instances = Impl::Pairs<Impl::FloatVoxelTypes, Impl::TypeList<uint8, uint16>>;

}  // namespace

ConversionFromAttenuationCoefficient::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
ConversionFromAttenuationCoefficient::Operator::Operator(const Operator&) = default;
ConversionFromAttenuationCoefficient::Operator::~Operator() = default;
ConversionFromAttenuationCoefficient::Operator& ConversionFromAttenuationCoefficient::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> ConversionFromAttenuationCoefficient::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  Impl::requireGiven(output, names.inFrame("outputVolume is NULL!"));
  return Impl::createOperator(names, input, output);
}

}  // namespace NORV::TaviOperators::DLL
