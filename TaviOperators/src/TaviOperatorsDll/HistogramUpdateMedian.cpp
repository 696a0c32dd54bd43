#include <DLL/HistogramUpdateMedian.hpp>
#include <HistogramUpdateMedian.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::HistogramUpdateMedian;
using Typed::names;

template <class InputPtr, class OutputPtr>
using WithMask = Typed::Operator<InputPtr, OutputPtr, Impl::MaskPtr>;
using Instances = Impl::Same<Impl::TypeList<uint8, uint16>>;

}  // namespace

HistogramUpdateMedian::Operator::Operator() {
  Typed::Parameter();  // it is registered by its constructor, which nothing else here calls
  Impl::constructEach<WithMask, Instances>();
}
HistogramUpdateMedian::Operator::Operator(const Operator&) = default;
HistogramUpdateMedian::Operator::~Operator() = default;
HistogramUpdateMedian::Operator& HistogramUpdateMedian::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> HistogramUpdateMedian::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::require(input != nullptr && parameter->inputMask.value() != nullptr,
                names.inFrame("inputVolume or inputMask is NULL!"));
  Impl::requireSameVoxelType(*input, parameter->outputVolume.value(), names.inFrame("Voxel types must be equal!"));
  return Impl::createMaskedOperator(names, *input);
}

}  // namespace NORV::TaviOperators::DLL
