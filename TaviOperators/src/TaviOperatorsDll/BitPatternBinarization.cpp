#include <BitPatternBinarization.hpp>
#include <DLL/BitPatternBinarization.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BitPatternBinarization;
using Typed::names;

using Instances = Impl::Pairs<Impl::IntegerVoxelTypes, Impl::IntegerVoxelTypes>;

}  // namespace

BitPatternBinarization::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
BitPatternBinarization::Operator::Operator(const Operator&) = default;
BitPatternBinarization::Operator::~Operator() = default;
BitPatternBinarization::Operator& BitPatternBinarization::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BitPatternBinarization::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
