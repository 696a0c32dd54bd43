#include <BigObjectsRemover.hpp>
#include <DLL/BigObjectsRemover.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Labelling/ObjectSelection.hpp>

#include <limits>

namespace NORV::TaviOperators::BigObjectsRemover {
namespace {

struct Traits {
  static constexpr Impl::Names names{"BigObjectsRemover"};

  /// No size exceeds the largest number.
  static Impl::SizeRule rule(Impl::ObjectSizes&, uint64* protectedSize, uint64 threshold) {
    if (protectedSize != nullptr) {
      *protectedSize = 0;
    }
    return threshold == std::numeric_limits<uint64>::max() ? Impl::SizeRule{0, true}
                                                           : Impl::SizeRule{threshold + 1, false};
  }
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class LabelPtr, class OutputPtr>
class Operator final : public Impl::SelectionOperator<Operator<InputPtr, LabelPtr, OutputPtr>, Parameter, Traits,
                                                      InputPtr, LabelPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::BigObjectsRemover

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BigObjectsRemover;

// Labels of each type on voxels of each type, which the output shares.
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;
template <class InputPtr, class LabelPtr>
using Instance = Typed::Operator<InputPtr, LabelPtr, InputPtr>;

}  // namespace

BigObjectsRemover::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
BigObjectsRemover::Operator::Operator(const Operator&) = default;
BigObjectsRemover::Operator::~Operator() = default;
BigObjectsRemover::Operator& BigObjectsRemover::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BigObjectsRemover::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
