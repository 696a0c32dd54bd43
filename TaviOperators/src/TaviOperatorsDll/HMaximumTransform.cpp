#include <DLL/HMaximumTransform.hpp>
#include <HMaximumTransform.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Reconstruction/HExtrema.hpp>

namespace NORV::TaviOperators::HMaximumTransform {
namespace {

constexpr Impl::Names names{"HMaximumTransform"};

struct Traits {
  using Parameter = HMaximumTransform::Parameter;
  static constexpr const Impl::Names& names = HMaximumTransform::names;
  static constexpr Impl::Extrema extrema = Impl::Extrema::maxima;
  static const auto& height(const Parameter& parameter) { return parameter.inputHeight; }
};

template <class InputPtr, class OutputPtr>
class Operator final : public Impl::HExtremaOperator<Operator<InputPtr, OutputPtr>, Traits, InputPtr, OutputPtr> {};

using Instances = Impl::Same<Impl::UnsignedVoxelTypes>;

}  // namespace
}  // namespace NORV::TaviOperators::HMaximumTransform

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::HMaximumTransform;

HMaximumTransform::Operator::Operator() { Impl::constructEach<Typed::Operator, Typed::Instances>(); }
HMaximumTransform::Operator::Operator(const Operator&) = default;
HMaximumTransform::Operator::~Operator() = default;
HMaximumTransform::Operator& HMaximumTransform::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> HMaximumTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInput<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
