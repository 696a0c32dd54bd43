#include "Remapping.hpp"

#include <DLL/Inversion.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Inversion.hpp>

namespace {

using namespace NORV;
using namespace NORV::Tests::ViewCases;
using TaviOperators::Inversion::Parameter;
using Frame = TaviOperators::DLL::Inversion::Operator;
namespace Impl = TaviOperators::Impl;

TEST(Inversion, ComplementsAllIntegerTypes) {
  Impl::forEachType(Impl::IntegerVoxelTypes(), []<class T>() {
    const auto rule = [](T x) {
      return std::is_signed_v<T> ? static_cast<T>(-1 - static_cast<int64>(x))
                                 : static_cast<T>(std::numeric_limits<T>::max() - x);
    };
    checkIn<Frame, Parameter, T, T>(
        Where::everywhere, sampleValues<T>(), [](Parameter&) {}, rule);
  });
}

TEST(Inversion, OfZeroInInt8IsMinusOne) {
  const auto volume = makeVolume<int8>(Dimension<SizeType>(1, 1, 1), layouts().front(), int8(0));
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = volume;
  parameter->outputVolume = volume;
  Frame().apply(parameter);
  EXPECT_EQ(volume->getData()[0], -1);
}

TEST(Inversion, KeysInOrder) {
  EXPECT_EQ(keysOf<Parameter>(), (std::vector<std::string>{"inputVolume", "inputNumberOfThreads", "outputVolume"}));
  EXPECT_EQ(Parameter().getType(), "NORV::TaviOperators::Inversion::Parameter");
}

TEST(Inversion, CountsNoSlicesAndMakesTheOutput) {
  const Frame frame;
  const auto op = createTyped(identifierOf("Inversion", "uint8", "uint8"));
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<uint8>();
  op->apply(parameter);
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  const VolumePtr<uint8> made(parameter->outputVolume.value());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->getData()[23], 248);
}

TEST(Inversion, AnAbortedRunSetsNoOutput) {
  const Frame frame;
  const auto op = createTyped(identifierOf("Inversion", "uint16", "uint16"));
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<uint16>(16, 16, 100000);
  applyAborted(op, parameter);
  EXPECT_EQ(parameter->outputVolume.value(), nullptr);
}

TEST(InversionFailure, WrongParameterObject) {
  EXPECT_EQ(parameterFailureOf([] { Frame().apply(smallVolume<uint8>()); }),
            "NORV::TaviOperators::DLL::Inversion::Operator::getOperatorTypeFromParameterObject: invalid parameter "
            "object!");
  EXPECT_EQ(parameterFailureOf([] { createTyped(identifierOf("Inversion", "int32", "int32"))->apply({}); }),
            "NORV::TaviOperators::Inversion::Operator::apply");
}

TEST(InversionFailure, MissingVolumes) {
  const char* text =
      "NORV::TaviOperators::DLL::Inversion::Operator::getOperatorTypeFromParameterObject: inputVolume or outputVolume "
      "is NULL!";
  const SmartPointer<Parameter> parameter(new Parameter);
  EXPECT_EQ(parameterFailureOf([&] { Frame().apply(parameter); }), text);
  EXPECT_EQ(parameterFailureOf([&] { createTyped(identifierOf("Inversion", "int32", "int32"))->apply(parameter); }),
            "NORV::TaviOperators::Inversion::Operator::apply input volume is NULL");
  parameter->inputVolume = smallVolume<uint8>();
  EXPECT_EQ(parameterFailureOf([&] { Frame().apply(parameter); }), text);
}

TEST(InversionFailure, OfFloatsHasNoInstance) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<float32>();
  parameter->outputVolume = smallVolume<float32>();
  EXPECT_EQ(failureOf<std::invalid_argument>([&] { Frame().apply(parameter); }),
            "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
            "NORV::TaviOperators::Inversion::Operator< NORV::Tavi::Volume< NORV::float32 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::float32 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

TEST(InversionFailure, OutputOfAnotherTypeInTheTypedOperator) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = smallVolume<uint8>();
  parameter->outputVolume = smallVolume<uint16>();
  EXPECT_EQ(parameterFailureOf([&] { createTyped(identifierOf("Inversion", "uint8", "uint8"))->apply(parameter); }),
            "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
}

}  // namespace
