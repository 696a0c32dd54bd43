#include <AttenuationScaling.hpp>
#include <DLL/AttenuationScaling.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::AttenuationScaling;
using Typed::names;

using Instances = Impl::Pairs<Impl::TypeList<uint8, uint16>, Impl::TypeList<uint8, uint16, uint32, float32, float64>>;

}  // namespace

AttenuationScaling::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
AttenuationScaling::Operator::Operator(const Operator&) = default;
AttenuationScaling::Operator::~Operator() = default;
AttenuationScaling::Operator& AttenuationScaling::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> AttenuationScaling::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
