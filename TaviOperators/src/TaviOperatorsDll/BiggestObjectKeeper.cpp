#include <BiggestObjectKeeper.hpp>
#include <DLL/BiggestObjectKeeper.hpp>
#include <Impl/Frame/Instances.hpp>

#include <Labelling/ObjectSelection.hpp>

namespace NORV::TaviOperators::BiggestObjectKeeper {
namespace {

struct Traits {
  static constexpr Impl::Names names{"BiggestObjectKeeper"};

  static Impl::SizeRule rule(Impl::ObjectSizes& sizes, uint64* protectedSize, uint64) {
    if (protectedSize == nullptr) {
      return {sizes.largest(), true};
    }
    *protectedSize = 0;
    *protectedSize = sizes.largest();
    return {*protectedSize, true};
  }
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class LabelPtr, class OutputPtr>
class Operator final : public Impl::SelectionOperator<Operator<InputPtr, LabelPtr, OutputPtr>, Parameter, Traits,
                                                      InputPtr, LabelPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::BiggestObjectKeeper

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BiggestObjectKeeper;

// Labels of each type on voxels of each type, which the output shares.
using Instances = Impl::Pairs<Impl::UnsignedVoxelTypes, Impl::UnsignedVoxelTypes>;
template <class InputPtr, class LabelPtr>
using Instance = Typed::Operator<InputPtr, LabelPtr, InputPtr>;

}  // namespace

BiggestObjectKeeper::Operator::Operator() { Impl::constructEach<Instance, Instances>(); }
BiggestObjectKeeper::Operator::Operator(const Operator&) = default;
BiggestObjectKeeper::Operator::~Operator() = default;
BiggestObjectKeeper::Operator& BiggestObjectKeeper::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BiggestObjectKeeper::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createSelectionOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
