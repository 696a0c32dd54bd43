#include "VoxelWise/PlainConversion.hpp"
#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/Maximum.hpp>
#include <DLL/Saturation.hpp>
#include <Maximum.hpp>
#include <Saturation.hpp>
#include <Tavi/StreamingStore.hpp>

#include <atomic>
#include <limits>
#include <thread>
#include <type_traits>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::Saturation;
using Frame = TaviOperators::DLL::Saturation::Operator;
using Tavi::Volume;
using Tavi::VolumePtr;

constexpr Extents oddExtents{7, 3, 5};

/// The rule, as it is stated.
template <class In, class Out>
std::vector<Out> saturated(const std::vector<In>& voxels, In lower, In upper) {
  std::vector<Out> results;
  for (const In x : voxels) {
    In clamped = x;
    if (x >= upper) {
      clamped = upper;
    } else if (lower >= x) {
      clamped = lower;
    }
    results.push_back(converted<In, Out>(clamped));
  }
  return results;
}

template <class In>
SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, In lower, In upper, SizeType threads = 0) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->inputLowerLimit.setValue(lower);
  parameter->inputUpperLimit.setValue(upper);
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

/// Runs the frame and reads the result back.
template <class T>
std::vector<T> run(const SmartPointer<Typed::Parameter>& parameter) {
  Frame().apply(parameter);
  return voxelsOf<T>(VolumePtr<T>(parameter->outputVolume.value()));
}

/// A dense row of these voxels through the frame.
template <class T>
std::vector<T> clampRow(const std::vector<T>& voxels, T lower, T upper) {
  const TestVolume<T> input({voxels.size(), 1, 1});
  input.fill(voxels);
  return run<T>(request<T>(input, lower, upper));
}

/// A complete request, for tests of what is wrong with it.
SmartPointer<Typed::Parameter> completeRequest() {
  const TestVolume<uint8> input(oddExtents);
  return request<uint8>(input, 10, 200);
}

const std::string uint8ToUint8 =
    "NORV::TaviOperators::Saturation::Operator< "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

TEST(SaturationParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::Saturation::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::Saturation::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 5u);
  EXPECT_EQ(parameter->getKey(0), "inputVolume");
  EXPECT_EQ(parameter->getKey(1), "outputVolume");
  EXPECT_EQ(parameter->getKey(2), "inputUpperLimit");
  EXPECT_EQ(parameter->getKey(3), "inputLowerLimit");
  EXPECT_EQ(parameter->getKey(4), "inputNumberOfThreads");
  for (SizeType key = 0; key < 4; ++key) {
    EXPECT_TRUE(parameter->getValue(parameter->getKey(key)) == nullptr) << key;
  }
  const SmartPointer<Tavi::Persistence::Data<SizeType>> threads(parameter->getValue("inputNumberOfThreads"));
  ASSERT_TRUE(threads != nullptr);
  EXPECT_EQ(threads->getValue(), 0u);
}

TEST(SaturationInstances, EveryPairOfVoxelTypesIsRegisteredUnderItsName) {
  const Frame frame;
  forEachVoxelTypePair([]<class In, class Out>() {
    const std::string identifier = typedIdentifier<In, Out>("Saturation");
    ASSERT_TRUE(isRegistered(identifier)) << identifier;
    const SmartPointer<IComposite> made = Tavi::Factory::getClassFactory().createInstance(identifier);
    EXPECT_EQ(made->getType(), identifier);
    EXPECT_EQ(made->getNumberOfKeys(), 0u);
  });
  EXPECT_EQ(countRegistered("NORV::TaviOperators::Saturation::Operator< "), 64u);
  EXPECT_TRUE(isRegistered(uint8ToUint8));
}

