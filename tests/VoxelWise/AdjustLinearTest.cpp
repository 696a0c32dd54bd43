#include "Remapping.hpp"

#include <AdjustLinear.hpp>
#include <DLL/AdjustLinear.hpp>
#include <Impl/Frame/Instances.hpp>

#include <VoxelWise/Stretch.hpp>

namespace {

using namespace NORV;
using namespace NORV::Tests::ViewCases;
using TaviOperators::AdjustLinear::Parameter;
using Frame = TaviOperators::DLL::AdjustLinear::Operator;
namespace Impl = TaviOperators::Impl;

template <class In, class Out>
struct Ranges {
  In o1, o2;
  Out r1, r2;

  void operator()(Parameter& parameter) const {
    parameter.inputOriginalMinimumValue.setValue(o1);
    parameter.inputOriginalMaximumValue.setValue(o2);
    parameter.inputResultMinimumValue.setValue(r1);
    parameter.inputResultMaximumValue.setValue(r2);
  }

  Out expected(In x) const {
    if (x <= o1) {
      return r1;
    }
    if (x >= o2) {
      return r2;
    }
    if constexpr (std::is_integral_v<In> && sizeof(In) <= 2) {
      return between<float>(x);
    } else {
      return between<double>(x);
    }
  }

  template <class Real>
  Out between(In x) const {
    const Real slope = o1 == o2 ? Real(0) : (Real(r2) - Real(r1)) / (Real(o2) - Real(o1));
    const Real product = (Real(x) - Real(o1)) * slope;
    const Real f = product + Real(r1);
    if (std::isnan(f)) {
      return std::is_floating_point_v<Out> ? static_cast<Out>(f) : Out(0);
    }
    if (f > Real(std::numeric_limits<Out>::max())) {
      return std::numeric_limits<Out>::max();
    }
    if (f < Real(std::numeric_limits<Out>::lowest())) {
      return std::numeric_limits<Out>::lowest();
    }
    return static_cast<Out>(std::is_floating_point_v<Out> ? f : std::floor(f + Real(0.5)));
  }
};

template <class In, class Out>
std::vector<Ranges<In, Out>> ranges() {
  using I = std::numeric_limits<In>;
  using O = std::numeric_limits<Out>;
  std::vector<Ranges<In, Out>> all{{In(10), In(101), Out(3), Out(90)},
                                   {I::lowest(), I::max(), O::lowest(), O::max()},
                                   {In(7), In(7), Out(20), Out(100)},
                                   {In(3), In(120), Out(66), Out(66)},
                                   {In(50), In(51), O::lowest(), O::max()}};
  if constexpr (std::is_signed_v<In>) {
    all.push_back({In(-90), In(33), Out(1), Out(127)});
  }
  if constexpr (std::is_signed_v<Out>) {
    all.push_back({In(2), In(122), Out(-100), Out(-3)});
  }
  if constexpr (std::is_floating_point_v<In>) {
    all.push_back({In(-0.3), In(0.7), Out(2), Out(100)});
    all.push_back({-I::infinity(), In(1), Out(2), Out(9)});
    all.push_back({In(1), I::infinity(), Out(2), Out(9)});
    all.push_back({I::quiet_NaN(), In(5), Out(2), Out(9)});
  }
  if constexpr (std::is_floating_point_v<Out>) {
    all.push_back({In(0), In(1), -O::infinity(), Out(3)});
    all.push_back({In(1), In(3), Out(1) / Out(3), Out(2) / Out(3)});
  }
  if constexpr (sizeof(In) == 2) {
    all.push_back({In(100), In(30000), Out(0), O::max()});
  }
  return all;
}

template <class In, class Out>
void checkPair() {
  bool everywhere = true;
  for (const Ranges<In, Out>& r : ranges<In, Out>()) {
    SCOPED_TRACE(std::to_string(r.o1) + ".." + std::to_string(r.o2) + " to " + std::to_string(r.r1) + ".." +
                 std::to_string(r.r2));
    const bool finite = std::isfinite(static_cast<double>(r.o1)) && std::isfinite(static_cast<double>(r.o2));
    const auto values = finite ? sampleValues<In>(r.o1, r.o2) : sampleValues<In>();
    const auto rule = [&](In x) { return r.expected(x); };
    checkIn<Frame, Parameter, In, Out>(everywhere ? Where::everywhere : Where::dense, values, r, rule);
    everywhere = false;
  }
}

TEST(AdjustLinear, GivesTheRuleOfTheIntegerInstancesOverTheirRange) {
  Impl::forEachType(Impl::IntegerVoxelTypes(), []<class T>() { checkPair<T, T>(); });
}
TEST(AdjustLinear, GivesTheRuleOfTheFloatInstances) {
  Impl::forEachType(Impl::FloatVoxelTypes(), []<class T>() { checkPair<T, T>(); });
}
TEST(AdjustLinear, GivesTheRuleOfEveryOtherTypeToUint8) {
  Impl::forEachType(Impl::TypeList<int8, int16, uint16, int32, uint32, float32, float64>(),
                    []<class T>() { checkPair<T, uint8>(); });
}
TEST(AdjustLinear, GivesTheRuleOfEveryOtherTypeToUint16) {
  Impl::forEachType(Impl::TypeList<int8, uint8, int16, int32, uint32, float32, float64>(),
                    []<class T>() { checkPair<T, uint16>(); });
}

/// The outputs for the inputs, in order, in a volume of one row.
template <class In, class Out>
std::vector<Out> adjusted(const std::vector<In>& voxels, const Ranges<In, Out>& r) {
  const auto input = smallVolume<In>(voxels.size(), 1, 1);
  fillView(input, voxels);
  const auto output = smallVolume<Out>();
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  r(*parameter);
  Frame().apply(parameter);
  return std::vector<Out>(output->getData(), output->getData() + voxels.size());
}

TEST(AdjustLinear, EqualOriginalLimitsDecideByTheVoxelTestsAlone) {
  EXPECT_EQ((adjusted<uint8, uint8>({0, 99, 100, 101, 255}, {100, 100, 5, 9})), (std::vector<uint8>{5, 5, 5, 9, 9}));
  EXPECT_EQ((adjusted<float32, float32>({-1.f, 100.f, 100.5f}, {100.f, 100.f, 5.f, 9.f})),
            (std::vector<float32>{5.f, 5.f, 9.f}));
}
TEST(AdjustLinear, RoundsToTheNearestHalvesUp) {
  EXPECT_EQ((adjusted<uint8, uint8>({0, 1, 2, 3, 4}, {0, 4, 0, 2})), (std::vector<uint8>{0, 1, 1, 2, 2}));
  EXPECT_EQ((adjusted<int16, int16>({0, 1, 2, 3, 4}, {0, 4, -2, 0})), (std::vector<int16>{-2, -1, -1, 0, 0}));
}
TEST(AdjustLinear, Uint8StaysWithinItsRangeForAllOriginalRanges) {
  int wrong = 0;
  for (int o1 = 0; o1 < 256; ++o1) {
    for (int o2 = o1; o2 < 256; ++o2) {
      const Ranges<uint8, uint8> r{static_cast<uint8>(o1), static_cast<uint8>(o2), 0, 255};
      const TaviOperators::AdjustLinear::Stretch<uint8, uint8> stretch(r.o1, r.o2, r.r1, r.r2);
      const Impl::LanewiseRule<uint8, uint8, decltype(stretch)> rule{stretch};
      for (int x = 0; x < 256; ++x) {
        wrong += rule(static_cast<uint8>(x)) != r.expected(static_cast<uint8>(x));
      }
    }
  }
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ((adjusted<float64, uint8>({0.999999999999, 1e300}, {0.0, 1.0, 0, 255})), (std::vector<uint8>{255, 255}));
}
TEST(AdjustLinear, NaNStaysInFloatVolumesAndBecomesZeroInIntegers) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  EXPECT_TRUE(std::isnan(adjusted<float32, float32>({nan}, {0.f, 1.f, 2.f, 3.f})[0]));
  EXPECT_EQ((adjusted<float32, uint8>({nan, 0.5f}, {0.f, 1.f, 2, 4})), (std::vector<uint8>{0, 3}));
  EXPECT_EQ((adjusted<float32, uint16>({nan, 0.5f}, {0.f, 1.f, 2, 4})), (std::vector<uint16>{0, 3}));
}

