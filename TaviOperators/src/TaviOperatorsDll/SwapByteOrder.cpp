#include <DLL/SwapByteOrder.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <SwapByteOrder.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::SwapByteOrder;
using Typed::names;

using Instances = Impl::Same<Impl::IntegerVoxelTypes>;

}  // namespace

SwapByteOrder::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
SwapByteOrder::Operator::Operator(const Operator&) = default;
SwapByteOrder::Operator::~Operator() = default;
SwapByteOrder::Operator& SwapByteOrder::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SwapByteOrder::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  Impl::requireSameVoxelType(*input, output, names.inFrame("Voxel types must be equal!", "IOperator"));
  return Impl::createOperator(names, input, Impl::orElse(output, input));
}

}  // namespace NORV::TaviOperators::DLL
