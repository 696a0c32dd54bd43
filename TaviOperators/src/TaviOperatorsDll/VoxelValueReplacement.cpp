#include <DLL/VoxelValueReplacement.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <VoxelValueReplacement.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::VoxelValueReplacement;
using Typed::names;

using Instances = Impl::Same<Impl::AllVoxelTypes>;

}  // namespace

VoxelValueReplacement::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
VoxelValueReplacement::Operator::Operator(const Operator&) = default;
VoxelValueReplacement::Operator::~Operator() = default;
VoxelValueReplacement::Operator& VoxelValueReplacement::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> VoxelValueReplacement::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
