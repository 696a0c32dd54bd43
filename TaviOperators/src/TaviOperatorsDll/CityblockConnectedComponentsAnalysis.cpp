#include <CityblockConnectedComponentsAnalysis.hpp>
#include <DLL/CityblockConnectedComponentsAnalysis.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Labelling/ConnectedComponents.hpp>

namespace NORV::TaviOperators::CityblockConnectedComponentsAnalysis {
namespace {

struct Traits {
  static constexpr Impl::Names names{"CityblockConnectedComponentsAnalysis"};
  static constexpr Impl::Neighbours neighbours = Impl::Neighbours::faces;

  template <class In>
  static Exceptions::Origin overflow() {
    return {"ConnectedComponentAnalysis::ExecuteLinear",
            "TaviOperators/include/DLL/../CityblockConnectedComponentsAnalysis", 365};
  }
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::ConnectedComponentsOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {
};

}  // namespace
}  // namespace NORV::TaviOperators::CityblockConnectedComponentsAnalysis

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