TEST(Saturation, EveryPairThroughTheFactoryClampsEveryLayout) {
  const RuntimeSettings settings;
  forEachVoxelTypePair([]<class In, class Out>() {
    const SmartPointer<IOperator> op = createTyped(typedIdentifier<In, Out>("Saturation"));
    const std::vector<In> values = mixedValues<In>(oddExtents[0] * oddExtents[1] * oddExtents[2]);
    SizeType threads = 0;
    for (const Layout& layout : someLayouts()) {
      SCOPED_TRACE(layout.name());
      const TestVolume<In> input(oddExtents, layout);
      input.fill(values);
      const TestVolume<Out> output(oddExtents, someLayouts()[threads % someLayouts().size()]);
      const auto parameter = request<In>(input, In(3), In(100), threads++ % 4);
      parameter->outputVolume = output;
      op->apply(parameter);
      EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
      expectSameVoxels(output.voxels(), saturated<In, Out>(input.voxels(), In(3), In(100)));
      output.expectUntouchedOutside();
    }
    // Limits beyond the output's voxel type: what lies between them is converted as by StaticCast.
    using Limits = std::numeric_limits<In>;
    const TestVolume<In> input(oddExtents);
    input.fill(values);
    const auto parameter = request<In>(input, Limits::lowest(), Limits::max());
    op->apply(parameter);
    expectSameVoxels(voxelsOf(VolumePtr<Out>(parameter->outputVolume.value())),
                     saturated<In, Out>(values, Limits::lowest(), Limits::max()));
  });
}

TEST(Saturation, EveryVoxelTypeThroughTheFrameClampsAllOrientationsAndRegions) {
  const RuntimeSettings settings;
  forEachVoxelType([]<class T>() {
    const std::vector<T> values = mixedValues<T>(oddExtents[0] * oddExtents[1] * oddExtents[2]);
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      const TestVolume<T> input(oddExtents, layout);
      input.fill(values);
      const std::vector<T> expected = saturated<T, T>(values, T(2), T(90));
      expectSameVoxels(run<T>(request<T>(input, T(2), T(90), 2)), expected);
      input.expectUntouchedOutside();
      expectSameVoxels(input.voxels(), values);

      const TestVolume<T> output(oddExtents, layout);
      const auto parameter = request<T>(input, T(2), T(90), 2);
      parameter->outputVolume = output;
      Frame().apply(parameter);
      expectSameVoxels(output.voxels(), expected);
      output.expectUntouchedOutside();
    }
  });
}

TEST(Saturation, EveryThreadCountGivesTheSameVoxels) {
  const RuntimeSettings settings;
  for (const int dynamic : {0, 1}) {
    omp_set_dynamic(dynamic);
    for (const SizeType threads : threadCounts()) {
      SCOPED_TRACE(threads);
      const TestVolume<int16> input({5, 4, 11}, regionLayout);
      input.fill(mixedValues<int16>(5 * 4 * 11));
      expectSameVoxels(run<int16>(request<int16>(input, -3, 1000, threads)),
                       saturated<int16, int16>(input.voxels(), -3, 1000));
    }
  }
}

TEST(Saturation, TheThreadCountBecomesTheSettingOfTheRuntimeAndZeroLeavesIt) {
  const RuntimeSettings settings;
  const TestVolume<uint8> input(oddExtents);
  Frame().apply(request<uint8>(input, 1, 2, 3));
  EXPECT_EQ(omp_get_max_threads(), 3);
  Frame().apply(request<uint8>(input, 1, 2, 0));
  EXPECT_EQ(omp_get_max_threads(), 3);
  Frame().apply(request<uint8>(input, 1, 2, 1));
  EXPECT_EQ(omp_get_max_threads(), 1);
}

TEST(Saturation, LimitsThemselvesAndValuesBesideThem) {
  EXPECT_EQ(clampRow<uint8>({0, 9, 10, 11, 199, 200, 201, 255}, 10, 200),
            (std::vector<uint8>{10, 10, 10, 11, 199, 200, 200, 200}));
  EXPECT_EQ(clampRow<int32>({-2147483647 - 1, -6, -5, -4, 2147483647}, -5, 2147483647),
            (std::vector<int32>{-5, -5, -5, -4, 2147483647}));
  EXPECT_EQ(clampRow<uint32>({0, 4294967295u}, 5, 4294967294u), (std::vector<uint32>{5, 4294967294u}));
}

