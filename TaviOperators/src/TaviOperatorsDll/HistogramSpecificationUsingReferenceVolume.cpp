#include <DLL/HistogramSpecificationUsingReferenceVolume.hpp>
#include <HistogramSpecificationUsingReferenceVolume.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::HistogramSpecificationUsingReferenceVolume;
using Typed::names;

using Instances = Impl::TypeList<uint8, uint16>;

}  // namespace

using Frame = HistogramSpecificationUsingReferenceVolume::Operator;

Frame::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Frame::Operator(const Operator&) = default;
Frame::~Operator() = default;
Frame& Frame::operator=(const Operator&) = default;

SmartPointer<IOperator> Frame::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume  is NULL!", "IOperator"));
  return Impl::createOperator(names, input);
}

}  // namespace NORV::TaviOperators::DLL
