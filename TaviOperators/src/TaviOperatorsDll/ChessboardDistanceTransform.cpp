#include <ChessboardDistanceTransform.hpp>
#include <DLL/ChessboardDistanceTransform.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::ChessboardDistanceTransform;

using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::IntegerVoxelTypes>;

}  // namespace

ChessboardDistanceTransform::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
ChessboardDistanceTransform::Operator::Operator(const Operator&) = default;
ChessboardDistanceTransform::Operator::~Operator() = default;
ChessboardDistanceTransform::Operator& ChessboardDistanceTransform::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> ChessboardDistanceTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createByVoxelTypes<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