TEST(Saturation, CrossedLimitsGiveTheUpperOneFromThereOnAndTheLowerOneBelow) {
  EXPECT_EQ(clampRow<uint8>({0, 9, 10, 11, 150, 200, 201, 255}, 200, 10),
            (std::vector<uint8>{200, 200, 10, 10, 10, 10, 10, 10}));
  EXPECT_EQ(clampRow<int16>({4, 5, 6}, 5, 5), (std::vector<int16>{5, 5, 5}));
}

TEST(Saturation, ANaNVoxelStaysAndANaNLimitLimitsNothing) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  const float32 infinity = std::numeric_limits<float32>::infinity();
  expectSameVoxels(clampRow<float32>({nan, -nan, -infinity, 0.5f, infinity}, 0.0f, 1.0f),
                   {nan, -nan, 0.0f, 0.5f, 1.0f});
  expectSameVoxels(clampRow<float32>({nan, -infinity, 0.5f, infinity}, nan, 1.0f), {nan, -infinity, 0.5f, 1.0f});
  expectSameVoxels(clampRow<float32>({nan, -infinity, 0.5f, infinity}, 0.0f, nan), {nan, 0.0f, 0.5f, infinity});
}

TEST(Saturation, AZeroTakesTheSignOfTheLimitThatItMeets) {
  expectSameVoxels(clampRow<float64>({-0.0, 0.0}, -1.0, 0.0), {0.0, 0.0});
  expectSameVoxels(clampRow<float64>({-0.0, 0.0}, -0.0, 1.0), {-0.0, -0.0});
}

/// Outputs beyond the threshold take the way past the cache: rows that begin at any address, whole slices and rows
/// shorter than a block.
TEST(Saturation, LargeVolumesAreClampedAtEveryRowAlignment) {
  for (const SizeType prim : {4099u, 1031u}) {
    for (const bool isRegion : {false, true}) {
      SCOPED_TRACE(prim + (isRegion ? 1000000u : 0u));
      const SizeType margin = isRegion ? 3 : 0;
      const Extents stored{prim + margin, 67, Tavi::Streaming::threshold / (prim * 67 * sizeof(uint16)) + 2};
      const VolumePtr<uint16> input(new Volume<uint16>(Tavi::Dimension<SizeType>(stored[0], stored[1], stored[2])));
      const SizeType count = stored[0] * stored[1] * stored[2];
      for (SizeType i = 0; i < count; ++i) {
        input->getData()[i] = static_cast<uint16>(i * 40503u >> 4);
      }
      input->setRoi(Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(prim, stored[1], stored[2]),
                                           Tavi::Position<SizeType>(margin, 0, 0)));
      const auto parameter = request<uint16>(input, 1000, 50000, 2);
      Frame().apply(parameter);
      const VolumePtr<uint16> output(parameter->outputVolume.value());
      ASSERT_TRUE(output != nullptr);
      SizeType wrong = 0;
      for (SizeType row = 0; row < stored[1] * stored[2]; ++row) {
        for (SizeType i = 0; i < prim; ++i) {
          const uint16 x = input->getData()[row * stored[0] + margin + i];
          const uint16 expected = x >= 50000 ? uint16{50000} : 1000 >= x ? uint16{1000} : x;
          wrong += output->getData()[row * prim + i] != expected ? 1u : 0u;
        }
      }
      EXPECT_EQ(wrong, 0u);

      parameter->outputVolume = SmartPointer<IVolume>(input);  // in place, where nothing may go past the cache
      const std::vector<uint16> before(output->getData(), output->getData() + prim * stored[1] * stored[2]);
      Frame().apply(parameter);
      wrong = 0;
      for (SizeType row = 0; row < stored[1] * stored[2]; ++row) {
        for (SizeType i = 0; i < prim; ++i) {
          wrong += input->getData()[row * stored[0] + margin + i] != before[row * prim + i] ? 1u : 0u;
        }
      }
      EXPECT_EQ(wrong, 0u);
    }
  }
}

TEST(Saturation, AnEmptyVolumeGivesAnEmptyVolume) {
  const auto parameter = request<float32>(VolumePtr<float32>(new Volume<float32>()), 0.0f, 1.0f);
  Frame().apply(parameter);
  ASSERT_TRUE(parameter->outputVolume.value() != nullptr);
  EXPECT_EQ(parameter->outputVolume.value()->getSize(), 0u);
}

