#include <DLL/Minimum.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Minimum.hpp>

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::Minimum;

Minimum::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::Same<Impl::AllVoxelTypes>>(); }
Minimum::Operator::Operator(const Operator&) = default;
Minimum::Operator::~Operator() = default;
Minimum::Operator& Minimum::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Minimum::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createPairwiseOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