TEST(AdjustLinear, LargeVolumesGetTheSameVoxels) {
  const auto input = smallVolume<uint8>(1021, 67, 250);
  std::vector<uint8> values = sampleValues<uint8>();
  values.resize(251);
  fillView(input, values);
  const SmartPointer<Parameter> parameter(new Parameter);
  const Ranges<uint8, uint16> r{13, 230, 100, 60000};
  const auto output = smallVolume<uint16>();
  r(*parameter);
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  Frame().apply(parameter);
  expectVoxels<uint8, uint16>(output, values, uint16(0), [&](uint8 x) { return r.expected(x); });
}

TEST(AdjustLinear, WorksInPlace) {
  const auto volume = smallVolume<uint16>(61, 5, 7);
  const auto values = sampleValues<uint16>();
  fillView(volume, values);
  const SmartPointer<Parameter> parameter(new Parameter);
  const Ranges<uint16, uint16> r{3, 900, 10, 4000};
  r(*parameter);
  parameter->inputVolume = volume;
  parameter->outputVolume = volume;
  Frame().apply(parameter);
  expectVoxels<uint16, uint16>(volume, values, uint16(0), [&](uint16 x) { return r.expected(x); });
}

TEST(AdjustLinear, ResizesTheOutputAndTakesAnEmptyVolume) {
  const SmartPointer<Parameter> parameter(new Parameter);
  const auto output = smallVolume<uint8>(9, 9, 9);
  Ranges<uint8, uint8>{0, 1, 2, 3}(*parameter);
  parameter->inputVolume = VolumePtr<uint8>(new Volume<uint8>);
  parameter->outputVolume = output;
  Frame().apply(parameter);
  EXPECT_EQ(output->getSize(), 0u);
}

