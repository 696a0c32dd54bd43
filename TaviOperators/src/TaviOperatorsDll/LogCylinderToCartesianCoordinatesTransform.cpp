#include <DLL/LogCylinderToCartesianCoordinatesTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <LogCylinderToCartesianCoordinatesTransform.hpp>

#include <Geometry/PolarRules.hpp>
#include <Geometry/PolarTransform.hpp>

#include <cmath>

namespace NORV::TaviOperators::LogCylinderToCartesianCoordinatesTransform {
namespace {

using namespace Geometry;

/// Not the inverse of exponentially growing radii, which would be a logarithm.
struct ExponentialIndex {
  float32 minimum, step;
  float32 operator()(float32 radius) const { return radius > 0.0f ? std::exp((radius - minimum) * step) : radius; }
};

struct Traits {
  static constexpr const char* op = "LogCylinderToCartesianCoordinatesTransform";
  static constexpr Direction direction = Direction::toCartesian;

  static auto positionRule(const PolarRun& run) {
    return CylinderIndices(run.self, run.threads, run.frame, run.output,
                           ExponentialIndex{run.frame.minimum, exponentStep(run.frame.range(), run.input.prim)},
                           run.input.sec);
  }
};

template <class InputPtr, class OutputPtr>
class Operator final : public PolarTransform<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

using Instances = Impl::Same<Impl::AllVoxelTypes>;

}  // namespace
}  // namespace NORV::TaviOperators::LogCylinderToCartesianCoordinatesTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::LogCylinderToCartesianCoordinatesTransform;

LogCylinderToCartesianCoordinatesTransform::Operator::Operator() {
  Impl::constructEach<Typed::Operator, Typed::Instances>();
}
LogCylinderToCartesianCoordinatesTransform::Operator::Operator(const Operator&) = default;
LogCylinderToCartesianCoordinatesTransform::Operator::~Operator() = default;
LogCylinderToCartesianCoordinatesTransform::Operator& LogCylinderToCartesianCoordinatesTransform::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> LogCylinderToCartesianCoordinatesTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(Impl::Names(Typed::Traits::op), composite, false);
}

}  // namespace NORV::TaviOperators::DLL
