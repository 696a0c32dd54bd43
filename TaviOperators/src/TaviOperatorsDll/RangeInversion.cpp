#include <DLL/RangeInversion.hpp>
#include <Impl/Dispatch.hpp>
#include <Impl/Instances.hpp>
#include <RangeInversion.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::RangeInversion;
using Typed::names;

using Instances = Impl::Same<Impl::AllVoxelTypes>;

}  // namespace

RangeInversion::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
RangeInversion::Operator::Operator(const Operator&) = default;
RangeInversion::Operator::~Operator() = default;
RangeInversion::Operator& RangeInversion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RangeInversion::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::require(input != nullptr && output != nullptr, names.inFrame("inputVolume or outputVolume is NULL!"));
  return Impl::createOperator(names, input, output);
}

}  // namespace NORV::TaviOperators::DLL
