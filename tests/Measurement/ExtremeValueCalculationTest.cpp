#include "support/FailingAllocation.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <DLL/ExtremeValueCalculation.hpp>
#include <ExtremeValueCalculation.hpp>
#include <Saturation.hpp>

#include <algorithm>
#include <atomic>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Typed = TaviOperators::ExtremeValueCalculation;
using Frame = TaviOperators::DLL::ExtremeValueCalculation::Operator;
using Tavi::Volume;
using Tavi::VolumePtr;

const std::string uint8Operator =
    "NORV::TaviOperators::ExtremeValueCalculation::Operator< "
    "NORV::Tavi::Volume< NORV::uint8 , NORV::Tavi::Allocator::SingleBlockAllocator > >";

SmartPointer<Typed::Parameter> request(const SmartPointer<IVolume>& input, int32 threads = 0) {
  const auto parameter = makeParameter<Typed::Parameter>();
  parameter->inputVolume = input;
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

template <class T>
std::pair<T, T> results(const SmartPointer<Typed::Parameter>& parameter) {
  return {parameter->outputMinimumValue.extractValue<T>(), parameter->outputMaximumValue.extractValue<T>()};
}

template <class T>
std::pair<T, T> run(const SmartPointer<IVolume>& input, int32 threads = 0) {
  const auto parameter = request(input, threads);
  Frame().apply(parameter);
  return results<T>(parameter);
}

template <class T>
void widen(std::pair<T, T>& extremes, T value) {
  if (extremes.first > value) {
    extremes.first = value;
  } else if (value > extremes.second) {
    extremes.second = value;
  }
}

/// The rule, as it is stated: each slice begins with its first voxel, then the slices are folded.
template <class T>
std::pair<T, T> extremesOf(const std::vector<T>& voxels, const Extents& extents) {
  const SizeType size = extents[0] * extents[1];
  std::vector<std::pair<T, T>> slices;
  for (SizeType slice = 0; slice < extents[2]; ++slice) {
    const T first = voxels[slice * size];
    std::pair<T, T> found{first, first};
    for (SizeType i = 0; i < size; ++i) {
      widen(found, voxels[slice * size + i]);
    }
    slices.push_back(found);
  }
  std::pair<T, T> all = slices[0];
  for (SizeType slice = 1; slice < extents[2]; ++slice) {
    if (all.first > slices[slice].first) {
      all.first = slices[slice].first;
    }
    if (slices[slice].second > all.second) {
      all.second = slices[slice].second;
    }
  }
  return all;
}

template <class T>
void expectExtremes(const std::pair<T, T>& actual, const std::pair<T, T>& expected) {
  EXPECT_TRUE(isSameValue(actual.first, expected.first)) << +actual.first << ", expected " << +expected.first;
  EXPECT_TRUE(isSameValue(actual.second, expected.second)) << +actual.second << ", expected " << +expected.second;
}

/// Slices of one row through the frame.
template <class T>
void expectOfRows(const std::vector<std::vector<T>>& rows, T minimum, T maximum) {
  const TestVolume<T> volume({rows[0].size(), 1, rows.size()});
  std::vector<T> all;
  for (const auto& row : rows) {
    all.insert(all.end(), row.begin(), row.end());
  }
  volume.fill(all);
  expectExtremes<T>(run<T>(volume), {minimum, maximum});
}

TEST(ExtremeValueCalculationParameter, KeysStandInTheirOrderWithTheirDefaults) {
  const SmartPointer<IComposite> parameter =
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::ExtremeValueCalculation::Parameter");
  EXPECT_EQ(parameter->getType(), "NORV::TaviOperators::ExtremeValueCalculation::Parameter");
  ASSERT_EQ(parameter->getNumberOfKeys(), 4u);
  EXPECT_EQ(parameter->getKey(0), "inputVolume");
  EXPECT_EQ(parameter->getKey(1), "inputNumberOfThreads");
  EXPECT_EQ(parameter->getKey(2), "outputMinimumValue");
  EXPECT_EQ(parameter->getKey(3), "outputMaximumValue");
  const SmartPointer<Tavi::Persistence::Data<int32>> threads(parameter->getValue("inputNumberOfThreads"));
  ASSERT_TRUE(threads != nullptr);
  EXPECT_EQ(threads->getValue(), 0);
}

TEST(ExtremeValueCalculationInstances, EveryVoxelTypeIsRegistered) {
  forEachVoxelType([]<class T>() {
    const std::string identifier = typedIdentifier<T>("ExtremeValueCalculation");
    ASSERT_TRUE(isRegistered(identifier));
    EXPECT_EQ(Tavi::Factory::getClassFactory().createInstance(identifier)->getType(), identifier);
  });
  EXPECT_TRUE(isRegistered(uint8Operator));
  EXPECT_EQ(countRegistered("NORV::TaviOperators::ExtremeValueCalculation::Operator< "), 8u);
}

TEST(ExtremeValueCalculation, EveryVoxelTypeAndAllLayouts) {
  const RuntimeSettings settings;
  forEachVoxelType([]<class T>() {
    int32 turn = 0;
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      for (const Extents& extents : {Extents{7, 3, 5}, Extents{131, 2, 3}, Extents{1, 1, 4}, Extents{67, 1, 1}}) {
        const TestVolume<T> volume(extents, layout);
        volume.fill(mixedValues<T>(extents[0] * extents[1] * extents[2], static_cast<unsigned>(turn)));
        expectExtremes(run<T>(volume, turn++ % 4 - 1), extremesOf(volume.voxels(), extents));
      }
    }
  });
}

