#include <DLL/RangeBinarization.hpp>
#include <Impl/Dispatch.hpp>
#include <Impl/Instances.hpp>
#include <RangeBinarization.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::RangeBinarization;
using Typed::names;

using Instances =
    Impl::Pairs<Impl::TypeList<int8, uint8, int16, uint16, uint32, float32, float64>, Impl::UnsignedVoxelTypes>;

}  // namespace

RangeBinarization::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
RangeBinarization::Operator::Operator(const Operator&) = default;
RangeBinarization::Operator::~Operator() = default;
RangeBinarization::Operator& RangeBinarization::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RangeBinarization::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::require(input != nullptr && output != nullptr, names.inFrame("inputVolume or outputVolume is NULL!"));
  return Impl::createOperator(names, input, output);
}

}  // namespace NORV::TaviOperators::DLL
