#include <DLL/Minimum.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Minimum.hpp>

#include <VoxelWise/PairwiseChoice.hpp>

namespace NORV::TaviOperators::Minimum {
namespace {

struct Traits {
  static constexpr Impl::Names names{"Minimum"};

  /// On a NaN in either volume the comparison fails, and the first voxel stays.
  template <class T>
  struct Choose {
    T operator()(T first, T second) const { return second < first ? second : first; }
  };
};

constexpr const Impl::Names& names = Traits::names;

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::PairwiseOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::Minimum

namespace NORV::TaviOperators::DLL {

namespace Typed = TaviOperators::Minimum;

Minimum::Operator::Operator() { Impl::constructEach<Typed::Operator, Impl::Same<Impl::AllVoxelTypes>>(); }
Minimum::Operator::Operator(const Operator&) = default;
Minimum::Operator::~Operator() = default;
Minimum::Operator& Minimum::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> Minimum::Operator::getOperatorFromParameterObject(SmartPointer<IComposite> composite) const {
  return Impl::createPairwiseOperator<Typed::Parameter>(Typed::names, composite);
}

}  // namespace NORV::TaviOperators::DLL
