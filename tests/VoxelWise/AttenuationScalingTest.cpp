#include "Remapping.hpp"

#include <AttenuationScaling.hpp>
#include <DLL/AttenuationScaling.hpp>
#include <Impl/Frame/Instances.hpp>

namespace {

using namespace NORV;
using namespace NORV::Tests::ViewCases;
using TaviOperators::AttenuationScaling::Parameter;
using Frame = TaviOperators::DLL::AttenuationScaling::Operator;
namespace Impl = TaviOperators::Impl;

template <class Out>
using RealFor = std::conditional_t<std::is_same_v<Out, float64>, double, float>;

template <class Out>
struct Settings {
  using Real = RealFor<Out>;
  Real minA, maxA;
  Out minG, maxG;
  Real offset, factor;

  void operator()(Parameter& parameter) const {
    parameter.inputMinimumAttenuationValue.setValue(minA);
    parameter.inputMaximumAttenuationValue.setValue(maxA);
    parameter.inputMinimumOutputGreyValue.setValue(minG);
    parameter.inputMaximumOutputGreyValue.setValue(maxG);
    parameter.inputOffset.setValue(offset);
    parameter.inputFactor.setValue(factor);
  }

  template <class In>
  Out expected(In x) const {
    const Real quotient = Real(x) / factor;
    const Real a = quotient - offset;
    if (minA > a) {
      return minG;
    }
    if (a >= maxA) {
      return maxG;
    }
    const Real scale = (maxA - minA) / (Real(maxG) - Real(minG));
    const Real v = std::floor((a - minA) / scale - Real(minG) + Real(0.5));
    if constexpr (std::is_floating_point_v<Out>) {
      return v;
    } else if constexpr (sizeof(Out) < 4) {
      return std::abs(v) < Real(2147483648.0) ? static_cast<Out>(static_cast<int32>(v)) : Out(0);
    } else {
      return std::abs(v) < Real(9.2e18) ? static_cast<Out>(static_cast<int64>(v)) : Out(0);
    }
  }
};

template <class In, class Out>
void checkPair() {
  using Real = RealFor<Out>;
  const Out top = std::is_integral_v<Out> ? std::numeric_limits<Out>::max() : Out(1e6);
  const Real full = std::numeric_limits<In>::max();
  const Settings<Out> all[] = {
      {Real(0.1), Real(0.7), Out(0), Out(250), Real(0.05), full},
      {Real(0), Real(1), Out(0), top, Real(0), full},
      {Real(0), Real(1), Out(10), Out(200), Real(0), full},
      {Real(-3), Real(40), Out(0), Out(99), Real(3), Real(5.5)},
      {Real(2), Real(2), Out(1), Out(200), Real(0), Real(10)},
      {Real(0), Real(9), Out(50), Out(50), Real(0), Real(10)},
      {Real(0), Real(9), Out(5), Out(50), Real(0), Real(0)},
      {Real(-90), Real(0), Out(5), Out(50), Real(0), Real(-2.5)},
      {-std::numeric_limits<Real>::max(), std::numeric_limits<Real>::max(), Out(0), Out(9), Real(0), Real(1)}};
  for (const Settings<Out>& s : all) {
    SCOPED_TRACE(std::to_string(s.minA) + ".." + std::to_string(s.maxA) + " to " + std::to_string(s.minG));
    checkIn<Frame, Parameter, In, Out>(&s == std::begin(all) ? Where::everywhere : Where::dense, sampleValues<In>(), s,
                                       [&](In x) { return s.expected(x); });
  }
}

TEST(AttenuationScaling, GivesTheRuleFromUint8) {
  Impl::forEachType(Impl::TypeList<uint8, uint16, uint32, float32, float64>(),
                    []<class Out>() { checkPair<uint8, Out>(); });
}
TEST(AttenuationScaling, GivesTheRuleFromUint16) {
  Impl::forEachType(Impl::TypeList<uint8, uint16, uint32, float32, float64>(),
                    []<class Out>() { checkPair<uint16, Out>(); });
}

template <class Out>
SmartPointer<Parameter> parameterFor(const Settings<Out>& settings, uint8 voxel) {
  const SmartPointer<Parameter> parameter(new Parameter);
  const auto input = smallVolume<uint8>();
  fillView(input, {voxel});
  parameter->inputVolume = input;
  parameter->outputVolume = smallVolume<Out>();
  settings(*parameter);
  return parameter;
}
template <class Out>
Out scaled(const Settings<Out>& settings, uint8 voxel) {
  const auto parameter = parameterFor(settings, voxel);
  Frame().apply(parameter);
  return VolumePtr<Out>(parameter->outputVolume.value())->getData()[0];
}

TEST(AttenuationScaling, SubtractsTheMinimumGreyValueInsideTheWindow) {
  // Attenuation 50 of 0..100, grey values 10..110: 50 / 1 - 10, not + 10.
  EXPECT_EQ(scaled<uint8>({0.f, 100.f, 10, 110, 0.f, 1.f}, 50), 40);
  EXPECT_EQ(scaled<float64>({0.0, 100.0, 10.0, 110.0, 0.0, 1.0}, 50), 40.0);
  EXPECT_EQ(scaled<uint8>({0.f, 100.f, 10, 110, 0.f, 1.f}, 100), 110);
  EXPECT_EQ(scaled<uint8>({1.f, 100.f, 10, 110, 0.f, 1.f}, 0), 10);
}
TEST(AttenuationScaling, ANegativeResultKeepsItsLowBitsInAnIntegerOutput) {
  EXPECT_EQ(scaled<uint8>({0.f, 100.f, 10, 110, 0.f, 1.f}, 4), 250);
  EXPECT_EQ(scaled<uint16>({0.f, 100.f, 10, 110, 0.f, 1.f}, 4), 65530);
  EXPECT_EQ(scaled<uint32>({0.f, 100.f, 10, 110, 0.f, 1.f}, 4), 4294967290u);
  EXPECT_EQ(scaled<float32>({0.f, 100.f, 10.f, 110.f, 0.f, 1.f}, 4), -6.f);
}
TEST(AttenuationScaling, ZeroFactorGivesTheMaximumAndOfZeroNothing) {
  EXPECT_EQ(scaled<uint8>({0.f, 100.f, 10, 110, 0.f, 0.f}, 4), 110);
  EXPECT_EQ(scaled<uint8>({0.f, 100.f, 10, 110, 0.f, 0.f}, 0), 0);
  EXPECT_TRUE(std::isnan(scaled<float32>({0.f, 100.f, 10.f, 110.f, 0.f, 0.f}, 0)));
}
TEST(AttenuationScaling, WithoutAnOutputItIsMadeLikeTheInput) {
  const auto parameter = parameterFor<uint8>({0.f, 100.f, 0, 100, 0.f, 1.f}, 30);
  parameter->outputVolume = SmartPointer<Tavi::IVolume>();
  Frame().apply(parameter);
  const VolumePtr<uint8> made(parameter->outputVolume.value());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->getData()[23], 30);
}