TEST(SaturationOutput, AFreshOneHasTheExtentsOfTheRegion) {
  const TestVolume<uint8> input({4, 5, 6}, regionLayout);
  const auto parameter = request<uint8>(input, 1, 2);
  Frame().apply(parameter);
  const SmartPointer<IVolume> output = parameter->outputVolume.value();
  EXPECT_EQ(output->getType(), volumeIdentifier<uint8>());
  EXPECT_TRUE(output->getDimension() == Tavi::Dimension<SizeType>(4, 5, 6));
  EXPECT_TRUE(output->getAllocatedDimension() == Tavi::Dimension<SizeType>(4, 5, 6));
  EXPECT_TRUE(output->getOrientation() == Tavi::Orientation());
}

TEST(SaturationOutput, AGivenOneOfTheRightSizeKeepsItsMemory) {
  const TestVolume<uint8> input(oddExtents);
  const TestVolume<uint8> output(oddExtents);
  const auto parameter = request<uint8>(input, 1, 2);
  parameter->outputVolume = output;
  const uint8* memory = output.volume()->getData();
  Frame().apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  EXPECT_EQ(output.volume()->getData(), memory);
}

TEST(SaturationOutput, AGivenOneOfAnotherSizeIsResizedAndReused) {
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<uint8> input(oddExtents);
    input.fill(mixedValues<uint8>(105));
    const TestVolume<uint8> output({2, 9, 4}, layout);
    const auto parameter = request<uint8>(input, 10, 200);
    parameter->outputVolume = output;
    Frame().apply(parameter);
    EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
    EXPECT_TRUE(output.volume()->getDimension() == Tavi::Dimension<SizeType>(7, 3, 5));
    expectSameVoxels(voxelsOf(output.volume()), saturated<uint8, uint8>(input.voxels(), 10, 200));
  }
}

TEST(SaturationOutput, TheInputItselfMayBeTheOutput) {
  forEachVoxelType([]<class T>() {
    for (const Layout& layout : someLayouts()) {
      const TestVolume<T> volume(oddExtents, layout);
      volume.fill(mixedValues<T>(105));
      const std::vector<T> expected = saturated<T, T>(volume.voxels(), T(2), T(90));
      const auto parameter = request<T>(volume, T(2), T(90));
      parameter->outputVolume = volume;
      Frame().apply(parameter);
      expectSameVoxels(volume.voxels(), expected);
      volume.expectUntouchedOutside();
    }
  });
}

TEST(SaturationFailure, ANullParameterLeavesTheProgressAtZero) {
  Frame frame;
  frame.apply(completeRequest());
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
  expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  EXPECT_EQ(frame.getProgress().getProgress(), 0.0);
}

TEST(SaturationFailure, AParameterObjectOfAnotherClass) {
  const auto other = makeParameter<TaviOperators::Maximum::Parameter>();
  expectRefusal([&] { Frame().apply(other); },
                "NORV::TaviOperators::DLL::Saturation::Operator::getOperatorTypeFromParameterObject: invalid parameter "
                "object!");
  expectRefusal([&] { createTyped(uint8ToUint8)->apply(other); }, "NORV::TaviOperators::Saturation::Operator::apply");
  expectRefusal([&] { createTyped(uint8ToUint8)->apply(nullptr); }, "NORV::TaviOperators::Saturation::Operator::apply");
}

TEST(SaturationFailure, NoInputVolume) {
  const auto parameter = completeRequest();
  parameter->inputVolume = SmartPointer<IVolume>();
  expectRefusal([&] { Frame().apply(parameter); },
                "NORV::TaviOperators::DLL::Saturation::IOperator::getOperatorTypeFromParameterObject: inputVolume  is "
                "NULL!");
  expectRefusal([&] { createTyped(uint8ToUint8)->apply(parameter); },
                "NORV::TaviOperators::Saturation::Operator::apply inputVolume is NULL");
}

TEST(SaturationFailure, AnInputVolumeOfAnotherTypeThanTheTypedOperator) {
  const TestVolume<int8> other(oddExtents);
  const auto parameter = request<uint8>(other, 1, 2);
  expectRefusal([&] { createTyped(uint8ToUint8)->apply(parameter); },
                "NORV::TaviOperators::Saturation::Operator::apply inputVolume is NULL");
}

