#include <CartesianToSphericalCoordinatesTransform.hpp>
#include <DLL/CartesianToSphericalCoordinatesTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Geometry/PolarRules.hpp>
#include <Geometry/PolarTransform.hpp>

namespace NORV::TaviOperators::CartesianToSphericalCoordinatesTransform {
namespace {

using namespace Geometry;

struct Traits {
  static constexpr const char* op = "CartesianToSphericalCoordinatesTransform";
  static constexpr Direction direction = Direction::toPolar;

  static Dimension<SizeType> gridExtents(float32 range, const Dimension<SizeType>&) {
    return Geometry::gridExtents(range, 360, 181);
  }
  static auto positionRule(const PolarRun& run) { return SpherePositions(run.frame, run.output); }
};

template <class InputPtr, class OutputPtr>
class Operator final : public PolarTransform<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

using Instances = Impl::Same<Impl::TypeList<int8, uint8, int16, uint16, float32>>;

}  // namespace
}  // namespace NORV::TaviOperators::CartesianToSphericalCoordinatesTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::CartesianToSphericalCoordinatesTransform;

CartesianToSphericalCoordinatesTransform::Operator::Operator() {
  Impl::constructEach<Typed::Operator, Typed::Instances>();
}
CartesianToSphericalCoordinatesTransform::Operator::Operator(const Operator&) = default;
CartesianToSphericalCoordinatesTransform::Operator::~Operator() = default;
CartesianToSphericalCoordinatesTransform::Operator& CartesianToSphericalCoordinatesTransform::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> CartesianToSphericalCoordinatesTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(Impl::Names(Typed::Traits::op), composite, false);
}

}  // namespace NORV::TaviOperators::DLL
