#include <DLL/ExtremeValueCalculation.hpp>
#include <ExtremeValueCalculation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::ExtremeValueCalculation;

ExtremeValueCalculation::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::AllVoxelTypes>(); }
ExtremeValueCalculation::Operator::Operator(const Operator&) = default;
ExtremeValueCalculation::Operator::~Operator() = default;
ExtremeValueCalculation::Operator& ExtremeValueCalculation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> ExtremeValueCalculation::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto& names = Typed::names;
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inApply(" input volume is NULL"));  // the same words as in the typed operator
  return Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
