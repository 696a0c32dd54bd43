#include <CartesianToCylinderCoordinatesTransform.hpp>
#include <DLL/CartesianToCylinderCoordinatesTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Geometry/PolarRules.hpp>
#include <Geometry/PolarTransform.hpp>

namespace NORV::TaviOperators::CartesianToCylinderCoordinatesTransform {
namespace {

using namespace Geometry;

struct Traits {
  static constexpr const char* op = "CartesianToCylinderCoordinatesTransform";
  static constexpr Direction direction = Direction::toPolar;

  static Dimension<SizeType> gridExtents(float32 range, const Dimension<SizeType>& input) {
    return Geometry::gridExtents(range, 360, input.tert);
  }
  static auto positionRule(const PolarRun& run) {
    return CylinderPositions(run.frame, evenRadii(run.frame, run.output.prim), run.output.sec);
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public PolarTransform<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

using Instances = Impl::Same<Impl::TypeList<int8, uint8, int16, uint16, float32>>;

}  // namespace
}  // namespace NORV::TaviOperators::CartesianToCylinderCoordinatesTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::CartesianToCylinderCoordinatesTransform;

CartesianToCylinderCoordinatesTransform::Operator::Operator() {
  Impl::constructEach<Typed::Operator, Typed::Instances>();
}
CartesianToCylinderCoordinatesTransform::Operator::Operator(const Operator&) = default;
CartesianToCylinderCoordinatesTransform::Operator::~Operator() = default;
CartesianToCylinderCoordinatesTransform::Operator& CartesianToCylinderCoordinatesTransform::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> CartesianToCylinderCoordinatesTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(Impl::Names(Typed::Traits::op), composite, false);
}

}  // namespace NORV::TaviOperators::DLL
