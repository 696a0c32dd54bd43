#include "Measurement/FeatureRuns.hpp"
#include "support/ExpectFailure.hpp"
#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Saturation.hpp>

#include <algorithm>
#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace NORV::Tests {
namespace {

using namespace FeatureRuns;

TEST(StandardFeaturesCalculationFailure, AWrongParameterObject) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  Frame frame;
  expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { frame.apply(other); },
                "NORV::TaviOperators::DLL::StandardFeaturesCalculation::Operator::getOperatorTypeFromParameterObject: "
                "invalid parameter object!");
  expectRefusal([&] { createTyped(smallestOperator)->apply(other); },
                "NORV::TaviOperators::StandardFeaturesCalculation::Operator::apply");
  expectRefusal([&] { createTyped(smallestOperator)->apply(nullptr); },
                "NORV::TaviOperators::StandardFeaturesCalculation::Operator::apply");
}

TEST(StandardFeaturesCalculationFailure, AVolumeIsMissingOrOfAnotherClass) {
  const std::string inFrame =
      "NORV::TaviOperators::DLL::StandardFeaturesCalculation::Operator::getOperatorTypeFromParameterObject: "
      "inputVolume is NULL!";
  const std::string inApply =
      "NORV::TaviOperators::StandardFeaturesCalculation::Operator::apply at least one input volume is NULL";
  const TestVolume<uint8> volume({2, 1, 1});
  for (const auto& parameter : {request<uint8>(nullptr, volume, 0, 1), request<uint8>(volume, nullptr, 0, 1),
                                request<uint8>(nullptr, nullptr, 0, 1)}) {
    expectRefusal([&] { Frame().apply(parameter); }, inFrame);
    expectRefusal([&] { createTyped(smallestOperator)->apply(parameter); }, inApply);
  }
  expectRefusal(
      [&] {
        createTyped(smallestOperator)->apply(request<uint8>(TestVolume<uint16>({2, 1, 1}), volume, 0, 1));
      },
      inApply);
  expectRefusal(
      [&] {
        createTyped(smallestOperator)->apply(request<uint8>(volume, TestVolume<int8>({2, 1, 1}), 0, 1));
      },
      inApply);
}

TEST(StandardFeaturesCalculationFailure, SignedLabelsHaveNoInstance) {
  const TestVolume<int8> labels({1, 1, 1});
  const TestVolume<uint8> values({1, 1, 1});
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(request<uint8>(labels, values, 0, 1)); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::StandardFeaturesCalculation::Operator< "
      "NORV::Tavi::Volume< NORV::int8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Container::Vector< NORV::TaviOperators::StandardFeaturesCalculation::Features< NORV::int8, "
      "NORV::uint8, NORV::float64 > > > is registered");
}

TEST(StandardFeaturesCalculationFailure, VolumesOfDifferentSizes) {
  const TestVolume<uint8> labels({4, 3, 2});
  const std::string text =
      "NORV::TaviOperators::StandardFeaturesCalculation::Operator::apply input volumes differ in size";
  for (const Extents& extents : {Extents{3, 3, 2}, Extents{4, 2, 2}, Extents{4, 3, 1}, Extents{3, 4, 2}}) {
    const auto parameter = request<uint8>(labels, TestVolume<float32>(extents), 0, 9);
    expectRefusal([&] { Frame().apply(parameter); }, text);
    EXPECT_TRUE(parameter->outputFeaturesVector.value() == nullptr);
  }
  // Sizes are looked at before the labels.
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputLabelVolume = labels;
  parameter->inputValueVolume = TestVolume<uint8>({1, 1, 1});
  expectRefusal([&] { Frame().apply(parameter); }, text);
}

TEST(StandardFeaturesCalculationFailure, ALabelIsMissing) {
  const TestVolume<uint8> volume({2, 1, 1});
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputLabelVolume = volume;
  parameter->inputValueVolume = volume;
  const char* const origin = "NORV::TaviOperators::StandardFeaturesCalculation::Operator::apply";
  expectFailure<Exceptions::NULLPointer>([&] { Frame().apply(parameter); },
                                         "The pointer variable 'inputMinimumLabel' is a NULL pointer", origin);
  parameter->inputMinimumLabel = SmartPointer<IComposite>(new Data<uint8>(0));
  expectFailure<Exceptions::NULLPointer>([&] { Frame().apply(parameter); },
                                         "The pointer variable 'inputMaximumLabel' is a NULL pointer", origin);
}

