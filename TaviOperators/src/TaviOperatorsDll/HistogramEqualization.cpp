#include <DLL/HistogramEqualization.hpp>
#include <HistogramEqualization.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

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
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