TEST(AdjustLinear, KeysInOrder) {
  EXPECT_EQ(keysOf<Parameter>(), (std::vector<std::string>{"inputVolume", "outputVolume", "inputOriginalMinimumValue",
                                                           "inputOriginalMaximumValue", "inputResultMinimumValue",
                                                           "inputResultMaximumValue", "inputNumberOfThreads"}));
  EXPECT_EQ(Parameter().getType(), "NORV::TaviOperators::AdjustLinear::Parameter");
}

TEST(AdjustLinear, CountsSlicesAndMakesTheOutput) {
  Frame frame;  // registers the instances
  const auto op = createTyped(identifierOf("AdjustLinear", "int32", "uint8"));
  const SmartPointer<Parameter> parameter(new Parameter);
  Ranges<int32, uint8>{0, 10, 0, 20}(*parameter);
  parameter->inputVolume = smallVolume<int32>();
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  op->apply(parameter);
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  const VolumePtr<uint8> made(parameter->outputVolume.value());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->getData()[23], 14);
}

TEST(AdjustLinear, AnAbortedRunSetsNoOutput) {
  Frame frame;
  const auto op = createTyped(identifierOf("AdjustLinear", "uint16", "uint16"));
  const SmartPointer<Parameter> parameter(new Parameter);
  Ranges<uint16, uint16>{0, 10, 0, 20}(*parameter);
  parameter->inputVolume = smallVolume<uint16>(16, 16, 100000);
  parameter->inputNumberOfThreads = 1;
  applyAborted(op, parameter);
  EXPECT_EQ(parameter->outputVolume.value(), nullptr);
  EXPECT_LT(op->getProgress().getProgress(), 1.0);
}

