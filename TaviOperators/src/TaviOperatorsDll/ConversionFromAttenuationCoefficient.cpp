#include <ConversionFromAttenuationCoefficient.hpp>
#include <DLL/ConversionFromAttenuationCoefficient.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::ConversionFromAttenuationCoefficient;
using Typed::names;

using Instances = Impl::Pairs<Impl::FloatVoxelTypes, Impl::TypeList<uint8, uint16>>;

}  // namespace

ConversionFromAttenuationCoefficient::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
ConversionFromAttenuationCoefficient::Operator::Operator(const Operator&) = default;
ConversionFromAttenuationCoefficient::Operator::~Operator() = default;
ConversionFromAttenuationCoefficient::Operator& ConversionFromAttenuationCoefficient::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> ConversionFromAttenuationCoefficient::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  Impl::requireGiven(output, names.inFrame("outputVolume is NULL!"));
  return Impl::createOperator(names, input, output);
}

}  // namespace NORV::TaviOperators::DLL
