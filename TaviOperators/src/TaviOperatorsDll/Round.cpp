#include <DLL/Round.hpp>
#include <Impl/Dispatch.hpp>
#include <Impl/Instances.hpp>
#include <Round.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::Round;
using Typed::names;

using Instances = Impl::Same<Impl::FloatVoxelTypes>;

}  // namespace

Round::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Round::Operator::Operator(const Operator&) = default;
Round::Operator::~Operator() = default;
Round::Operator& Round::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Round::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::require(input != nullptr && output != nullptr, names.inFrame("inputVolume or outputVolume is NULL!"));
  return Impl::createOperator(names, input, output);
}

}  // namespace NORV::TaviOperators::DLL