// ---- failures ----

SmartPointer<Parameter> goodParameter() {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<uint8>();
  parameter->outputVolume = smallVolume<uint16>(1, 1, 1);
  Ranges<uint8, uint16>{1, 10, 5, 20}(*parameter);
  return parameter;
}
std::string frameFailure(const SmartPointer<IComposite>& parameter) {
  return parameterFailureOf([&] { Frame().apply(parameter); });
}

TEST(AdjustLinearFailure, WrongParameterObject) {
  EXPECT_EQ(frameFailure(smallVolume<uint8>()),
            "NORV::TaviOperators::DLL::AdjustLinear::Operator::getOperatorTypeFromParameterObject: invalid parameter "
            "object!");
  EXPECT_EQ(parameterFailureOf([] { createTyped(identifierOf("AdjustLinear", "uint8", "uint16"))->apply({}); }),
            "NORV::TaviOperators::AdjustLinear::Operator::apply");
}
TEST(AdjustLinearFailure, MissingVolumes) {
  const char* text =
      "NORV::TaviOperators::DLL::AdjustLinear::Operator::getOperatorTypeFromParameterObject: inputVolume or "
      "outputVolume is NULL!";
  const auto noInput = goodParameter(), noOutput = goodParameter();
  noInput->inputVolume = SmartPointer<Tavi::IVolume>();
  noOutput->outputVolume = SmartPointer<Tavi::IVolume>();
  EXPECT_EQ(frameFailure(noInput), text);
  EXPECT_EQ(frameFailure(noOutput), text);
  EXPECT_EQ(parameterFailureOf([&] { createTyped(identifierOf("AdjustLinear", "uint8", "uint16"))->apply(noInput); }),
            "NORV::TaviOperators::AdjustLinear::Operator::apply the input volume is NULL");
}
TEST(AdjustLinearFailure, MinimumAboveMaximumLeavesTheOutputAlone) {
  const char* text =
      "NORV::TaviOperators::AdjustLinear::Operator::apply --> INVALID INPUT: the Minimum is bigger than the Maximum!";
  const auto original = goodParameter(), result = goodParameter();
  original->inputOriginalMinimumValue.setValue(uint8(11));
  result->inputResultMaximumValue.setValue(uint16(4));
  EXPECT_EQ(frameFailure(original), text);
  EXPECT_EQ(frameFailure(result), text);
  EXPECT_EQ(result->outputVolume.value()->getSize(), 1u);
}
TEST(AdjustLinearFailure, PairWithoutAnInstance) {
  const auto parameter = goodParameter();
  parameter->outputVolume = smallVolume<int32>();
  EXPECT_EQ(failureOf<std::invalid_argument>([&] { Frame().apply(parameter); }),
            "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
            "NORV::TaviOperators::AdjustLinear::Operator< NORV::Tavi::Volume< NORV::uint8 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::int32 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}
TEST(AdjustLinearFailure, ValuesOfAnotherTypeOrMissing) {
  const auto wrong = goodParameter(), missing = goodParameter();
  wrong->inputResultMinimumValue.setValue(uint8(5));
  missing->inputOriginalMaximumValue.set({});
  EXPECT_EQ(failureOf<Exceptions::BadCast>([&] { Frame().apply(wrong); }),
            failureOf<Exceptions::BadCast>([&] { wrong->inputResultMinimumValue.extractValue<uint16>(); }));
  EXPECT_NE(failureOf<Exceptions::NULLPointer>([&] { Frame().apply(missing); }).find("_value"), std::string::npos);
}
TEST(AdjustLinearFailure, ThreadCountBeyond32Bits) {
  const auto parameter = goodParameter();
  parameter->inputNumberOfThreads = SizeType(1) << 31;
  EXPECT_EQ(failureOf<std::overflow_error>([&] { Frame().apply(parameter); }),
            "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

}  // namespace
