#include <ConversionToAttenuationCoefficient.hpp>
#include <DLL/ConversionToAttenuationCoefficient.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

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
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
