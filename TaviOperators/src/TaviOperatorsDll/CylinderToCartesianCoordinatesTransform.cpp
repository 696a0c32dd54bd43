#include <CylinderToCartesianCoordinatesTransform.hpp>
#include <DLL/CylinderToCartesianCoordinatesTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Geometry/PolarRules.hpp>
#include <Geometry/PolarTransform.hpp>

namespace NORV::TaviOperators::CylinderToCartesianCoordinatesTransform {
namespace {

using namespace Geometry;

/// The radial index in a grid of evenly spaced radii.
struct EvenIndex {
  float32 minimum, step;
  float32 operator()(float32 radius) const { return (radius - minimum) / step; }
};

struct Traits {
  static constexpr const char* op = "CylinderToCartesianCoordinatesTransform";
  static constexpr Direction direction = Direction::toCartesian;

  static auto positionRule(const PolarRun& run) {
    return CylinderIndices(run.self, run.threads, run.frame, run.output,
                           EvenIndex{run.frame.minimum, radialStep(run.frame.range(), run.input.prim)}, run.input.sec);
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public PolarTransform<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

using Instances = Impl::Same<Impl::TypeList<int8, uint8, int16, uint16, float32>>;

}  // namespace
}  // namespace NORV::TaviOperators::CylinderToCartesianCoordinatesTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::CylinderToCartesianCoordinatesTransform;

CylinderToCartesianCoordinatesTransform::Operator::Operator() {
  Impl::constructEach<Typed::Operator, Typed::Instances>();
}
CylinderToCartesianCoordinatesTransform::Operator::Operator(const Operator&) = default;
CylinderToCartesianCoordinatesTransform::Operator::~Operator() = default;
CylinderToCartesianCoordinatesTransform::Operator& CylinderToCartesianCoordinatesTransform::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> CylinderToCartesianCoordinatesTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(Impl::Names(Typed::Traits::op), composite, false);
}

}  // namespace NORV::TaviOperators::DLL
