#include <DLL/ZeroCrossingEdgeDetector.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>
#include <ZeroCrossingEdgeDetector.hpp>

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::ZeroCrossingEdgeDetector;

using Instances = Impl::Pairs<Impl::TypeList<int8, int16, int32, float32, float64>, Impl::TypeList<uint8, uint16>>;

}  // namespace

ZeroCrossingEdgeDetector::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
ZeroCrossingEdgeDetector::Operator::Operator(const Operator&) = default;
ZeroCrossingEdgeDetector::Operator::~Operator() = default;
ZeroCrossingEdgeDetector::Operator& ZeroCrossingEdgeDetector::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> ZeroCrossingEdgeDetector::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createByVoxelTypes<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
