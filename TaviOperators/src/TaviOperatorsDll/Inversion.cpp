#include <DLL/Inversion.hpp>
#include <Impl/Dispatch.hpp>
#include <Impl/Instances.hpp>
#include <Inversion.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::Inversion;
using Typed::names;

using Instances = Impl::Same<Impl::IntegerVoxelTypes>;

}  // namespace

Inversion::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Inversion::Operator::Operator(const Operator&) = default;
Inversion::Operator::~Operator() = default;
Inversion::Operator& Inversion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Inversion::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::require(input != nullptr && output != nullptr, names.inFrame("inputVolume or outputVolume is NULL!"));
  return Impl::createOperator(names, input, output);
}

}  // namespace NORV::TaviOperators::DLL
