#include <DLL/Maximum.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Maximum.hpp>

#include <VoxelWise/PairwiseChoice.hpp>

namespace NORV::TaviOperators::Maximum {
namespace {

struct Traits {
  static constexpr Impl::Names names{"Maximum"};

  /// On a NaN in either volume the comparison fails, and the first voxel stays.
  template <class T>
  struct Choose {
    T operator()(T first, T second) const { return second > first ? second : first; }
  };
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::PairwiseOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::Maximum

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::Maximum;

Maximum::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::Same<Impl::AllVoxelTypes>>(); }
Maximum::Operator::Operator(const Operator&) = default;
Maximum::Operator::~Operator() = default;
Maximum::Operator& Maximum::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Maximum::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createPairwiseOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
