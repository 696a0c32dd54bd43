#include <DLL/SmallObjectsRemover.hpp>
#include <Impl/Instances.hpp>
#include <SmallObjectsRemover.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::SmallObjectsRemover;

template <class InputPtr, class LabelPtr>
using SameOutput = Typed::Operator<InputPtr, LabelPtr, InputPtr>;
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;

}  // namespace

SmallObjectsRemover::Operator::Operator() { Impl::constructEach<SameOutput, Instances>(); }
SmallObjectsRemover::Operator::Operator(const Operator&) = default;
SmallObjectsRemover::Operator::~Operator() = default;
SmallObjectsRemover::Operator& SmallObjectsRemover::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SmallObjectsRemover::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
