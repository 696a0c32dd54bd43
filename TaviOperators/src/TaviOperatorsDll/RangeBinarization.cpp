#include <DLL/RangeBinarization.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>
#include <RangeBinarization.hpp>

#include <VoxelWise/Binarization.hpp>

namespace NORV::TaviOperators::RangeBinarization {
namespace {

constexpr Impl::Names names{"RangeBinarization"};

template <class T>
struct Range {
  using Voxel = T;
  T minimum, maximum;
  // Both tests are always made, so that no branch stands in the way of vector code.
  bool isForeground(T x) const { return !((minimum > x) | (x > maximum)); }
};

struct Traits {
  static constexpr const Impl::Names& names = RangeBinarization::names;
  static constexpr const char* missingInput = " the input volume is NULL";

  template <class T>
  static Range<T> criterion(const Parameter& parameter) {
    const T minimum = parameter.inputMinimumThreshold.template extractValue<T>();
    const T maximum = parameter.inputMaximumThreshold.template extractValue<T>();
    return {minimum, maximum};
  }
};

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::BinarizationOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::RangeBinarization

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::RangeBinarization;
using Typed::names;

using Instances =
    Impl::Pairs<Impl::TypeList<int8, uint8, int16, uint16, uint32, float32, float64>, Impl::UnsignedVoxelTypes>;

}  // namespace

RangeBinarization::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
RangeBinarization::Operator::Operator(const Operator&) = default;
RangeBinarization::Operator::~Operator() = default;
RangeBinarization::Operator& RangeBinarization::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> RangeBinarization::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, required);
}

}  // namespace NORV::TaviOperators::DLL
