#include <DLL/Inversion.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Inversion.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::Inversion;
using Typed::names;

using Instances = Impl::Same<Impl::IntegerVoxelTypes>;

}  // namespace

Inversion::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
Inversion::Operator::Operator(const Operator&) = default;
Inversion::Operator::~Operator() = default;
Inversion::Operator& Inversion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Inversion::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
