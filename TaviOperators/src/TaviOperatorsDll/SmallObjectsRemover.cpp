#include <DLL/SmallObjectsRemover.hpp>
#include <Impl/Frame/Instances.hpp>
#include <SmallObjectsRemover.hpp>

#include <Labelling/ObjectSelection.hpp>

namespace NORV::TaviOperators::SmallObjectsRemover {
namespace {

struct Traits {
  static constexpr Impl::Names names{"SmallObjectsRemover"};

  static Impl::SizeRule rule(Impl::ObjectSizes&, uint64* protectedSize, uint64 threshold) {
    if (protectedSize != nullptr) {
      *protectedSize = threshold;
    }
    return {threshold, true};
  }
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class LabelPtr, class OutputPtr>
class Operator final : public Impl::SelectionOperator<Operator<InputPtr, LabelPtr, OutputPtr>, Parameter, Traits,
                                                      InputPtr, LabelPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::SmallObjectsRemover

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::SmallObjectsRemover;

// Labels of each type on voxels of each type, which the output shares.
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;
template <class InputPtr, class LabelPtr>
using Instance = Typed::Operator<InputPtr, LabelPtr, InputPtr>;

}  // namespace

SmallObjectsRemover::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
SmallObjectsRemover::Operator::Operator(const Operator&) = default;
SmallObjectsRemover::Operator::~Operator() = default;
SmallObjectsRemover::Operator& SmallObjectsRemover::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> SmallObjectsRemover::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
