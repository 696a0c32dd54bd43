#include <DLL/SphericalToCartesianCoordinatesTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <SphericalToCartesianCoordinatesTransform.hpp>

#include <Geometry/PolarRules.hpp>
#include <Geometry/PolarTransform.hpp>

namespace NORV::TaviOperators::SphericalToCartesianCoordinatesTransform {
namespace {

using namespace Geometry;

struct Traits {
  static constexpr const char* op = "SphericalToCartesianCoordinatesTransform";
  static constexpr Direction direction = Direction::toCartesian;

  static auto positionRule(const PolarRun& run) {
    return SphereIndices(run.self, run.threads, run.frame, run.output, run.input);
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public PolarTransform<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

using Instances = Impl::Same<Impl::TypeList<int8, uint8, int16, uint16, float32>>;

}  // namespace
}  // namespace NORV::TaviOperators::SphericalToCartesianCoordinatesTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::SphericalToCartesianCoordinatesTransform;

SphericalToCartesianCoordinatesTransform::Operator::Operator() {
  Impl::constructEach<Typed::Operator, Typed::Instances>();
}
SphericalToCartesianCoordinatesTransform::Operator::Operator(const Operator&) = default;
SphericalToCartesianCoordinatesTransform::Operator::~Operator() = default;
SphericalToCartesianCoordinatesTransform::Operator& SphericalToCartesianCoordinatesTransform::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> SphericalToCartesianCoordinatesTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(Impl::Names(Typed::Traits::op), composite, false);
}

}  // namespace NORV::TaviOperators::DLL