TEST(SaturationFailure, AnOutputVolumeOfAnotherVoxelType) {
  forEachVoxelTypePair([]<class In, class Out>() {
    if constexpr (!std::is_same_v<In, Out>) {
      const TestVolume<In> input({2, 2, 2});
      const TestVolume<Out> output({2, 2, 3});
      const auto parameter = request<In>(input, In(1), In(2));
      parameter->outputVolume = output;
      expectRefusal([&] { Frame().apply(parameter); },
                    "NORV::TaviOperators::DLL::Saturation::IOperator::getOperatorTypeFromParameterObject: Voxel types "
                    "must be equal!");
      EXPECT_TRUE(output.volume()->getDimension() == Tavi::Dimension<SizeType>(2, 2, 3));
      expectRefusal([&] { createTyped(typedIdentifier<In, In>("Saturation"))->apply(parameter); },
                    "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
    }
  });
}

TEST(SaturationFailure, AnOutputVolumeOfAnotherAllocator) {
  const auto parameter = completeRequest();
  parameter->outputVolume = SmartPointer<IVolume>(VolumePtr<uint8, Tavi::Allocator::MultiBlockAllocator>(
      new Volume<uint8, Tavi::Allocator::MultiBlockAllocator>()));
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::Saturation::Operator< "
      "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator >, "
      "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::MultiBlockAllocator > > is registered");
}

TEST(SaturationFailure, AnInputVolumeOfAnotherAllocatorIsRefusedForAllVoxelTypes) {
  using External = Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>;
  forEachVoxelType([]<class T>() {
    const TestVolume<T> owner(oddExtents);
    const auto parameter = request<T>(VolumePtr<T, External>(new Volume<T, External>(owner.volume())), T(1), T(2));
    const std::string volume =
        std::string("NORV::Tavi::Volume< ") + Tavi::typeName<T> +
        " , NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::SingleBlockAllocator > >";
    expectStandard<std::invalid_argument>(
        [&] { Frame().apply(parameter); },
        "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
        "NORV::TaviOperators::Saturation::Operator< " +
            volume + ", " + volume + " > is registered");
  });
}

TEST(SaturationFailure, AMissingLimitComesBeforeAMissingVolume) {
  const auto parameter = completeRequest();
  parameter->inputUpperLimit = SmartPointer<IComposite>();
  expectMissingValue([&] { Frame().apply(parameter); });
  parameter->inputVolume = SmartPointer<IVolume>();
  expectMissingValue([&] { createTyped(uint8ToUint8)->apply(parameter); });
  parameter->inputUpperLimit.setValue(uint8{1});
  parameter->inputLowerLimit = SmartPointer<IComposite>();
  expectMissingValue([&] { createTyped(uint8ToUint8)->apply(parameter); });
}

TEST(SaturationFailure, ALimitOfAnotherTypeThanTheVoxels) {
  forEachVoxelTypePair([]<class In, class Limit>() {
    if constexpr (!std::is_same_v<In, Limit>) {
      const TestVolume<In> input({2, 2, 2});
      const auto parameter = request<In>(input, In(1), In(2));
      parameter->inputUpperLimit.setValue(Limit(2));
      expectWrongValueType<In>([&] { Frame().apply(parameter); });
      parameter->inputUpperLimit.setValue(In(2));
      parameter->inputLowerLimit.setValue(Limit(2));
      expectWrongValueType<In>([&] { Frame().apply(parameter); });
      EXPECT_TRUE(parameter->outputVolume.value() == nullptr);
    }
  });
}

TEST(SaturationFailure, AThreadCountBeyond32Bits) {
  Frame frame;
  expectThreadCountChecked(frame, completeRequest());
  expectThreadCountChecked(*createTyped(uint8ToUint8), completeRequest());
}

