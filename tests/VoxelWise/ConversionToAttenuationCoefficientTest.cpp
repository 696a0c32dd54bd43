#include "Remapping.hpp"

#include <ConversionToAttenuationCoefficient.hpp>
#include <DLL/ConversionToAttenuationCoefficient.hpp>
#include <Impl/Frame/Instances.hpp>

namespace {

using namespace NORV;
using namespace NORV::Tests::ViewCases;
using TaviOperators::ConversionToAttenuationCoefficient::Parameter;
using Frame = TaviOperators::DLL::ConversionToAttenuationCoefficient::Operator;
namespace Impl = TaviOperators::Impl;

template <class Out>
struct Line {
  Out factor, offset;
  void operator()(Parameter& parameter) const {
    parameter.inputFactor.setValue(factor);
    parameter.inputOffset.setValue(offset);
  }
};

template <class In, class Out>
void checkPair() {
  const Line<Out> lines[] = {{Out(3.7), Out(0.21)},
                             {Out(-12345.678), Out(-9.5)},
                             {Out(0), Out(1)},
                             {std::numeric_limits<Out>::denorm_min(), Out(0)}};
  for (const Line<Out>& line : lines) {
    SCOPED_TRACE(line.factor);
    checkIn<Frame, Parameter, In, Out>(&line == std::begin(lines) ? Where::everywhere : Where::dense,
                                       sampleValues<In>(), line, [&](In x) {
                                         const Out quotient = static_cast<Out>(x) / line.factor;
                                         return quotient - line.offset;
                                       });
  }
}

TEST(ConversionToAttenuationCoefficient, DividesAndSubtractsInTheOutputType) {
  checkPair<uint8, float32>();
  checkPair<uint8, float64>();
  checkPair<uint16, float32>();
  checkPair<uint16, float64>();
}

SmartPointer<Parameter> goodParameter() {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<uint8>();
  parameter->outputVolume = smallVolume<float32>();
  Line<float32>{2.f, 1.f}(*parameter);
  return parameter;
}

TEST(ConversionToAttenuationCoefficient, ZeroFactorGivesInfinityOrNaN) {
  const auto parameter = goodParameter();
  const auto input = smallVolume<uint8>(2, 1, 1);
  fillView(input, std::vector<uint8>{0, 1});
  parameter->inputVolume = input;
  parameter->inputFactor.setValue(0.f);
  Frame().apply(parameter);
  const VolumePtr<float32> output(parameter->outputVolume.value());
  EXPECT_TRUE(std::isnan(output->getData()[0]));
  EXPECT_EQ(output->getData()[1], std::numeric_limits<float32>::infinity());
}

TEST(ConversionToAttenuationCoefficient, KeysInOrder) {
  EXPECT_EQ(keysOf<Parameter>(), (std::vector<std::string>{"inputVolume", "inputOffset", "inputFactor", "outputVolume",
                                                           "inputNumberOfThreads"}));
  EXPECT_EQ(Parameter().getType(), "NORV::TaviOperators::ConversionToAttenuationCoefficient::Parameter");
}

TEST(ConversionToAttenuationCoefficient, CountsSlicesAndMakesTheOutput) {
  const Frame frame;
  const auto op = createTyped(identifierOf("ConversionToAttenuationCoefficient", "uint16", "float64"));
  const SmartPointer<Parameter> parameter(new Parameter);
  Line<float64>{2.0, 1.0}(*parameter);
  parameter->inputVolume = smallVolume<uint16>();
  op->apply(parameter);
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  const VolumePtr<float64> made(parameter->outputVolume.value());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->getData()[23], 2.5);
}

TEST(ConversionToAttenuationCoefficientFailure, WrongParameterObject) {
  EXPECT_EQ(parameterFailureOf([] { Frame().apply(smallVolume<uint8>()); }),
            "NORV::TaviOperators::DLL::ConversionToAttenuationCoefficient::Operator::"
            "getOperatorTypeFromParameterObject: invalid parameter object!");
  EXPECT_EQ(parameterFailureOf(
                [] { createTyped(identifierOf("ConversionToAttenuationCoefficient", "uint8", "float32"))->apply({}); }),
            "NORV::TaviOperators::ConversionToAttenuationCoefficient::Operator::apply");
}

TEST(ConversionToAttenuationCoefficientFailure, MissingInput) {
  const auto parameter = goodParameter();
  parameter->inputVolume = SmartPointer<Tavi::IVolume>();
  EXPECT_EQ(parameterFailureOf([&] { Frame().apply(parameter); }),
            "NORV::TaviOperators::DLL::ConversionToAttenuationCoefficient::Operator::"
            "getOperatorTypeFromParameterObject: inputVolume is NULL!");
  EXPECT_EQ(parameterFailureOf([&] {
              createTyped(identifierOf("ConversionToAttenuationCoefficient", "uint8", "float32"))->apply(parameter);
            }),
            "NORV::TaviOperators::ConversionToAttenuationCoefficient::Operator::apply input volume is NULL");
}

TEST(ConversionToAttenuationCoefficientFailure, WithoutAnOutputTheTypeOfTheInputIsWantedWhichHasNoInstance) {
  const auto parameter = goodParameter();
  parameter->outputVolume = SmartPointer<Tavi::IVolume>();
  EXPECT_EQ(failureOf<std::invalid_argument>([&] { Frame().apply(parameter); }),
            "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
            "NORV::TaviOperators::ConversionToAttenuationCoefficient::Operator< NORV::Tavi::Volume< NORV::uint8 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::uint8 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

TEST(ConversionToAttenuationCoefficientFailure, ValuesOfAnotherTypeOrMissing) {
  const auto wrong = goodParameter(), missing = goodParameter();
  wrong->inputFactor.setValue(2.0);
  missing->inputOffset.set({});
  EXPECT_EQ(failureOf<Exceptions::BadCast>([&] { Frame().apply(wrong); }),
            failureOf<Exceptions::BadCast>([&] { wrong->inputFactor.extractValue<float32>(); }));
  EXPECT_NE(failureOf<Exceptions::NULLPointer>([&] { Frame().apply(missing); }).find("_value"), std::string::npos);
}

}  // namespace
