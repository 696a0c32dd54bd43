#include <Quantization.hpp>
#include <QuantizationFrame.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

namespace NORV::TaviOperators {
namespace {

template <class T>
VolumePtr<T> volumeOf(const std::vector<T>& voxels) {
  VolumePtr<T> volume(new Volume<T>(Dimension<SizeType>(voxels.size(), 1, 1)));
  std::copy(voxels.begin(), voxels.end(), volume->getData());
  return volume;
}

template <class T>
SmartPointer<Quantization::Parameter> parameterFor(const VolumePtr<T>& input, T step) {
  SmartPointer<Quantization::Parameter> parameter(new Quantization::Parameter);
  parameter->inputVolume = SmartPointer<IVolume>(input);
  parameter->inputStep.setValue(step);
  return parameter;
}

template <class T>
std::vector<T> quantized(const std::vector<T>& voxels, T step) {
  const auto parameter = parameterFor(volumeOf(voxels), step);
  DLL::Quantization::Operator().apply(parameter);
  const VolumePtr<T> output(parameter->outputVolume.value());
  return {output->getData(), output->getData() + output->getSize()};
}

TEST(QuantizationExample, RoundsDownToMultiplesOfTheStep) {
  EXPECT_EQ(quantized<uint8>({0, 9, 10, 19, 255}, 10), (std::vector<uint8>{0, 0, 10, 10, 250}));
  EXPECT_EQ(quantized<uint16>({65535}, 1), (std::vector<uint16>{65535}));
  EXPECT_EQ(quantized<float64>({-0.25, 0.0, 0.75, 1.0}, 0.5), (std::vector<float64>{-0.5, 0.0, 0.5, 1.0}));
  EXPECT_TRUE(std::isnan(quantized<float32>({std::numeric_limits<float32>::quiet_NaN()}, 1.0f).front()));
}

TEST(QuantizationExample, WorksOnTheRegionOnly) {
  const auto input = volumeOf<uint8>({11, 22, 33, 44});
  input->setRoi(RegionOfInterest(Dimension<SizeType>(2, 1, 1), Position<SizeType>(1, 0, 0)));
  const auto parameter = parameterFor<uint8>(input, 10);
  DLL::Quantization::Operator().apply(parameter);
  const VolumePtr<uint8> output(parameter->outputVolume.value());
  ASSERT_EQ(output->getSize(), 2u);
  EXPECT_EQ(output->getData()[0], 20);
  EXPECT_EQ(output->getData()[1], 30);
}

TEST(QuantizationExample, IsFoundByNameOnceItsLibraryIsLoaded) {
  auto& factory = Tavi::Factory::getClassFactory();
  EXPECT_TRUE(factory.isRegistered("NORV::TaviOperators::Quantization::Parameter"));
  EXPECT_TRUE(
      factory.isRegistered("NORV::TaviOperators::Quantization::Operator< NORV::Tavi::Volume< NORV::uint8 , "
                           "NORV::Tavi::Allocator::SingleBlockAllocator > >"));
}

std::string failureOf(const SmartPointer<IComposite>& parameter) {
  try {
    DLL::Quantization::Operator().apply(parameter);
  } catch (const IOperator::InvalidParameterObjectException& e) {
    return e.what();
  }
  return "no failure";
}

TEST(QuantizationExample, FailuresHaveTheTextsOfTheHouse) {
  EXPECT_EQ(failureOf(SmartPointer<IComposite>(new Data<uint8>(1))),
            "NORV::TaviOperators::DLL::Quantization::Operator::getOperatorTypeFromParameterObject: invalid parameter "
            "object!");
  EXPECT_EQ(failureOf(SmartPointer<IComposite>(new Quantization::Parameter)),
            "NORV::TaviOperators::DLL::Quantization::Operator::getOperatorTypeFromParameterObject: inputVolume is "
            "NULL!");
  EXPECT_EQ(failureOf(parameterFor<uint8>(volumeOf<uint8>({1}), 0)),
            "NORV::TaviOperators::Quantization::Operator::apply inputStep is not above 0");
}

}  // namespace
}  // namespace NORV::TaviOperators
