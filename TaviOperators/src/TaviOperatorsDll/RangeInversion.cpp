#include <DLL/RangeInversion.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <RangeInversion.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::RangeInversion;
using Typed::names;

using Instances = Impl::Same<Impl::AllVoxelTypes>;

}  // namespace

RangeInversion::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
RangeInversion::Operator::Operator(const Operator&) = default;
RangeInversion::Operator::~Operator() = default;
RangeInversion::Operator& RangeInversion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RangeInversion::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
