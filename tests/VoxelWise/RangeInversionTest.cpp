#include "Remapping.hpp"

#include <DLL/RangeInversion.hpp>
#include <Impl/Frame/Instances.hpp>
#include <RangeInversion.hpp>

namespace {

using namespace NORV;
using namespace NORV::Tests::ViewCases;
using TaviOperators::RangeInversion::Parameter;
using Frame = TaviOperators::DLL::RangeInversion::Operator;
namespace Impl = TaviOperators::Impl;

/// The values of an odd volume, which are all in every layout, with the extremes that they have.
template <class T>
struct Range {
  std::vector<T> values;
  T lowest = values.front(), highest = values.front();

  explicit Range(std::vector<T> all) : values(std::move(all)) {
    for (const T x : values) {
      lowest = std::min(lowest, x);
      highest = std::max(highest, x);
    }
  }
  void check(Where where) const {
    const auto rule = [this](T x) {
      if constexpr (std::is_floating_point_v<T>) {
        const T difference = highest - x;
        return difference + lowest;
      } else {
        return static_cast<T>(int64(highest) - int64(x) + int64(lowest));
      }
    };
    const auto nothing = [](Parameter&) {};
    checkIn<Frame, Parameter, T, T>(where, values, nothing, rule);
  }
};

TEST(RangeInversion, MirrorsAllVoxelTypesInAllLayouts) {
  Impl::forEachType(Impl::AllVoxelTypes(), []<class T>() {
    std::vector<T> values{T(20), T(116)};
    for (int i = 0; i < 97; ++i) {
      values.push_back(static_cast<T>(20 + i * 37 % 97));
    }
    Range<T>(values).check(Where::everywhere);
  });
}

TEST(RangeInversion, MirrorsTheWholeRangeOfIntegers) {
  Impl::forEachType(Impl::IntegerVoxelTypes(), []<class T>() { Range<T>(sampleValues<T>()).check(Where::dense); });
}

TEST(RangeInversion, MirrorsFloatsInTheirOwnPrecision) {
  Impl::forEachType(Impl::FloatVoxelTypes(), []<class T>() {
    std::vector<T> values;
    for (int i = 0; i < 1000; ++i) {
      values.push_back(T(i) / T(7) - T(31));
    }
    Range<T>(values).check(Where::dense);
  });
}

template <class T>
std::vector<T> mirrored(const std::vector<T>& voxels) {
  const auto volume = smallVolume<T>(voxels.size(), 1, 1);
  fillView(volume, voxels);
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = volume;
  parameter->outputVolume = volume;
  Frame().apply(parameter);
  return std::vector<T>(volume->getData(), volume->getData() + voxels.size());
}

TEST(RangeInversion, MinimumAndMaximumChangePlacesWhateverTheWidthOfTheRange) {
  for (const uint32 width : {0u, 1u, 65534u, 65535u, 65536u, 65537u, 4000000000u}) {
    const uint32 m = 1000, n = m + width;
    EXPECT_EQ(mirrored<uint32>({n, m, m + width / 3}), (std::vector<uint32>{m, n, n - width / 3})) << width;
  }
  for (const int32 width : {65535, 65536}) {
    const int32 m = -70000, n = m + width;
    EXPECT_EQ(mirrored<int32>({m, n, m + 5}), (std::vector<int32>{n, m, n - 5})) << width;
  }
  EXPECT_EQ(mirrored<int32>({-2147483647 - 1, 2147483647, 0}), (std::vector<int32>{2147483647, -2147483647 - 1, -1}));
  EXPECT_EQ(mirrored<uint8>({3, 200, 10}), (std::vector<uint8>{200, 3, 193}));
  EXPECT_EQ(mirrored<int16>({-32768, 32767, 0}), (std::vector<int16>{32767, -32768, -1}));
}

TEST(RangeInversion, NaNStaysAndDoesNotCountUnlessItIsTheFirstVoxel) {
  const float64 nan = std::numeric_limits<float64>::quiet_NaN();
  const auto later = mirrored<float64>({1.0, nan, 4.0});
  EXPECT_EQ(later[0], 4.0);
  EXPECT_TRUE(std::isnan(later[1]));
  EXPECT_EQ(later[2], 1.0);
  for (const float64 x : mirrored<float64>({nan, 1.0, 4.0})) {
    EXPECT_TRUE(std::isnan(x));
  }
}

TEST(RangeInversion, OnlyTheViewCounts) {
  const auto volume = makeVolume<uint8>(Dimension<SizeType>(2, 1, 1), layouts()[1], uint8(255));
  fillView(volume, std::vector<uint8>{10, 30});
  const SmartPointer<Parameter> parameter(new Parameter);
  const auto output = smallVolume<uint8>();
  parameter->inputVolume = volume;
  parameter->outputVolume = output;
  Frame().apply(parameter);
  ASSERT_EQ(output->getSize(), 2u);
  EXPECT_EQ(output->getData()[0], 30);
  EXPECT_EQ(output->getData()[1], 10);
}

TEST(RangeInversion, TakesAnEmptyVolume) {
  const SmartPointer<Parameter> parameter(new Parameter);
  const auto output = smallVolume<int16>();
  parameter->inputVolume = VolumePtr<int16>(new Volume<int16>);
  parameter->outputVolume = output;
  Frame().apply(parameter);
  EXPECT_EQ(output->getSize(), 0u);
}

TEST(RangeInversion, KeysInOrder) {
  EXPECT_EQ(keysOf<Parameter>(), (std::vector<std::string>{"inputVolume", "outputVolume", "inputNumberOfThreads"}));
  EXPECT_EQ(Parameter().getType(), "NORV::TaviOperators::RangeInversion::Parameter");
}

TEST(RangeInversion, CountsItsNestedOperatorAndItsSlicesAndRunsAgain) {
  const Frame frame;
  const auto op = createTyped(identifierOf("RangeInversion", "uint8", "uint8"));
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<uint8>();
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  for (int run = 0; run < 2; ++run) {
    op->apply(parameter);
    EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  }
  const VolumePtr<uint8> made(parameter->outputVolume.value());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->getData()[23], 7);
}

