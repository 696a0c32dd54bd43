#include <CityblockConnectedComponentsAnalysis.hpp>
#include <DLL/CityblockConnectedComponentsAnalysis.hpp>
#include <Impl/Frame/Instances.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::CityblockConnectedComponentsAnalysis;

using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;

}  // namespace

CityblockConnectedComponentsAnalysis::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
CityblockConnectedComponentsAnalysis::Operator::Operator(const Operator&) = default;
CityblockConnectedComponentsAnalysis::Operator::~Operator() = default;
CityblockConnectedComponentsAnalysis::Operator& CityblockConnectedComponentsAnalysis::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> CityblockConnectedComponentsAnalysis::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createConnectedComponentsOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
