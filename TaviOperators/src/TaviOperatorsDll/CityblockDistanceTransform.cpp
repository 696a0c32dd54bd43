#include <CityblockDistanceTransform.hpp>
#include <DLL/CityblockDistanceTransform.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::CityblockDistanceTransform;

using Instances = Impl::Pairs<Impl::AllVoxelTypes, Impl::IntegerVoxelTypes>;

}  // namespace

CityblockDistanceTransform::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
CityblockDistanceTransform::Operator::Operator(const Operator&) = default;
CityblockDistanceTransform::Operator::~Operator() = default;
CityblockDistanceTransform::Operator& CityblockDistanceTransform::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> CityblockDistanceTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createByVoxelTypes<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