TEST(ExtremeValueCalculation, TheExtremeIsFoundAtEveryPlaceOfARow) {
  forEachVoxelType([]<class T>() {
    for (const SizeType length : {1u, 2u, 63u, 64u, 65u, 300u, 515u}) {
      const TestVolume<T> volume({length, 1, 1});
      for (SizeType place = 0; place < length; ++place) {
        volume.fill({T(50)});
        volume.at({place, 0, 0}) = T(20);
        expectExtremes<T>(run<T>(volume, 1), {T(20), length == 1 ? T(20) : T(50)});
        volume.at({place, 0, 0}) = T(90);
        expectExtremes<T>(run<T>(volume, 1), {length == 1 ? T(90) : T(50), T(90)});
      }
    }
  });
}

TEST(ExtremeValueCalculation, EveryThreadCountGivesTheSame) {
  const RuntimeSettings settings;
  const Extents extents{9, 4, 11};
  const TestVolume<float32> volume(extents, regionLayout);
  for (unsigned seed = 0; seed < 20; ++seed) {
    volume.fill(mixedValues<float32>(9 * 4 * 11, seed));
    for (const int dynamic : {0, 1}) {
      omp_set_dynamic(dynamic);
      for (const int32 threads : {-2147483647 - 1, -1, 0, 1, 2, 7, 100}) {
        expectExtremes(run<float32>(volume, threads), extremesOf(volume.voxels(), extents));
        if (threads > 0) {
          EXPECT_EQ(omp_get_max_threads(), threads);
        }
      }
    }
  }
}

TEST(ExtremeValueCalculation, OneVoxelIsBoth) {
  forEachVoxelType([]<class T>() {
    const TestVolume<T> volume({1, 1, 1});
    for (const T value : specialValues<T>()) {
      volume.fill({value});
      expectExtremes<T>(run<T>(volume), {value, value});
    }
  });
}

TEST(ExtremeValueCalculation, AConstantVolumeHasEqualExtremes) {
  forEachVoxelType([]<class T>() {
    const TestVolume<T> volume({130, 3, 2});
    for (const T value : specialValues<T>()) {
      volume.fill({value});
      expectExtremes<T>(run<T>(volume), {value, value});
    }
  });
}

TEST(ExtremeValueCalculation, VoxelsOutsideTheViewDoNotCount) {
  forEachVoxelType([]<class T>() {
    for (const T outside : {std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max()}) {
      const TestVolume<T> volume({40, 3, 4}, regionLayout, outside);
      volume.fill({T(3), T(4), T(5)});
      expectExtremes<T>(run<T>(volume), {T(3), T(5)});
    }
  });
}

