#include <BigObjectsRemover.hpp>
#include <DLL/BigObjectsRemover.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BigObjectsRemover;

// Labels of each type on voxels of each type, which the output shares.
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;
template <class InputPtr, class LabelPtr>
using Instance = Typed::Operator<InputPtr, LabelPtr, InputPtr>;

}  // namespace

BigObjectsRemover::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
BigObjectsRemover::Operator::Operator(const Operator&) = default;
BigObjectsRemover::Operator::~Operator() = default;
BigObjectsRemover::Operator& BigObjectsRemover::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BigObjectsRemover::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