TEST(AttenuationScaling, KeysInOrder) {
  EXPECT_EQ(keysOf<Parameter>(),
            (std::vector<std::string>{"inputVolume", "inputMinimumAttenuationValue", "inputMaximumAttenuationValue",
                                      "inputMinimumOutputGreyValue", "inputMaximumOutputGreyValue", "inputOffset",
                                      "inputFactor", "outputVolume", "inputNumberOfThreads"}));
  EXPECT_EQ(Parameter().getType(), "NORV::TaviOperators::AttenuationScaling::Parameter");
}

TEST(AttenuationScaling, CountsSlices) {
  const Frame frame;
  for (const char* out : {"uint8", "uint16"}) {
    const auto op = createTyped(identifierOf("AttenuationScaling", "uint8", out));
    const auto parameter = std::string(out) == "uint8" ? parameterFor<uint8>({0.f, 100.f, 0, 100, 0.f, 1.f}, 30)
                                                       : parameterFor<uint16>({0.f, 100.f, 0, 100, 0.f, 1.f}, 30);
    op->apply(parameter);
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  }
}

TEST(AttenuationScalingFailure, LimitsInTheWrongOrder) {
  const char* origin = "NORV::TaviOperators::AttenuationScaling::Operator::apply";
  const auto attenuation = parameterFor<uint8>({2.f, 1.f, 200, 100, 0.f, 1.f}, 0);
  const auto grey = parameterFor<uint8>({1.f, 2.f, 200, 100, 0.f, 1.f}, 0);
  attenuation->outputVolume = smallVolume<uint8>(1, 1, 1);
  for (const auto& [parameter, text] :
       {std::pair(attenuation, "Max attenuation value is samller than min attenuation value!"),
        std::pair(grey, "Max grey value is samller than min grey value!")}) {
    try {
      Frame().apply(parameter);
      ADD_FAILURE() << "nothing was thrown";
    } catch (const Exceptions::InvalidArg& failure) {
      EXPECT_STREQ(failure.getErrorMessage(), text);
      EXPECT_STREQ(failure.getOrigin(), origin);
    }
  }
  EXPECT_EQ(attenuation->outputVolume.value()->getSize(), 1u);
}

TEST(AttenuationScalingFailure, WrongParameterObject) {
  EXPECT_EQ(parameterFailureOf([] { Frame().apply(smallVolume<uint8>()); }),
            "NORV::TaviOperators::DLL::AttenuationScaling::Operator::getOperatorTypeFromParameterObject: invalid "
            "parameter object!");
  EXPECT_EQ(parameterFailureOf([] { createTyped(identifierOf("AttenuationScaling", "uint8", "uint8"))->apply({}); }),
            "NORV::TaviOperators::AttenuationScaling::Operator::apply");
}

TEST(AttenuationScalingFailure, MissingInput) {
  const auto parameter = parameterFor<uint8>({0.f, 100.f, 0, 100, 0.f, 1.f}, 30);
  parameter->inputVolume = SmartPointer<Tavi::IVolume>();
  EXPECT_EQ(parameterFailureOf([&] { Frame().apply(parameter); }),
            "NORV::TaviOperators::DLL::AttenuationScaling::Operator::getOperatorTypeFromParameterObject: inputVolume "
            "is NULL!");
  EXPECT_EQ(
      parameterFailureOf([&] { createTyped(identifierOf("AttenuationScaling", "uint8", "uint8"))->apply(parameter); }),
      "NORV::TaviOperators::AttenuationScaling::Operator::apply the input volume is NULL");
}

TEST(AttenuationScalingFailure, ValuesOfAnotherTypeOrMissing) {
  const auto wrong = parameterFor<float64>({0.0, 100.0, 0.0, 100.0, 0.0, 1.0}, 30);
  const auto missing = parameterFor<uint8>({0.f, 100.f, 0, 100, 0.f, 1.f}, 30);
  wrong->inputFactor.setValue(1.f);
  missing->inputOffset.set({});
  EXPECT_EQ(failureOf<Exceptions::BadCast>([&] { Frame().apply(wrong); }),
            failureOf<Exceptions::BadCast>([&] { wrong->inputFactor.extractValue<float64>(); }));
  EXPECT_NE(failureOf<Exceptions::NULLPointer>([&] { Frame().apply(missing); }).find("_value"), std::string::npos);
}

}  // namespace
