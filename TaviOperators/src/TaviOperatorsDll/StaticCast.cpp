#include <DLL/StaticCast.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <StaticCast.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::StaticCast;
using Typed::names;

using Instances = Impl::Pairs<Impl::AllVoxelTypes, Impl::AllVoxelTypes>;

}  // namespace

StaticCast::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
StaticCast::Operator::Operator(const Operator&) = default;
StaticCast::Operator::~Operator() = default;
StaticCast::Operator& StaticCast::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> StaticCast::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
