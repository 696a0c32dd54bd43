#include <DLL/Round.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Round.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::Round;
using Typed::names;

using Instances = Impl::Same<Impl::FloatVoxelTypes>;

}  // namespace

Round::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Round::Operator::Operator(const Operator&) = default;
Round::Operator::~Operator() = default;
Round::Operator& Round::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Round::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
