#include <BiggestObjectRemover.hpp>
#include <DLL/BiggestObjectRemover.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Labelling/ObjectSelection.hpp>

namespace NORV::TaviOperators::BiggestObjectRemover {
namespace {

struct Traits {
  static constexpr Impl::Names names{"BiggestObjectRemover"};

  static Impl::SizeRule rule(Impl::ObjectSizes& sizes, uint64* protectedSize, uint64) {
    if (protectedSize != nullptr) {
      *protectedSize = 0;
    }
    return {sizes.largest(), false};
  }
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class LabelPtr, class OutputPtr>
class Operator final : public Impl::SelectionOperator<Operator<InputPtr, LabelPtr, OutputPtr>, Parameter, Traits,
                                                      InputPtr, LabelPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::BiggestObjectRemover

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BiggestObjectRemover;

// Labels of each type on voxels of each type, which the output shares.
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;
template <class InputPtr, class LabelPtr>
using Instance = Typed::Operator<InputPtr, LabelPtr, InputPtr>;

}  // namespace

BiggestObjectRemover::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
BiggestObjectRemover::Operator::Operator(const Operator&) = default;
BiggestObjectRemover::Operator::~Operator() = default;
BiggestObjectRemover::Operator& BiggestObjectRemover::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BiggestObjectRemover::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
