#include <DLL/HMinimumTransform.hpp>
#include <HMinimumTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Reconstruction/HExtrema.hpp>

namespace NORV::TaviOperators::HMinimumTransform {
namespace {

constexpr Impl::Names names{"HMinimumTransform"};

struct Traits {
  using Parameter = HMinimumTransform::Parameter;
  static constexpr const Impl::Names& names = HMinimumTransform::names;
  static constexpr Impl::Extrema extrema = Impl::Extrema::minima;
  static const auto& height(const Parameter& parameter) { return parameter.inputDepth; }
};

template <class InputPtr, class OutputPtr>
class Operator final : public Impl::HExtremaOperator<Operator<InputPtr, OutputPtr>, Traits, InputPtr, OutputPtr> {};

using Instances = Impl::Same<Impl::UnsignedVoxelTypes>;

}  // namespace
}  // namespace NORV::TaviOperators::HMinimumTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::HMinimumTransform;

HMinimumTransform::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
HMinimumTransform::Operator::Operator(const Operator&) = default;
HMinimumTransform::Operator::~Operator() = default;
HMinimumTransform::Operator& HMinimumTransform::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> HMinimumTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInput<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
