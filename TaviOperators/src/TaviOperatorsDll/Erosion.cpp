#include <DLL/Erosion.hpp>
#include <Erosion.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::Erosion;
using Typed::names;

using Instances = Impl::Same<Impl::AllVoxelTypes>;

}  // namespace

Erosion::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Erosion::Operator::Operator(const Operator&) = default;
Erosion::Operator::~Operator() = default;
Erosion::Operator& Erosion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Erosion::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return Impl::createOperator(names, input, input);
}

}  // namespace NORV::TaviOperators::DLL
