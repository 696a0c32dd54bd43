#include <DLL/Saturation.hpp>
#include <Impl/Dispatch.hpp>
#include <Impl/Instances.hpp>
#include <Saturation.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::Saturation;
using Typed::names;

// Wider than the frame reaches: the frame demands equal voxel types, the factory does not.
using Instances = Impl::Pairs<Impl::AllVoxelTypes, Impl::AllVoxelTypes>;

}  // namespace

Saturation::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Saturation::Operator::Operator(const Operator&) = default;
Saturation::Operator::~Operator() = default;
Saturation::Operator& Saturation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Saturation::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume  is NULL!", "IOperator"));
  Impl::requireSameVoxelType(*input, output, names.inFrame("Voxel types must be equal!", "IOperator"));
  return Impl::createOperator(names, input, Impl::orElse(output, input));
}

}  // namespace NORV::TaviOperators::DLL
