#include <BiggestObjectRemover.hpp>
#include <DLL/BiggestObjectRemover.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BiggestObjectRemover;

// Labels of each type on voxels of each type, which the output shares.
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;
template <class InputPtr, class LabelPtr>
using Instance = Typed::Operator<InputPtr, LabelPtr, InputPtr>;

}  // namespace

BiggestObjectRemover::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
BiggestObjectRemover::Operator::Operator(const Operator&) = default;
BiggestObjectRemover::Operator::~Operator() = default;
BiggestObjectRemover::Operator& BiggestObjectRemover::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BiggestObjectRemover::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
