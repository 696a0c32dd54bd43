#include <ChessboardConnectedComponentsAnalysis.hpp>
#include <DLL/ChessboardConnectedComponentsAnalysis.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Labelling/ConnectedComponents.hpp>

#include <type_traits>

namespace NORV::TaviOperators::ChessboardConnectedComponentsAnalysis {
namespace {

struct Traits {
  static constexpr Impl::Names names{"ChessboardConnectedComponentsAnalysis"};
  static constexpr Impl::Neighbours neighbours = Impl::Neighbours::all;

  template <class In>
  static Exceptions::Origin overflow() {
    return {"ConnectedComponentAnalysis::ExecuteLinear",
            std::is_same_v<In, int8> ? "TaviOperators/include/ChessboardConnectedComponentsAnalysis"
                                     : "TaviOperators/include/DLL/../ChessboardConnectedComponentsAnalysis",
            425};
  }
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::ConnectedComponentsOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {
};

}  // namespace
}  // namespace NORV::TaviOperators::ChessboardConnectedComponentsAnalysis

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::ChessboardConnectedComponentsAnalysis;

// Other operators run those of int8 on volumes of marks.
using Instances = Impl::Pairs<Impl::Concat<Impl::UnsignedVoxelTypes, Impl::TypeList<int8>>, Impl::UnsignedVoxelTypes>;

}  // namespace

ChessboardConnectedComponentsAnalysis::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
ChessboardConnectedComponentsAnalysis::Operator::Operator(const Operator&) = default;
ChessboardConnectedComponentsAnalysis::Operator::~Operator() = default;
ChessboardConnectedComponentsAnalysis::Operator& ChessboardConnectedComponentsAnalysis::Operator::operator=(
    const Operator&) = default;

SmartPointer<IOperator> ChessboardConnectedComponentsAnalysis::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createConnectedComponentsOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
