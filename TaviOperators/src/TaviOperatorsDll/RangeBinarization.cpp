#include <DLL/RangeBinarization.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <RangeBinarization.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::RangeBinarization;
using Typed::names;

using Instances =
    Impl::Pairs<Impl::TypeList<int8, uint8, int16, uint16, uint32, float32, float64>, Impl::UnsignedVoxelTypes>;

}  // namespace

RangeBinarization::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
RangeBinarization::Operator::Operator(const Operator&) = default;
RangeBinarization::Operator::~Operator() = default;
RangeBinarization::Operator& RangeBinarization::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RangeBinarization::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