TEST(StandardFeaturesCalculationFailure, ALabelIsNoInteger) {
  const TestVolume<uint8> volume({2, 1, 1});
  const auto parameter = request<uint8>(volume, volume, 0, 1);
  parameter->inputMinimumLabel = SmartPointer<IComposite>(new Data<float64>(0.0));
  expectFailure<Exceptions::BadCast>(
      [&] { Frame().apply(parameter); },
      "The data type 'NORV::Tavi::Persistence::Data< NORV::float64 >' couldn't be convertet to "
      "'NORV::Tavi::Persistence::Data< NORV::uint8 >'!",
      "NORV::Tavi::Persistence::CompositeOfProperties::PropertyData::set");
}

/// Memory follows the labels that occur, not the largest that is asked for.
TEST(StandardFeaturesCalculationFailure, AHugeLabelIsNone) {
  const TestVolume<uint32> labels({2, 1, 3});
  labels.fill({4294967295u, 0, 5000000, 0, 5000000, 1});
  const TestVolume<float64> values({2, 1, 3});
  values.fill({1, 2, 3, 4, 5, 6});
  const auto parameter = request<uint32>(labels, values, 1, 4294967295u, 2);
  const RuntimeSettings settings;
  Frame().apply(parameter);
  using Records = TaviOperators::StandardFeaturesCalculation::FeaturesVector<uint32, float64>;
  const SmartPointer<Records> records(parameter->outputFeaturesVector.value());
  ASSERT_TRUE(records != nullptr);
  ASSERT_EQ(records->size(), 3u);
  EXPECT_EQ((*records)[0]->label.value(), 1u);
  EXPECT_EQ((*records)[1]->label.value(), 5000000u);
  EXPECT_EQ((*records)[1]->size.value(), 2u);
  EXPECT_EQ((*records)[1]->mean.value(), 4.0);
  EXPECT_EQ((*records)[2]->label.value(), 4294967295u);
}

TEST(StandardFeaturesCalculationFailure, AThreadCountThatThePropertyDoesNotHold) {
  const TestVolume<uint8> volume({2, 1, 1});
  const auto parameter = request<uint8>(volume, volume, 0, 100);
  expectStandard<std::overflow_error>(
      [&] { parameter->setValue("inputNumberOfThreads", SmartPointer<IComposite>(new Data<SizeType>(2147483648u))); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
  const RuntimeSettings settings;
  parameter->inputNumberOfThreads = 2147483647;
  Frame().apply(parameter);
  EXPECT_EQ(parameter->outputFeaturesVector.value()->getNumberOfKeys(), 1u);
}

TEST(StandardFeaturesCalculationFailure, AnyAllocationThatFailsSurfacesAndLeavesTheVector) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const RuntimeSettings settings;
  const TestVolume<uint8> labels({3, 2, 2});
  labels.fill({1, 2, 3});
  const auto parameter = request<uint8>(labels, labels, 1, 9);
  const SmartPointer<Records<uint8, uint8>> records(new Records<uint8, uint8>(1));
  parameter->outputFeaturesVector = SmartPointer<IComposite>(records);
  Frame frame;
  const int failures = failEachAllocation([&] { frame.apply(parameter); }, [&] { EXPECT_EQ(records->size(), 1u); });
  EXPECT_GT(failures, 10);
  EXPECT_EQ(records->size(), 4u);
}

TEST(StandardFeaturesCalculationAbort, GivesNoRecordsAndTheNextRunIsWhole) {
  const RuntimeSettings settings;
  const VolumePtr<uint8> volume(new Volume<uint8>(Tavi::Dimension<SizeType>(256, 256, 64)));
  std::fill_n(volume->getData(), volume->getSize(), uint8{3});
  Frame frame;
  bool seen = false;
  for (int attempt = 0; attempt < 50 && !seen; ++attempt) {
    const auto parameter = request<uint8>(volume, volume, 0, 9, 2);
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        frame.abort();
      }
    });
    frame.apply(parameter);
    ended = true;
    other.join();
    EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
    seen = parameter->outputFeaturesVector.value() == nullptr;
  }
  EXPECT_TRUE(seen);
  const auto records = run<uint8, uint8>(volume, volume, 0, 9, 2);
  ASSERT_EQ(records->size(), 1u);
  EXPECT_EQ(records->at(0)->size.value(), SizeType{256} * 256 * 64);
}

}  // namespace
}  // namespace NORV::Tests
