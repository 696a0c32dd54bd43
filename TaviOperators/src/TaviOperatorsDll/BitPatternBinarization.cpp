#include <BitPatternBinarization.hpp>
#include <DLL/BitPatternBinarization.hpp>
#include <Impl/Frame/Dispatch.hpp>
#include <Impl/Frame/Instances.hpp>

#include <VoxelWise/Binarization.hpp>

namespace NORV::TaviOperators::BitPatternBinarization {
namespace {

constexpr Impl::Names names{"BitPatternBinarization"};

template <class Bits>
struct AllBitsSet {
  using Voxel = Bits;
  Bits pattern;
  bool isForeground(Bits x) const { return (x & pattern) == pattern; }
};

struct Traits {
  static constexpr const Impl::Names& names = BitPatternBinarization::names;
  static constexpr const char* missingInput = " input volume is NULL";

  template <class T>
  static AllBitsSet<Impl::BitsOf<T>> criterion(const Parameter& parameter) {
    return {static_cast<Impl::BitsOf<T>>(parameter.inputBitPattern.template extractValue<T>())};
  }
};

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::BinarizationOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace
}  // namespace NORV::TaviOperators::BitPatternBinarization

namespace NORV::TaviOperators::DLL {
namespace {

namespace Typed = TaviOperators::BitPatternBinarization;
using Typed::names;

using Instances = Impl::Pairs<Impl::IntegerVoxelTypes, Impl::IntegerVoxelTypes>;

}  // namespace

BitPatternBinarization::Operator::Operator() { Impl::constructEach<Typed::Operator, Instances>(); }
BitPatternBinarization::Operator::Operator(const Operator&) = default;
BitPatternBinarization::Operator::~Operator() = default;
BitPatternBinarization::Operator& BitPatternBinarization::Operator::operator=(const Operator&) = default;

SmartPointer<IOperator> BitPatternBinarization::Operator::getOperatorFromParameterObject(
    SmartPointer<IComposite> composite) const {
  return Impl::createForInputAndOutput<Typed::Parameter>(names, composite, optional);
}

}  // namespace NORV::TaviOperators::DLL
