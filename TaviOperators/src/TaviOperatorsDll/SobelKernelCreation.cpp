#include <DLL/SobelKernelCreation.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <SobelKernelCreation.hpp>

#include <string>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::SobelKernelCreation;

using Typed::names;
using Instances = Impl::TypeList<int8, int16, int32, float32, float64>;

}  // namespace

SobelKernelCreation::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
SobelKernelCreation::Operator::Operator(const Operator&) = default;
SobelKernelCreation::Operator::~Operator() = default;
SobelKernelCreation::Operator& SobelKernelCreation::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SobelKernelCreation::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  const auto parameter = Impl::castParameter<Typed::Parameter>(composite, names.inFrame("invalid parameter object!"));
  std::string voxelType;
  for (const Typed::Kernel& kernel : Typed::kernels) {
    const SmartPointer<IVolume> volume = (*parameter.*kernel.volume).value();
    if (volume != nullptr) {
      voxelType = volume->getVoxelType();
      break;
    }
  }
  return Impl::createByIdentifier(Impl::composeIdentifier(names, voxelType));
}

}  // namespace NORV::TaviOperators::DLL