TEST(RangeInversion, AnAbortedRunSetsNoOutput) {
  const Frame frame;
  const auto op = createTyped(identifierOf("RangeInversion", "float32", "float32"));
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<float32>(16, 16, 100000);
  parameter->inputNumberOfThreads = 1;
  applyAborted(op, parameter);
  EXPECT_EQ(parameter->outputVolume.value(), nullptr);
  EXPECT_LT(op->getProgress().getProgress(), 1.0);
}

TEST(RangeInversionFailure, WrongParameterObject) {
  EXPECT_EQ(parameterFailureOf([] { Frame().apply(smallVolume<uint8>()); }),
            "NORV::TaviOperators::DLL::RangeInversion::Operator::getOperatorTypeFromParameterObject: invalid parameter "
            "object!");
  EXPECT_EQ(parameterFailureOf([] { createTyped(identifierOf("RangeInversion", "int8", "int8"))->apply({}); }),
            "NORV::TaviOperators::RangeInversion::Operator::apply");
}

TEST(RangeInversionFailure, MissingVolumes) {
  const char* text =
      "NORV::TaviOperators::DLL::RangeInversion::Operator::getOperatorTypeFromParameterObject: inputVolume or "
      "outputVolume is NULL!";
  const SmartPointer<Parameter> parameter(new Parameter);
  EXPECT_EQ(parameterFailureOf([&] { Frame().apply(parameter); }), text);
  EXPECT_EQ(parameterFailureOf([&] { createTyped(identifierOf("RangeInversion", "int8", "int8"))->apply(parameter); }),
            "NORV::TaviOperators::RangeInversion::Operator::apply the input volume is NULL");
  parameter->inputVolume = smallVolume<uint8>();
  EXPECT_EQ(parameterFailureOf([&] { Frame().apply(parameter); }), text);
}

TEST(RangeInversionFailure, DifferentVoxelTypesHaveNoInstance) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<uint8>();
  parameter->outputVolume = smallVolume<int8>();
  EXPECT_EQ(failureOf<std::invalid_argument>([&] { Frame().apply(parameter); }),
            "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
            "NORV::TaviOperators::RangeInversion::Operator< NORV::Tavi::Volume< NORV::uint8 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::int8 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

TEST(RangeInversionFailure, ThreadCountBeyond32Bits) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<uint8>();
  parameter->outputVolume = smallVolume<uint8>();
  parameter->inputNumberOfThreads = SizeType(1) << 32;
  EXPECT_EQ(failureOf<std::overflow_error>([&] { Frame().apply(parameter); }),
            "Couldn't cast 4294967296 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

}  // namespace
