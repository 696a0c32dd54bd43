#include <DLL/Maximum.hpp>
#include <Maximum.hpp>

#include <VoxelWise/PairwiseChoiceTests.hpp>

namespace NORV::Tests {
namespace {

struct Case {
  using Parameter = TaviOperators::Maximum::Parameter;
  using Frame = TaviOperators::DLL::Maximum::Operator;
  static constexpr PairwiseTexts texts{
      .op = "Maximum",
      .parameterType = "NORV::TaviOperators::Maximum::Parameter",
      .uint8Operator =
          "NORV::TaviOperators::Maximum::Operator< "
          "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
          "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > >",
      .wrongClassInFrame =
          "NORV::TaviOperators::DLL::Maximum::Operator::getOperatorTypeFromParameterObject: invalid "
          "parameter object!",
      .volumeMissingInFrame =
          "NORV::TaviOperators::DLL::Maximum::Operator::getOperatorTypeFromParameterObject: "
          "inputVolume or outputVolume is NULL!",
      .differentClasses =
          "NORV::TaviOperators::DLL::Maximum::Operator::getOperatorTypeFromParameterObject: "
          "inputVolumes have different type!",
      .wrongClassInApply = "NORV::TaviOperators::Maximum::Operator::apply",
      .volumeMissingInApply = "NORV::TaviOperators::Maximum::Operator::apply input volume is NULL",
      .differentSizes = "NORV::TaviOperators::Maximum::Operator::apply input volumes have different size",
      .mixedOutput =
          "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
          "NORV::TaviOperators::Maximum::Operator< "
          "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
          "NORV::Tavi::Volume< NORV::int8 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered"};

  /// On a NaN the comparison fails, and the first value stays.
  template <class T>
  static T choose(T first, T second) {
    if (second > first) {
      return second;
    }
    return first;
  }
};

TAVI_PAIRWISE_TESTS(Maximum, Case)

}  // namespace
}  // namespace NORV::Tests
