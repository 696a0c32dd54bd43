#include <ConversionToAttenuationCoefficient.hpp>
#include <DLL/ConversionToAttenuationCoefficient.hpp>
#include <Impl/Dispatch.hpp>
#include <Impl/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::ConversionToAttenuationCoefficient;
using Typed::names;

using Instances = Impl::Pairs<Impl::TypeList<uint8, uint16>, Impl::FloatVoxelTypes>;

}  // namespace

ConversionToAttenuationCoefficient::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
ConversionToAttenuationCoefficient::Operator::Operator(const Operator&) = default;
ConversionToAttenuationCoefficient::Operator::~Operator() = default;
ConversionToAttenuationCoefficient::Operator& ConversionToAttenuationCoefficient::Operator::operator=(const Operator&) =
    default;

SmartPointer<IOperator> ConversionToAttenuationCoefficient::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return Impl::createOperator(names, input, Impl::orElse(output, input));
}

}  // namespace NORV::TaviOperators::DLL