TEST(ExtremeValueCalculation, ANaNAsTheVeryFirstVoxelIsTheResult) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  expectOfRows<float32>({{nan, 1, 2}, {3, 4, 5}}, nan, nan);
  expectOfRows<float32>({{nan, nan}, {nan, nan}}, nan, nan);
}

TEST(ExtremeValueCalculation, ANaNAsTheFirstVoxelOfALaterSliceHidesTheSlice) {
  const float64 nan = std::numeric_limits<float64>::quiet_NaN();
  expectOfRows<float64>({{1, 2}, {nan, 100}, {0, 3}}, 0, 3);
  expectOfRows<float64>({{1, 2}, {nan, -100}}, 1, 2);
}

TEST(ExtremeValueCalculation, ANaNElsewhereIsIgnored) {
  const float32 nan = std::numeric_limits<float32>::quiet_NaN();
  const float32 infinity = std::numeric_limits<float32>::infinity();
  expectOfRows<float32>({{1, nan, 2}, {5, nan, -3}}, -3, 5);
  expectOfRows<float32>({{1, nan, infinity, -infinity}}, -infinity, infinity);
  std::vector<float32> row(257, nan);  // a row long enough for vectors, with NaN in every lane
  row[0] = 4;
  expectOfRows<float32>({row}, 4, 4);
  row[256] = 5;
  row[100] = 3;
  expectOfRows<float32>({row}, 3, 5);
}

TEST(ExtremeValueCalculation, OfZerosOfDifferentSignTheEarlierOneIsReported) {
  expectOfRows<float32>({{0.0f, -0.0f}}, 0.0f, 0.0f);
  expectOfRows<float32>({{-0.0f, 0.0f}}, -0.0f, -0.0f);
  expectOfRows<float32>({{1.0f, -0.0f, 0.0f}}, -0.0f, 1.0f);
  expectOfRows<float32>({{-1.0f, 0.0f, -0.0f}}, -1.0f, 0.0f);
  expectOfRows<float64>({{1.0, 0.0}, {-0.0, 2.0}}, 0.0, 2.0);
  expectOfRows<float64>({{1.0, -0.0}, {0.0, 2.0}}, -0.0, 2.0);
}

TEST(ExtremeValueCalculation, AnEmptyVolumeHasZeros) {
  forEachVoxelType([]<class T>() {
    expectExtremes<T>(run<T>(SmartPointer<IVolume>(VolumePtr<T>(new Volume<T>()))), {T(0), T(0)});
  });
}

TEST(ExtremeValueCalculation, ResultsOfAnEarlierRunAreReplaced) {
  const TestVolume<uint8> volume({3, 1, 1});
  volume.fill({1, 2, 3});
  const auto parameter = request(volume);
  parameter->outputMinimumValue.setValue(std::string("old"));
  Frame().apply(parameter);
  EXPECT_EQ(results<uint8>(parameter), std::make_pair(uint8{1}, uint8{3}));
  volume.fill({7});
  Frame().apply(parameter);
  EXPECT_EQ(results<uint8>(parameter), std::make_pair(uint8{7}, uint8{7}));
}

TEST(ExtremeValueCalculation, EverySliceIsAStepOfProgress) {
  const TestVolume<uint8> volume({3, 2, 5});
  const SmartPointer<IOperator> op = createTyped(uint8Operator);
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);
  op->apply(request(volume));
  EXPECT_EQ(op->getProgress().getProgress(), 1.0);
  op->apply(request(SmartPointer<IVolume>(VolumePtr<uint8>(new Volume<uint8>()))));
  EXPECT_EQ(op->getProgress().getProgress(), 0.0);  // nothing to do, nothing done
}

