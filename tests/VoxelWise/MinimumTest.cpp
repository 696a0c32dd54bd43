#include <DLL/Minimum.hpp>
#include <Minimum.hpp>

#include <VoxelWise/PairwiseChoiceTests.hpp>

namespace NORV::Tests {
namespace {

struct Case {
  using Parameter = TaviOperators::Minimum::Parameter;
  using Frame = TaviOperators::DLL::Minimum::Operator;
  static constexpr PairwiseTexts texts{
      .op = "Minimum",
      .parameterType = "NORV::TaviOperators::Minimum::Parameter",
      .uint8Operator =
          "NORV::TaviOperators::Minimum::Operator< "
          "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
          "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > >",
      .wrongClassInFrame =
          "NORV::TaviOperators::DLL::Minimum::Operator::getOperatorTypeFromParameterObject: invalid "
          "parameter object!",
      .volumeMissingInFrame =
          "NORV::TaviOperators::DLL::Minimum::Operator::getOperatorTypeFromParameterObject: "
          "inputVolume or outputVolume is NULL!",
      .differentClasses =
          "NORV::TaviOperators::DLL::Minimum::Operator::getOperatorTypeFromParameterObject: "
          "inputVolumes have different type!",
      .wrongClassInApply = "NORV::TaviOperators::Minimum::Operator::apply",
      .volumeMissingInApply = "NORV::TaviOperators::Minimum::Operator::apply input volume is NULL",
      .differentSizes = "NORV::TaviOperators::Minimum::Operator::apply input volumes have different size",
      .mixedOutput =
          "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
          "NORV::TaviOperators::Minimum::Operator< "
          "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
          "NORV::Tavi::Volume< NORV::int8 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered"};

  /// On a NaN the comparison fails, and the first value stays.
  template <class T>
  static T choose(T first, T second) {
    if (second < first) {
      return second;
    }
    return first;
  }
};

TAVI_PAIRWISE_TESTS(Minimum, Case)

}  // namespace
}  // namespace NORV::Tests
