#include <DLL/SwitchLabelsRandom.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <SwitchLabelsRandom.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::SwitchLabelsRandom;
using Typed::names;

using Instances = Impl::Same<Impl::UnsignedVoxelTypes>;

}  // namespace

SwitchLabelsRandom::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
SwitchLabelsRandom::Operator::Operator(const Operator&) = default;
SwitchLabelsRandom::Operator::~Operator() = default;
SwitchLabelsRandom::Operator& SwitchLabelsRandom::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SwitchLabelsRandom::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return Impl::createOperator(names, input, Impl::orElse(parameter->outputVolume.value(), input));
}

}  // namespace NORV::TaviOperators::DLL
