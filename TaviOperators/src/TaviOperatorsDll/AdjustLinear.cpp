#include <AdjustLinear.hpp>
#include <DLL/AdjustLinear.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <type_traits>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::AdjustLinear;
using Typed::names;

template <class T>
using OtherThanUint8 = std::negation<std::is_same<T, uint8>>;
template <class T>
using OtherThanUint16 = std::negation<std::is_same<T, uint16>>;

using Instances = Impl::Concat<Impl::Same<Impl::AllVoxelTypes>,
                               Impl::Pairs<Impl::Filter<OtherThanUint8, Impl::AllVoxelTypes>, Impl::TypeList<uint8>>,
                               Impl::Pairs<Impl::Filter<OtherThanUint16, Impl::AllVoxelTypes>, Impl::TypeList<uint16>>>;

}  // namespace

AdjustLinear::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
AdjustLinear::Operator::Operator(const Operator&) = default;
AdjustLinear::Operator::~Operator() = default;
AdjustLinear::Operator& AdjustLinear::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> AdjustLinear::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
