#include <DLL/Maximum.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Maximum.hpp>

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::Maximum;

Maximum::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::Same<Impl::AllVoxelTypes>>(); }
Maximum::Operator::Operator(const Operator&) = default;
Maximum::Operator::~Operator() = default;
Maximum::Operator& Maximum::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Maximum::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createPairwiseOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
