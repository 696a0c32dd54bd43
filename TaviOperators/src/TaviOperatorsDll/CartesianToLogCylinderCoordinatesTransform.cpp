#include <CartesianToLogCylinderCoordinatesTransform.hpp>
#include <DLL/CartesianToLogCylinderCoordinatesTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Geometry/PolarRules.hpp>
#include <Geometry/PolarTransform.hpp>

namespace NORV::TaviOperators::CartesianToLogCylinderCoordinatesTransform {
namespace {

using namespace Geometry;

struct Traits {
  static constexpr const char* op = "CartesianToLogCylinderCoordinatesTransform";
  static constexpr Direction direction = Direction::toPolar;

  static Dimension<SizeType> gridExtents(float32 range, const Dimension<SizeType>& input) {
    return Geometry::gridExtents(range, 360, input.tert);
  }
  static auto positionRule(const PolarRun& run) {
    return CylinderPositions(run.frame, exponentialRadii(run.frame, run.output.prim), run.output.sec);
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public PolarTransform<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

using Instances = Impl::Pairs<Impl::AllVoxelTypes, Impl::AllVoxelTypes>;

}  // namespace
}  // namespace NORV::TaviOperators::CartesianToLogCylinderCoordinatesTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::CartesianToLogCylinderCoordinatesTransform;

CartesianToLogCylinderCoordinatesTransform::Operator::Operator() {
  Impl::constructEach<Typed::Operator, Typed::Instances>();
}
CartesianToLogCylinderCoordinatesTransform::Operator::Operator(const Operator&) = default;
CartesianToLogCylinderCoordinatesTransform::Operator::~Operator() = default;
CartesianToLogCylinderCoordinatesTransform::Operator& CartesianToLogCylinderCoordinatesTransform::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> CartesianToLogCylinderCoordinatesTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(Impl::Names(Typed::Traits::op), composite, false);
}

}  // namespace NORV::TaviOperators::DLL
