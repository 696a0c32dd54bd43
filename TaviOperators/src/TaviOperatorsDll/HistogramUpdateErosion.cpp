#include <DLL/HistogramUpdateErosion.hpp>
#include <Erosion.hpp>
#include <HistogramUpdateErosion.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::HistogramUpdateErosion;
using Typed::names;

template <class InputPtr, class OutputPtr>
using WithMask = Typed::Operator<InputPtr, OutputPtr, Impl::MaskPtr>;
using Instances = Impl::Same<Impl::TypeList<int8, uint8, int16, uint16>>;

}  // namespace

HistogramUpdateErosion::Operator::Operator() {
  Typed::Parameter();  // it is registered by its constructor, which nothing else here calls
  Impl::constructEach<WithMask, Instances>();
}
HistogramUpdateErosion::Operator::Operator(const Operator&) = default;
HistogramUpdateErosion::Operator::~Operator() = default;
HistogramUpdateErosion::Operator& HistogramUpdateErosion::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> HistogramUpdateErosion::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const Impl::Names& texts = TaviOperators::Erosion::names;  // the texts name the plain erosion
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, texts.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, texts.inFrame("inputVolume is NULL!"));
  Impl::requireGiven(parameter->inputMask.value(), texts.inFrame("inputMask is NULL!"));
  return Impl::createMaskedOperator(names, *input);
}

}  // namespace NORV::TaviOperators::DLL
