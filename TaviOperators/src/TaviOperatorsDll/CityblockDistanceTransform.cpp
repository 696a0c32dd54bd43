#include <CityblockDistanceTransform.hpp>
#include <DLL/CityblockDistanceTransform.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Impl/Frame/VoxelTypeDispatch.hpp>

#include <Distance/DistanceTransform.hpp>

namespace NORV::TaviOperators::CityblockDistanceTransform {
namespace {

struct Traits {
  static constexpr Impl::Names names{"CityblockDistanceTransform"};
  static constexpr const Impl::Names& namesInFailures = names;
  static constexpr Impl::Neighbours neighbours = Impl::Neighbours::faces;

  /// Both volumes are scanned as they are seen.
  struct Scan {
    Scan(const IVolume&, const IVolume&) {}
    void end() {}
  };
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::DistanceOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::CityblockDistanceTransform

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::CityblockDistanceTransform;

using Instances = Impl::Pairs<Impl::AllVoxelTypes, Impl::IntegerVoxelTypes>;

}  // namespace

CityblockDistanceTransform::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
CityblockDistanceTransform::Operator::Operator(const Operator&) = default;
CityblockDistanceTransform::Operator::~Operator() = default;
CityblockDistanceTransform::Operator& CityblockDistanceTransform::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> CityblockDistanceTransform::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createByVoxelTypes<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
