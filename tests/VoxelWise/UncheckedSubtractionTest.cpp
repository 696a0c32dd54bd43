#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Tavi/Subtraction.hpp>

namespace NORV::Tests {
namespace {

using Parameter = Tavi::ArithmeticOperators::Subtraction::UncheckedSubtraction::Parameter;

const std::string name = "NORV::Tavi::ArithmeticOperators::Subtraction::UncheckedSubtraction::Parameter";

TEST(UncheckedSubtraction, TheParameterClassIsRegisteredAndNoOperator) {
  const SmartPointer<IComposite> parameter = Tavi::Factory::getClassFactory().createInstance(name);
  EXPECT_EQ(parameter->getType(), name);
  EXPECT_TRUE(SmartPointer<Parameter>(parameter) != nullptr);
  EXPECT_EQ(countRegistered("NORV::Tavi::ArithmeticOperators::"), 1u);
}

TEST(UncheckedSubtraction, KeysStandInTheirOrderAndHoldVolumes) {
  const SmartPointer<IComposite> parameter = Tavi::Factory::getClassFactory().createInstance(name);
  ASSERT_EQ(parameter->getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter->getKey(0), "inputFirstVolume");
  EXPECT_EQ(parameter->getKey(1), "inputSecondVolume");
  EXPECT_EQ(parameter->getKey(2), "outputVolume");
  for (SizeType key = 0; key < 3; ++key) {
    EXPECT_TRUE(parameter->getValue(parameter->getKey(key)) == nullptr);
    const TestVolume<int32> volume({1, 2, 3});
    parameter->setValue(parameter->getKey(key), SmartPointer<IComposite>(volume.volume()));
    EXPECT_TRUE(SmartPointer<IVolume>(parameter->getValue(parameter->getKey(key))) == volume.volume());
  }
}

}  // namespace
}  // namespace NORV::Tests
