#include "Remapping.hpp"

#include <ConversionFromAttenuationCoefficient.hpp>
#include <ConversionToAttenuationCoefficient.hpp>
#include <DLL/ConversionFromAttenuationCoefficient.hpp>
#include <DLL/ConversionToAttenuationCoefficient.hpp>
#include <Impl/Frame/Instances.hpp>

namespace {

using namespace NORV;
using namespace NORV::Tests::ViewCases;
using TaviOperators::ConversionFromAttenuationCoefficient::Parameter;
using Frame = TaviOperators::DLL::ConversionFromAttenuationCoefficient::Operator;
namespace Impl = TaviOperators::Impl;

template <class In, class Out>
struct Ranges {
  In c1, c2;
  Out s1, s2;

  void operator()(Parameter& parameter) const {
    parameter.inputMinimumCoefficient.setValue(c1);
    parameter.inputMaximumCoefficient.setValue(c2);
    parameter.inputMinimumScaledValue.setValue(s1);
    parameter.inputMaximumScaledValue.setValue(s2);
  }
  double factor() const { return (double(s2) - double(s1)) / (double(c2) - double(c1)); }
  double offset() const { return double(s1) / factor() - double(c1); }

  Out expected(In x) const {
    if (x < c1) {
      return s1;
    }
    if (x > c2) {
      return s2;
    }
    const double product = (double(x) + offset()) * factor();
    const double v = std::floor(product + 0.5);
    if (std::isnan(v)) {
      return s1;
    }
    const double limit = std::numeric_limits<Out>::max();
    return static_cast<Out>(v < 0 ? 0 : v > limit ? limit : v);
  }
};

template <class In, class Out>
void checkPair() {
  const Out top = std::numeric_limits<Out>::max();
  const Ranges<In, Out> all[] = {{In(-0.1), In(0.9), 0, top},  {In(0.02), In(0.31), 10, 200},
                                 {In(-5), In(5), 200, 10},     {In(1), In(1), 3, 9},
                                 {In(1), In(1), 9, 9},         {In(3), In(2), 0, top},
                                 {In(0), In(1), 7, 7},         {In(1e20), In(1.0000001e20), 0, top},
                                 {In(-3e38), In(3e38), 0, top}};
  for (const Ranges<In, Out>& r : all) {
    SCOPED_TRACE(std::to_string(r.c1) + ".." + std::to_string(r.c2));
    checkIn<Frame, Parameter, In, Out>(&r == std::begin(all) ? Where::everywhere : Where::dense,
                                       sampleValues<In>(std::min(r.c1, r.c2), std::max(r.c1, r.c2)), r,
                                       [&](In x) { return r.expected(x); });
  }
}

TEST(ConversionFromAttenuationCoefficient, ScalesFloat32) {
  checkPair<float32, uint8>();
  checkPair<float32, uint16>();
}
TEST(ConversionFromAttenuationCoefficient, ScalesFloat64) {
  checkPair<float64, uint8>();
  checkPair<float64, uint16>();
}

template <class In, class Out>
SmartPointer<Parameter> parameterFor(const Ranges<In, Out>& r) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<In>();
  parameter->outputVolume = smallVolume<Out>();
  r(*parameter);
  return parameter;
}

TEST(ConversionFromAttenuationCoefficient, PutsOutFactorAndOffsetOfTheFormula) {
  const auto wide = parameterFor<float64, uint16>({0.25, 1.25, 100, 60100});
  Frame().apply(wide);
  EXPECT_EQ(wide->outputFactor.extractValue<float64>(), 60000.0);
  EXPECT_EQ(wide->outputOffset.extractValue<float64>(), 100.0 / 60000.0 - 0.25);
  const auto narrow = parameterFor<float32, uint8>({0.5f, 1.25f, 10, 250});
  Frame().apply(narrow);
  EXPECT_EQ(narrow->outputFactor.extractValue<float32>(), 320.f);
  EXPECT_EQ(narrow->outputOffset.extractValue<float32>(), static_cast<float32>(10.0 / 320.0 - 0.5));
}

TEST(ConversionFromAttenuationCoefficient, TheInverseConversionTakesFactorAndOffset) {
  const auto there = parameterFor<float32, uint16>({-0.5f, 1.5f, 0, 65535});
  const auto coefficients = smallVolume<float32>(101, 1, 1);
  std::vector<float32> values;
  for (int i = 0; i < 101; ++i) {
    values.push_back(-0.5f + 0.02f * static_cast<float32>(i));
  }
  fillView(coefficients, values);
  there->inputVolume = coefficients;
  Frame().apply(there);

  const SmartPointer<TaviOperators::ConversionToAttenuationCoefficient::Parameter> back(
      new TaviOperators::ConversionToAttenuationCoefficient::Parameter);
  const auto result = smallVolume<float32>();
  back->inputVolume = there->outputVolume.value();
  back->setValue("inputFactor", there->getValue("outputFactor"));
  back->setValue("inputOffset", there->getValue("outputOffset"));
  back->outputVolume = result;
  TaviOperators::DLL::ConversionToAttenuationCoefficient::Operator().apply(back);
  for (SizeType i = 0; i < values.size(); ++i) {
    EXPECT_NEAR(result->getData()[i], values[i], 1.01 / 65535);
  }
}

