#include <AdaptiveMedian.hpp>
#include <DLL/AdaptiveMedian.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::AdaptiveMedian;
using Typed::names;

/// Constructs and destroys the operators of a voxel type for each type of indices and of kernels.
template <class T>
void constructInstances() {
  Impl::forEachType(Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>(), []<class Types>() {
    static_cast<void>(
        Typed::Operator<VolumePtr<T>, VolumePtr<typename Types::In>, VolumePtr<typename Types::Out>, VolumePtr<T>>());
  });
}

// Names the outer class alone.
constexpr char here[] = "NORV::TaviOperators::DLL::AdaptiveMedian::getOperatorTypeFromParameterObject: ";

}  // namespace

AdaptiveMedian::Operator::Operator() {
  Impl::forEachType(Impl::AllVoxelTypes(), []<class T>() { constructInstances<T>(); });
}
AdaptiveMedian::Operator::Operator(const Operator&) = default;
AdaptiveMedian::Operator::~Operator() = default;
AdaptiveMedian::Operator& AdaptiveMedian::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> AdaptiveMedian::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter =
      Impl::castParameter<Typed::Parameter>(composite, here + std::string("invalid parameter object!"));
  const SmartPointer<IVolume> input = parameter->inputVolume.value();
  Impl::requireGiven(input, here + std::string("inputVolume is NULL!"));
  const SmartPointer<IVolume> indices = parameter->inputIndexVolume.value();
  Impl::requireGiven(indices, here + std::string("indexVolume is NULL!"));
  const SmartPointer<Typed::Kernels> kernels = parameter->inputKernelVolume.value();
  Impl::requireGiven(kernels, here + std::string("kernelVector is NULL!"));
  Impl::require(!kernels->empty(), here + std::string("kernelVector is empty!"));
  // An empty pointer has no voxel type; it is what the run calls an invalid kernel.
  Impl::requireGiven(kernels->front(), Typed::namesInFailures.inApply(" invalid kernel volume"));
  return Impl::createByIdentifier(
      Impl::composeIdentifier(names, input->getVoxelType() + " , " + indices->getVoxelType() + " , " +
                                         kernels->front()->getVoxelType() + " , " + input->getVoxelType()));
}

}  // namespace NORV::TaviOperators::DLL