TEST(SaturationFailure, AThreadCountBeyond32BitsComesBeforeAMissingVolume) {
  const auto parameter = completeRequest();
  parameter->inputVolume = SmartPointer<IVolume>();
  parameter->inputNumberOfThreads = SizeType{1} << 31;
  expectStandard<std::overflow_error>(
      [&] { createTyped(uint8ToUint8)->apply(parameter); },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
}

TEST(SaturationFailure, AnyAllocationThatFailsSurfacesAndLosesNothing) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const TestVolume<uint8> input({7, 3, 5});
  input.fill(mixedValues<uint8>(105));
  Frame frame;
  const auto parameter = request<uint8>(input, 10, 200, 1);
  const RuntimeSettings settings;
  frame.apply(parameter);
  parameter->outputVolume = SmartPointer<IVolume>();
  const int failures = failEachAllocation([&] { frame.apply(parameter); },
                                          [&] {
                                            EXPECT_TRUE(parameter->outputVolume.value() == nullptr);
                                            EXPECT_LT(frame.getProgress().getProgress(), 1.0);
                                          });
  EXPECT_GT(failures, 3);
  expectSameVoxels(voxelsOf(VolumePtr<uint8>(parameter->outputVolume.value())),
                   saturated<uint8, uint8>(input.voxels(), 10, 200));
}

TEST(Saturation, SeveralHostThreadsMayRunAtOnce) {
  const RuntimeSettings settings;
  const TestVolume<float32> input({33, 9, 16});
  input.fill(mixedValues<float32>(33 * 9 * 16));
  const std::vector<float32> expected = saturated<float32, float32>(input.voxels(), -4.0f, 50.0f);
  std::vector<std::thread> hosts;
  std::atomic<int> wrong{0};
  for (SizeType host = 0; host < 4; ++host) {
    hosts.emplace_back([&, host] {
      for (int repetition = 0; repetition < 20; ++repetition) {
        const std::vector<float32> found = run<float32>(request<float32>(input, -4.0f, 50.0f, host));
        for (std::size_t i = 0; i < found.size(); ++i) {
          wrong += isSameValue(found[i], expected[i]) ? 0 : 1;
        }
      }
    });
  }
  for (std::thread& host : hosts) {
    host.join();
  }
  EXPECT_EQ(wrong, 0);
}

TEST(SaturationAbort, SkipsTheRemainingSlicesAndReturnsNormally) {
  const RuntimeSettings settings;
  const VolumePtr<uint8> input(new Volume<uint8>(Tavi::Dimension<SizeType>(512, 512, 64)));
  const VolumePtr<uint8> output(new Volume<uint8>(Tavi::Dimension<SizeType>(512, 512, 64)));
  const SizeType count = SizeType{512} * 512 * 64;
  std::fill_n(input->getData(), count, uint8{1});
  Frame frame;
  bool seen = false;
  for (int attempt = 0; attempt < 50 && !seen; ++attempt) {
    std::fill_n(output->getData(), count, uint8{77});
    const auto parameter = request<uint8>(input, 5, 9, 1);
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
    seen = parameter->outputVolume.value() == nullptr;
  }
  ASSERT_TRUE(seen) << "no run was aborted";

  // With an output volume of the host: each slice is done or skipped as a whole.
  const auto parameter = request<uint8>(input, 5, 9, 1);
  parameter->outputVolume = SmartPointer<IVolume>(output);
  SizeType skipped = 0;
  for (int attempt = 0; attempt < 50 && skipped == 0; ++attempt) {
    std::fill_n(output->getData(), count, uint8{77});
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        frame.abort();
      }
    });
    frame.apply(parameter);
    ended = true;
    other.join();
    for (SizeType slice = 0; slice < 64; ++slice) {
      const uint8* begin = output->getData() + slice * 512 * 512;
      const auto untouched = std::count(begin, begin + 512 * 512, uint8{77});
      EXPECT_TRUE(untouched == 0 || untouched == 512 * 512) << slice;
      skipped += untouched != 0 ? 1u : 0u;
    }
  }
  EXPECT_GT(skipped, 0u);

  frame.apply(parameter);  // a new run is not aborted
  EXPECT_EQ(std::count(output->getData(), output->getData() + count, uint8{5}), static_cast<std::ptrdiff_t>(count));
}

}  // namespace
}  // namespace NORV::Tests
