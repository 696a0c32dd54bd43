#include <DLL/StandardFeaturesCalculation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <StandardFeaturesCalculation.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::StandardFeaturesCalculation;
using Typed::names;

using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::AllVoxelTypes>;

/// With the class of the result, which the voxel types of both volumes give.
template <class LabelPtr, class ValuePtr>
using Instance = Typed::Operator<
    LabelPtr, ValuePtr,
    Tavi::Container::VectorPtr<SmartPointer<Typed::Features<VoxelOf<LabelPtr>, VoxelOf<ValuePtr>, float64>>>>;

}  // namespace

StandardFeaturesCalculation::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
StandardFeaturesCalculation::Operator::Operator(const Operator&) = default;
StandardFeaturesCalculation::Operator::~Operator() = default;
StandardFeaturesCalculation::Operator& StandardFeaturesCalculation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> StandardFeaturesCalculation::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  const SmartPointer<IVolume> labels = parameter->inputLabelVolume.value();
  const SmartPointer<IVolume> values = parameter->inputValueVolume.value();
  Impl::require(labels != nullptr && values != nullptr, names.inFrame("inputVolume is NULL!"));
  const std::string record = "NORV::TaviOperators::StandardFeaturesCalculation::Features< " + labels->getVoxelType() +
                             ", " + values->getVoxelType() + ", NORV::float64 >";
  return Impl::createByIdentifier(Impl::composeIdentifier(
      names, labels->getType() + ", " + values->getType() + ", NORV::Tavi::Container::Vector< " + record + " >"));
}

}  // namespace NORV::TaviOperators::DLL