TEST(ConversionFromAttenuationCoefficient, NaNTakesTheMinimumScaledValue) {
  const auto parameter = parameterFor<float64, uint8>({0.0, 1.0, 12, 200});
  const auto input = smallVolume<float64>(1, 1, 1);
  fillView(input, {std::numeric_limits<float64>::quiet_NaN()});
  parameter->inputVolume = input;
  Frame().apply(parameter);
  EXPECT_EQ(VolumePtr<uint8>(parameter->outputVolume.value())->getData()[0], 12);
}

TEST(ConversionFromAttenuationCoefficient, KeysInOrder) {
  EXPECT_EQ(keysOf<Parameter>(),
            (std::vector<std::string>{"inputVolume", "inputMinimumCoefficient", "inputMaximumCoefficient",
                                      "inputMinimumScaledValue", "inputMaximumScaledValue", "inputNumberOfThreads",
                                      "outputFactor", "outputOffset", "outputVolume"}));
  EXPECT_EQ(Parameter().getType(), "NORV::TaviOperators::ConversionFromAttenuationCoefficient::Parameter");
}

TEST(ConversionFromAttenuationCoefficient, CountsSlicesAndMakesTheOutput) {
  const Frame frame;
  const auto op = createTyped(identifierOf("ConversionFromAttenuationCoefficient", "float32", "uint8"));
  const auto parameter = parameterFor<float32, uint8>({0.f, 14.f, 0, 200});
  parameter->outputVolume = SmartPointer<Tavi::IVolume>();
  op->apply(parameter);
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  const VolumePtr<uint8> made(parameter->outputVolume.value());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->getData()[23], 100);
}

TEST(ConversionFromAttenuationCoefficientFailure, WrongParameterObject) {
  EXPECT_EQ(parameterFailureOf([] { Frame().apply(smallVolume<uint8>()); }),
            "NORV::TaviOperators::DLL::ConversionFromAttenuationCoefficient::Operator::"
            "getOperatorTypeFromParameterObject: invalid parameter object!");
  EXPECT_EQ(parameterFailureOf([] {
              createTyped(identifierOf("ConversionFromAttenuationCoefficient", "float32", "uint8"))->apply({});
            }),
            "NORV::TaviOperators::ConversionFromAttenuationCoefficient::Operator::apply");
}

TEST(ConversionFromAttenuationCoefficientFailure, MissingVolumes) {
  const auto noInput = parameterFor<float32, uint8>({0.f, 1.f, 0, 9}),
             noOutput = parameterFor<float32, uint8>({0.f, 1.f, 0, 9});
  noInput->inputVolume = SmartPointer<Tavi::IVolume>();
  noOutput->outputVolume = SmartPointer<Tavi::IVolume>();
  EXPECT_EQ(parameterFailureOf([&] { Frame().apply(noInput); }),
            "NORV::TaviOperators::DLL::ConversionFromAttenuationCoefficient::Operator::"
            "getOperatorTypeFromParameterObject: inputVolume is NULL!");
  EXPECT_EQ(parameterFailureOf([&] { Frame().apply(noOutput); }),
            "NORV::TaviOperators::DLL::ConversionFromAttenuationCoefficient::Operator::"
            "getOperatorTypeFromParameterObject: outputVolume is NULL!");
  EXPECT_EQ(parameterFailureOf([&] {
              createTyped(identifierOf("ConversionFromAttenuationCoefficient", "float32", "uint8"))->apply(noInput);
            }),
            "NORV::TaviOperators::ConversionFromAttenuationCoefficient::Operator::apply inputVolume is NULL");
}

TEST(ConversionFromAttenuationCoefficientFailure, ValuesOfAnotherTypeOrMissing) {
  const auto wrong = parameterFor<float32, uint8>({0.f, 1.f, 0, 9}),
             missing = parameterFor<float32, uint8>({0.f, 1.f, 0, 9});
  wrong->inputMinimumCoefficient.setValue(2.0);
  missing->inputMaximumScaledValue.set({});
  EXPECT_EQ(failureOf<Exceptions::BadCast>([&] { Frame().apply(wrong); }),
            failureOf<Exceptions::BadCast>([&] { wrong->inputMinimumCoefficient.extractValue<float32>(); }));
  EXPECT_NE(failureOf<Exceptions::NULLPointer>([&] { Frame().apply(missing); }).find("_value"), std::string::npos);
}

}  // namespace
