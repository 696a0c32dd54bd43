#include <DLL/SmallObjectsRemover.hpp>
#include <Impl/Frame/Instances.hpp>
#include <SmallObjectsRemover.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::SmallObjectsRemover;

// Labels of each type on voxels of each type, which the output shares.
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;
template <class InputPtr, class LabelPtr>
using Instance = Typed::Operator<InputPtr, LabelPtr, InputPtr>;

}  // namespace

SmallObjectsRemover::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
SmallObjectsRemover::Operator::Operator(const Operator&) = default;
SmallObjectsRemover::Operator::~Operator() = default;
SmallObjectsRemover::Operator& SmallObjectsRemover::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SmallObjectsRemover::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
