#include <DLL/HistogramEqualization.hpp>
#include <HistogramEqualization.hpp>
#include <Impl/Dispatch.hpp>
#include <Impl/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::HistogramEqualization;
using Typed::names;

using Instances = Impl::Same<Impl::IntegerVoxelTypes>;

}  // namespace

HistogramEqualization::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
HistogramEqualization::Operator::Operator(const Operator&) = default;
HistogramEqualization::Operator::~Operator() = default;
HistogramEqualization::Operator& HistogramEqualization::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> HistogramEqualization::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  Impl::require(input != nullptr && output != nullptr, names.inFrame("inputVolume or outputVolume is NULL!"));
  return Impl::createOperator(names, input, output);
}

}  // namespace NORV::TaviOperators::DLL
