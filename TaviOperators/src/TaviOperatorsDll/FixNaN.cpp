#include <DLL/FixNaN.hpp>
#include <FixNaN.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::FixNaN;
using Typed::names;

using Instances = Impl::Same<Impl::FloatVoxelTypes>;

}  // namespace

FixNaN::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
FixNaN::Operator::Operator(const Operator&) = default;
FixNaN::Operator::~Operator() = default;
FixNaN::Operator& FixNaN::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> FixNaN::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
