#include <BiggestObjectKeeper.hpp>
#include <DLL/BiggestObjectKeeper.hpp>
#include <Impl/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BiggestObjectKeeper;

template <class InputPtr, class LabelPtr>
using SameOutput = Typed::Operator<InputPtr, LabelPtr, InputPtr>;
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;

}  // namespace

BiggestObjectKeeper::Operator::Operator() { Impl::constructEach<SameOutput, Instances>(); }
BiggestObjectKeeper::Operator::Operator(const Operator&) = default;
BiggestObjectKeeper::Operator::~Operator() = default;
BiggestObjectKeeper::Operator& BiggestObjectKeeper::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BiggestObjectKeeper::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
