#include <BiggestObjectRemover.hpp>
#include <DLL/BiggestObjectRemover.hpp>
#include <Impl/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BiggestObjectRemover;

template <class InputPtr, class LabelPtr>
using SameOutput = Typed::Operator<InputPtr, LabelPtr, InputPtr>;
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;

}  // namespace

BiggestObjectRemover::Operator::Operator() { Impl::constructEach<SameOutput, Instances>(); }
BiggestObjectRemover::Operator::Operator(const Operator&) = default;
BiggestObjectRemover::Operator::~Operator() = default;
BiggestObjectRemover::Operator& BiggestObjectRemover::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BiggestObjectRemover::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
