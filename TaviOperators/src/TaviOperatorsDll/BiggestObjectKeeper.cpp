#include <BiggestObjectKeeper.hpp>
#include <DLL/BiggestObjectKeeper.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BiggestObjectKeeper;

// Labels of each type on voxels of each type, which the output shares.
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;
template <class InputPtr, class LabelPtr>
using Instance = Typed::Operator<InputPtr, LabelPtr, InputPtr>;

}  // namespace

BiggestObjectKeeper::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
BiggestObjectKeeper::Operator::Operator(const Operator&) = default;
BiggestObjectKeeper::Operator::~Operator() = default;
BiggestObjectKeeper::Operator& BiggestObjectKeeper::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BiggestObjectKeeper::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
