#include <DLL/KMeansHistogramSegmentation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <KMeansHistogramSegmentation.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::KMeansHistogramSegmentation;
using Typed::names;

using VoxelTypes = Impl::TypeList<uint8, uint16>;
using Instances = Impl::Pairs<VoxelTypes, VoxelTypes>;

}  // namespace

KMeansHistogramSegmentation::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
KMeansHistogramSegmentation::Operator::Operator(const Operator&) = default;
KMeansHistogramSegmentation::Operator::~Operator() = default;
KMeansHistogramSegmentation::Operator& KMeansHistogramSegmentation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> KMeansHistogramSegmentation::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  const SmartPointer<IVolume> output = parameter->outputLabelVolume.value();
  Impl::requireGiven(input, names.inFrame("inputVolume is NULL!"));
  return Impl::createOperator(names, input, Impl::orElse(output, input));
}

}  // namespace NORV::TaviOperators::DLL
