#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/SobelKernelCreation.hpp>
#include <SobelKernelCreation.hpp>

namespace NORV::Tests {
namespace {

using TaviOperators::SobelKernelCreation::Parameter;
using Frame = TaviOperators::DLL::SobelKernelCreation::Operator;

template <class Body>
void forEachKernelType(const Body& body) {
  body.template operator()<int8>();
  body.template operator()<int16>();
  body.template operator()<int32>();
  body.template operator()<float32>();
  body.template operator()<float64>();
}

const std::vector<int> prim2D{-1, 0, 1, -2, 0, 2, -1, 0, 1};
const std::vector<int> sec2D{-1, -2, -1, 0, 0, 0, 1, 2, 1};
const std::vector<int> prim3D{-1, 0, 1, -2, 0, 2, -1, 0, 1, -2, 0, 2, -4, 0, 4, -2, 0, 2, -1, 0, 1, -2, 0, 2, -1, 0, 1};
const std::vector<int> sec3D{-1, -2, -1, 0, 0, 0, 1, 2, 1, -2, -4, -2, 0, 0, 0, 2, 4, 2, -1, -2, -1, 0, 0, 0, 1, 2, 1};
const std::vector<int> tert3D{-1, -2, -1, -2, -4, -2, -1, -2, -1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 1, 2, 4, 2, 1, 2, 1};

template <class T>
std::vector<T> as(const std::vector<int>& values) {
  std::vector<T> converted;
  for (const int value : values) {
    converted.push_back(static_cast<T>(value));
  }
  return converted;
}

template <class T>
void expectKernel(const SmartPointer<IVolume>& volume, const std::vector<int>& values) {
  const Tavi::VolumePtr<T> kernel(volume);
  ASSERT_NE(kernel, nullptr);
  EXPECT_EQ(kernel->getDimPrim(), 3u);
  EXPECT_EQ(kernel->getDimSec(), 3u);
  EXPECT_EQ(kernel->getDimTert(), values.size() / 9);
  expectSameVoxels(voxelsOf(kernel), as<T>(values));
}

template <class T>
void expectAllKernels(const Parameter& parameter) {
  expectKernel<T>(parameter.outputVolume2DPrim.value(), prim2D);
  expectKernel<T>(parameter.outputVolume2DSec.value(), sec2D);
  expectKernel<T>(parameter.outputVolume3DPrim.value(), prim3D);
  expectKernel<T>(parameter.outputVolume3DSec.value(), sec3D);
  expectKernel<T>(parameter.outputVolume3DTert.value(), tert3D);
}

TEST(SobelKernelCreation, KeysStandInTheirOrder) {
  const Parameter parameter;
  std::vector<std::string> keys;
  for (SizeType i = 0; i < parameter.getNumberOfKeys(); ++i) {
    keys.push_back(parameter.getKey(i));
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"outputVolume2DPrim", "outputVolume2DSec", "outputVolume3DPrim",
                                            "outputVolume3DSec", "outputVolume3DTert"}));
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::SobelKernelCreation::Parameter");
  EXPECT_EQ(parameter.outputVolume2DPrim.value(), nullptr);
}

TEST(SobelKernelCreation, AnyOneVolumeTellsTheVoxelTypeOfAllKernels) {
  forEachKernelType([]<class T>() {
    for (unsigned given = 0; given < 5; ++given) {
      SCOPED_TRACE(std::string(Tavi::typeName<T>) + ", volume " + std::to_string(given));
      const auto parameter = makeParameter<Parameter>();
      const TestVolume<T> volume({2, 5, 1});
      Parameter::Property<SmartPointer<IVolume>>* const properties[] = {
          &parameter->outputVolume2DPrim, &parameter->outputVolume2DSec, &parameter->outputVolume3DPrim,
          &parameter->outputVolume3DSec, &parameter->outputVolume3DTert};
      *properties[given] = volume;
      Frame().apply(parameter);
      expectAllKernels<T>(*parameter);
      EXPECT_EQ(properties[given]->value().get(), SmartPointer<IVolume>(volume).get());
    }
  });
}

TEST(SobelKernelCreation, WhatVolumesHeldIsCleared) {
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<int16> plane({3, 3, 1}, layout, int16(500)), block({3, 3, 3}, layout, int16(500));
    const auto parameter = makeParameter<Parameter>();
    parameter->outputVolume2DSec = plane;
    parameter->outputVolume3DTert = block;
    Frame().apply(parameter);
    expectSameVoxels(plane.voxels(), as<int16>(sec2D));
    expectSameVoxels(block.voxels(), as<int16>(tert3D));
    plane.expectUntouchedOutside();
    block.expectUntouchedOutside();
  }
}

TEST(SobelKernelCreation, IsRegisteredForSignedVoxelTypes) {
  const Frame frame;
  EXPECT_EQ(countRegistered("NORV::TaviOperators::SobelKernelCreation::Operator< "), 5u);
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::SobelKernelCreation::Operator< NORV::int8 >"));
  EXPECT_TRUE(isRegistered("NORV::TaviOperators::SobelKernelCreation::Operator< NORV::float64 >"));
}

TEST(SobelKernelCreationFailure, AWrongParameterObject) {
  expectRefusal(
      [] {
        Frame().apply(TestVolume<int8>({1, 1, 1}).volume());
      },
      "NORV::TaviOperators::DLL::SobelKernelCreation::Operator::getOperatorTypeFromParameterObject: invalid "
      "parameter object!");
  expectRefusal([] { createTyped("NORV::TaviOperators::SobelKernelCreation::Operator< NORV::int32 >")->apply({}); },
                "NORV::TaviOperators::SobelKernelCreation::Operator::apply");
}

TEST(SobelKernelCreationFailure, WithoutAVolumeThereIsNoVoxelType) {
  expectStandard<std::invalid_argument>(
      [] { Frame().apply(makeParameter<Parameter>()); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::SobelKernelCreation::Operator<  > is registered");
}

TEST(SobelKernelCreationFailure, UnsignedVolumesHaveNoInstance) {
  const auto parameter = makeParameter<Parameter>();
  parameter->outputVolume3DSec = TestVolume<uint8>({3, 3, 3});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::SobelKernelCreation::Operator< NORV::uint8 > is registered");
}

TEST(SobelKernelCreationFailure, VolumesOfTwoVoxelTypesLeaveAllAsTheyWere) {
  const auto parameter = makeParameter<Parameter>();
  const TestVolume<int8> first({3, 3, 1});
  parameter->outputVolume2DPrim = first;
  parameter->outputVolume3DTert = TestVolume<int16>({3, 3, 3});
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
  EXPECT_EQ(first.voxels(), std::vector<int8>(9, 77));
  EXPECT_EQ(parameter->outputVolume2DSec.value(), nullptr);
}

}  // namespace
}  // namespace NORV::Tests
