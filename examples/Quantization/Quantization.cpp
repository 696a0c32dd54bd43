#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Quantization.hpp>
#include <QuantizationFrame.hpp>

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::Quantization;

Quantization::Operator::Operator() {
  using Instances = Impl::Concat<Impl::UnsignedVoxelTypes, Impl::FloatVoxelTypes>;
  Impl::constructEach<Typed::Operator, Instances>();
}
Quantization::Operator::Operator(const Operator&) = default;
Quantization::Operator::~Operator() = default;
Quantization::Operator& Quantization::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Quantization::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto& names = Typed::names;
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