TEST(ExtremeValueCalculationFailure, AWrongParameterObject) {
  const auto other = makeParameter<TaviOperators::Saturation::Parameter>();
  Frame frame;
  expectRefusal([&] { frame.apply(nullptr); }, "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
  expectRefusal([&] { frame.apply(other); },
                "NORV::TaviOperators::DLL::ExtremeValueCalculation::Operator::getOperatorTypeFromParameterObject: "
                "invalid parameter object!");
  expectRefusal([&] { createTyped(uint8Operator)->apply(other); },
                "NORV::TaviOperators::ExtremeValueCalculation::Operator::apply");
  expectRefusal([&] { createTyped(uint8Operator)->apply(nullptr); },
                "NORV::TaviOperators::ExtremeValueCalculation::Operator::apply");
}

TEST(ExtremeValueCalculationFailure, NoVolumeOrOneOfAnotherType) {
  const std::string text = "NORV::TaviOperators::ExtremeValueCalculation::Operator::apply input volume is NULL";
  const auto parameter = request(nullptr);
  expectRefusal([&] { Frame().apply(parameter); }, text);
  expectRefusal([&] { createTyped(uint8Operator)->apply(parameter); }, text);
  expectRefusal([&] { createTyped(uint8Operator)->apply(request(TestVolume<int8>({1, 1, 1}))); }, text);
  EXPECT_TRUE(parameter->outputMinimumValue.value() == nullptr);
}

TEST(ExtremeValueCalculationFailure, AVolumeOfAnotherAllocator) {
  using External = Tavi::Allocator::ExternalBufferAllocator<Tavi::Allocator::SingleBlockAllocator>;
  const TestVolume<uint8> owner({1, 1, 1});
  const auto parameter = request(VolumePtr<uint8, External>(new Volume<uint8, External>(owner.volume())));
  expectStandard<std::invalid_argument>(
      [&] { Frame().apply(parameter); },
      "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
      "NORV::TaviOperators::ExtremeValueCalculation::Operator< NORV::Tavi::Volume< NORV::uint8 , "
      "NORV::Tavi::Allocator::ExternalBufferAllocator< NORV::Tavi::Allocator::SingleBlockAllocator > > > is "
      "registered");
}

TEST(ExtremeValueCalculationFailure, AThreadCountThatThePropertyDoesNotHold) {
  const auto parameter = request(TestVolume<uint8>({1, 1, 1}));
  expectStandard<std::overflow_error>(
      [&] {
        parameter->setValue("inputNumberOfThreads",
                            SmartPointer<IComposite>(new Tavi::Persistence::Data<SizeType>(2147483648u)));
      },
      "Couldn't cast 2147483648 (64 bit unsigned integer) to 32 bit signed integer without loss of data!");
  const RuntimeSettings settings;
  parameter->inputNumberOfThreads = 2147483647;  // no failure, whatever the runtime can start
  Frame().apply(parameter);
  expectExtremes<uint8>(results<uint8>(parameter), {77, 77});
}

TEST(ExtremeValueCalculationFailure, AnyAllocationThatFailsSurfaces) {
  SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
  const RuntimeSettings settings;
  const TestVolume<uint8> volume({3, 2, 5});
  volume.fill({4, 9});
  Frame frame;
  const auto parameter = request(volume, 1);
  const int failures =
      failEachAllocation([&] { frame.apply(parameter); }, [&] { EXPECT_LT(frame.getProgress().getProgress(), 1.0); });
  EXPECT_GT(failures, 3);
  expectExtremes<uint8>(results<uint8>(parameter), {4, 9});
}

TEST(ExtremeValueCalculationAbort, ReturnsNormallyAndTheNextRunIsWhole) {
  const RuntimeSettings settings;
  const VolumePtr<uint8> volume(new Volume<uint8>(Tavi::Dimension<SizeType>(512, 512, 64)));
  std::fill_n(volume->getData(), SizeType{512} * 512 * 64, uint8{3});
  Frame frame;
  const auto parameter = request(volume, 2);
  bool seen = false;
  for (int attempt = 0; attempt < 50 && !seen; ++attempt) {
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
    seen = results<uint8>(parameter).first == 0;  // skipped slices hold zero
  }
  EXPECT_TRUE(seen);
  frame.apply(parameter);
  expectExtremes<uint8>(results<uint8>(parameter), {3, 3});
}

}  // namespace
}  // namespace NORV::Tests
