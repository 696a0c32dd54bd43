#include <DLL/HistogramEqualization.hpp>
#include <HistogramEqualization.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Tavi/ClassFactory.hpp>

#include <Histogram/Volumes.hpp>
#include <gtest/gtest.h>
#include <omp.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace NORV;
using namespace NORV::HistogramTests;
using Tavi::IOperator;
using Tavi::IVolume;
using Tavi::Persistence::Data;
using Tavi::Persistence::DataPtr;
using Tavi::Persistence::IComposite;
using TaviOperators::HistogramEqualization::Parameter;
using Frame = TaviOperators::DLL::HistogramEqualization::Operator;
namespace Impl = TaviOperators::Impl;

namespace {

SmartPointer<Parameter> parametersFor(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& output,
                                      int32 threads = 0) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = input;
  parameter->outputVolume = output;
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

template <class T>
SmartPointer<Parameter> parametersFor(const VolumePtr<T>& input, const SmartPointer<IVolume>& output, T low, T high,
                                      int32 threads = 0) {
  const auto parameter = parametersFor(input, output, threads);
  parameter->inputMinimumThreshold.setValue(low);
  parameter->inputMaximumThreshold.setValue(high);
  return parameter;
}

template <class T>
std::string volumeName() {
  return std::string("NORV::Tavi::Volume< ") + Tavi::typeName<T> + " , NORV::Tavi::Allocator::SingleBlockAllocator >";
}

template <class T>
SmartPointer<IOperator> typedOperator() {
  return SmartPointer<IOperator>(Tavi::Factory::getClassFactory().createInstance(
      "NORV::TaviOperators::HistogramEqualization::Operator< " + volumeName<T>() + ", " + volumeName<T>() + " >"));
}

/// The rule, where only the voxels of `countedVoxels` are counted. Bins are a sparse map of the same counts.
template <class T>
std::vector<T> equalized(const std::vector<T>& voxels, T low, T highGiven, const std::vector<T>& countedVoxels) {
  const int64 lo = low;
  const int64 hi = highGiven == 0 ? std::numeric_limits<T>::max() : highGiven;
  std::map<int64, uint32> bins;
  uint64 total = 0;
  for (const T v : countedVoxels) {
    if (lo <= v && v <= hi) {
      ++bins[v];
      ++total;
    }
  }
  // The cumulative table at value v: the sum from lo up to v, from lo + 1 on if lo is 0; the last entry stays 0.
  std::map<int64, uint32> sums;
  uint32 sum = 0;
  for (const auto& [value, count] : bins) {
    sum += value == 0 && lo == 0 ? 0 : count;
    sums[value] = sum;
  }
  const auto cdf = [&](int64 value) -> uint32 {
    if (value == lo) {
      return lo == 0 || bins.find(lo) == bins.end() ? 0 : bins.at(lo);
    }
    if (value == hi) {
      return 0;
    }
    auto after = sums.upper_bound(value);
    return after == sums.begin() ? 0 : std::prev(after)->second;
  };
  std::vector<T> result;
  for (const T v : voxels) {
    if (lo <= v && v <= hi) {
      const double scaled = cdf(v) * (static_cast<double>(hi) / static_cast<double>(total));
      result.push_back(std::isnan(scaled) || std::isinf(scaled) ? T(0) : static_cast<T>(static_cast<int64>(scaled)));
    } else {
      result.push_back(static_cast<T>(cdf(lo)));
    }
  }
  return result;
}

template <class T>
std::vector<T> equalized(const std::vector<T>& voxels, T low, T high) {
  return equalized(voxels, low, high, voxels);
}

template <class T>
std::vector<std::pair<T, T>> ranges() {
  const T least = std::numeric_limits<T>::min(), most = std::numeric_limits<T>::max();
  std::vector<std::pair<T, T>> found{{0, 0}, {0, most}, {1, 0}, {20, 90}, {0, 60}, {57, 57}, {1, 1}, {0, 1}, {77, 78}};
  if (least < 0) {
    for (const auto& range : {std::pair<T, T>{least, 0},
                              {static_cast<T>(-40), 50},
                              {static_cast<T>(-90), static_cast<T>(-3)},
                              {static_cast<T>(-1), static_cast<T>(-1)},
                              {least, least},
                              {least, most}}) {
      found.push_back(range);
    }
  }
  if (sizeof(T) > 1) {
    found.insert(found.end(), {{300, 3000}, {0, 30000}, {1000, 0}});
  }
  return found;
}

}  // namespace

TEST(HistogramEqualization, EqualisesEveryTypeRangeAndView) {
  Impl::forEachType(Impl::IntegerVoxelTypes(), []<class T>() {
    const Dimension<SizeType> extents(13, 7, 6);
    const int64 low = std::numeric_limits<T>::min() < 0 ? -100 : 0;
    std::vector<T> voxels = scanLike<T>(extents.size(), low, sizeof(T) == 1 ? 127 : 4000);
    voxels.front() = std::numeric_limits<T>::max();
    voxels.back() = std::numeric_limits<T>::min();
    for (const auto& [from, to] : ranges<T>()) {
      const std::vector<T> expected = equalized<T>(voxels, from, to);
      for (std::size_t i = 0; i < layouts.size(); ++i) {
        SCOPED_TRACE(std::string(Tavi::typeName<T>) + " " + std::to_string(+from) + " to " + std::to_string(+to) + " " +
                     layouts[i].name);
        const auto input = volumeOf(extents, voxels, layouts[i]);
        const auto output = makeVolume<T>(extents, layouts[layouts.size() - 1 - i]);
        const auto parameter = parametersFor(input, output, from, to, static_cast<int32>(i % 2));
        Frame().apply(parameter);
        EXPECT_TRUE(parameter->outputVolume.value() == output);
        EXPECT_EQ(voxelsOf(output), expected);
      }
    }
  });
}

TEST(HistogramEqualization, EqualisesWideRangesOf32BitVoxelsWithoutATableOfAllValues) {
  const Dimension<SizeType> extents(31, 9, 5);
  const std::vector<uint32> voxels = scanLike<uint32>(extents.size(), 0, 4294967295);
  for (const auto& [from, to] : std::vector<std::pair<uint32, uint32>>{
           {0, 0}, {1, 0}, {voxels[3], 0}, {0, voxels[5]}, {1000000000, 3000000000}, {4294967295, 0}}) {
    const auto output = makeVolume<uint32>(extents, layouts[4]);
    Frame().apply(parametersFor(volumeOf(extents, voxels, layouts[2]), output, from, to));
    EXPECT_EQ(voxelsOf(output), equalized<uint32>(voxels, from, to)) << from << " to " << to;
  }
  const std::vector<int32> moderate = scanLike<int32>(extents.size(), -2147483647, 2147483647);
  const auto output = makeVolume<int32>(extents);
  Frame().apply(parametersFor<int32>(volumeOf(extents, moderate), output, -2147483648, 0));
  EXPECT_EQ(voxelsOf(output), equalized<int32>(moderate, -2147483648, 0));
}

TEST(HistogramEqualization, AnUpperEndOf0StandsForTheLargestValue) {
  const std::vector<uint8> voxels{0, 1, 2, 254, 255, 3, 3};
  const auto zero = makeVolume<uint8>({7, 1, 1}), largest = makeVolume<uint8>({7, 1, 1});
  Frame().apply(parametersFor<uint8>(volumeOf<uint8>({7, 1, 1}, voxels), zero, 0, 0));
  Frame().apply(parametersFor<uint8>(volumeOf<uint8>({7, 1, 1}, voxels), largest, 0, 255));
  EXPECT_EQ(voxelsOf(zero), voxelsOf(largest));
  // 7 voxels in all; those of value 0 and the upper end take no part in the sums: 1, 2, 4, 5 voxels up to 1, 2, 3, 254.
  EXPECT_EQ(voxelsOf(zero), (std::vector<uint8>{0, 36, 72, 182, 0, 145, 145}));
}

TEST(HistogramEqualization, AVoxelAtTheUpperEndBecomes0AndSoDoVoxelsOf0InARangeFrom0On) {
  const auto output = makeVolume<uint8>({4, 1, 1});
  Frame().apply(parametersFor<uint8>(volumeOf<uint8>({4, 1, 1}, {0, 10, 100, 200}), output, 0, 100));
  EXPECT_EQ(voxelsOf(output), (std::vector<uint8>{0, 33, 0, 0}));
}

TEST(HistogramEqualization, AVoxelOutsideARangeAbove0GetsTheCountOfItsLowestValueNarrowed) {
  std::vector<uint8> voxels(322, 50);
  voxels[7] = 3;
  voxels[8] = 255;
  const auto output = makeVolume<uint8>({7, 23, 2});
  Frame().apply(parametersFor<uint8>(volumeOf<uint8>({7, 23, 2}, voxels), output, 50, 60));
  EXPECT_EQ(voxelsOf(output)[7], 320 - 256);
  EXPECT_EQ(voxelsOf(output)[8], 320 - 256);
  EXPECT_EQ(voxelsOf(output)[9], 60);
}

TEST(HistogramEqualization, ARangeWithoutAVoxelGives0Everywhere) {
  const auto output = makeVolume<int16>({3, 2, 2});
  Frame().apply(parametersFor<int16>(volumeOf<int16>({3, 2, 2}, std::vector<int16>(12, 9)), output, 100, 200));
  EXPECT_EQ(voxelsOf(output), std::vector<int16>(12));
}

TEST(HistogramEqualization, WithSeveralThreadsItCountsWhatTheLastThreadCounted) {
  // All slices are alike, so what the last thread counted is a multiple of one slice.
  Impl::forEachType(Impl::IntegerVoxelTypes(), []<class T>() {
    const std::vector<T> slice = scanLike<T>(20 * 10, 0, 120);
    const SizeType slices = 8;
    std::vector<T> voxels;
    for (SizeType i = 0; i < slices; ++i) {
      voxels.insert(voxels.end(), slice.begin(), slice.end());
    }
    const auto input = volumeOf<T>({20, 10, slices}, voxels);
    for (const auto& [from, to] : std::vector<std::pair<T, T>>{{7, 110}, {0, 0}}) {
      std::vector<std::vector<T>> possible;
      std::vector<T> part;
      for (SizeType i = 0; i <= slices; ++i) {
        possible.push_back(equalized<T>(voxels, from, to, part));
        part.insert(part.end(), slice.begin(), slice.end());
      }
      for (const int32 threads : {2, 4, 7, 20}) {
        const auto output = makeVolume<T>({20, 10, slices});
        Frame().apply(parametersFor<T>(input, output, from, to, threads));
        EXPECT_EQ(omp_get_max_threads(), threads);
        EXPECT_NE(std::find(possible.begin(), possible.end(), voxelsOf(output)), possible.end())
            << Tavi::typeName<T> << " from " << +from << " with " << threads << " threads";
      }
    }
  });
  omp_set_num_threads(omp_get_num_procs());
}

TEST(HistogramEqualization, UsesTheTeamOfTheCallerUnlessAskedForThreads) {
  const std::vector<uint16> voxels = scanLike<uint16>(12 * 12 * 12, 0, 900);
  omp_set_num_threads(5);
  const auto output = makeVolume<uint16>({12, 12, 12});
  Frame().apply(parametersFor<uint16>(volumeOf<uint16>({12, 12, 12}, voxels), output, 1, 700, -3));
  EXPECT_EQ(omp_get_max_threads(), 1);
  EXPECT_EQ(voxelsOf(output), equalized<uint16>(voxels, 1, 700));
  omp_set_num_threads(omp_get_num_procs());
}

TEST(HistogramEqualization, CountsAllSlicesInsideAParallelRegion) {
  const std::vector<uint32> voxels = scanLike<uint32>(12 * 12 * 12, 0, 1500);
  std::vector<VolumePtr<uint32>> outputs(6);
#pragma omp parallel for num_threads(3)
  for (int i = 0; i < 6; ++i) {
    auto& output = outputs[static_cast<std::size_t>(i)];
    output = makeVolume<uint32>({12, 12, 12});
    Frame().apply(
        parametersFor<uint32>(volumeOf<uint32>({12, 12, 12}, voxels), output, 1, i % 2 == 0 ? 0 : 1200, i / 2));
  }
  EXPECT_EQ(voxelsOf(outputs[0]), equalized<uint32>(voxels, 1, 0));
  EXPECT_EQ(voxelsOf(outputs[1]), equalized<uint32>(voxels, 1, 1200));
  EXPECT_EQ(voxelsOf(outputs[2]), equalized<uint32>(voxels, 1, 0));
  EXPECT_EQ(voxelsOf(outputs[5]), equalized<uint32>(voxels, 1, 1200));
  omp_set_num_threads(omp_get_num_procs());
}

TEST(HistogramEqualization, WorksInPlaceAndResizesATargetOfAnotherSize) {
  const std::vector<uint8> voxels = scanLike<uint8>(9 * 9 * 3, 0, 255);
  const auto volume = volumeOf<uint8>({9, 9, 3}, voxels);
  const auto other = makeVolume<uint8>({2, 2, 2});
  Frame().apply(parametersFor<uint8>(volume, other, 5, 200));
  Frame().apply(parametersFor<uint8>(volume, volume, 5, 200));
  EXPECT_EQ(voxelsOf(volume), equalized<uint8>(voxels, 5, 200));
  EXPECT_EQ(voxelsOf(other), equalized<uint8>(voxels, 5, 200));
}

TEST(HistogramEqualization, AnEmptyVolumeGivesAnEmptyVolume) {
  const VolumePtr<uint32> empty(new Volume<uint32>);
  const auto output = makeVolume<uint32>({2, 2, 2});
  Frame().apply(parametersFor<uint32>(empty, output, 0, 0, 3));
  EXPECT_EQ(output->getSize(), 0u);
}

TEST(HistogramEqualization, RunsToItsEndAfterAnAbort) {
  const std::vector<uint8> voxels = scanLike<uint8>(64 * 64 * 64, 0, 255);
  const auto input = volumeOf<uint8>({64, 64, 64}, voxels);
  const auto output = makeVolume<uint8>({64, 64, 64});
  const auto typed = typedOperator<uint8>();
  std::atomic<bool> done{false};
  std::thread aborting([&] {
    while (!done) {
      typed->abort();
      EXPECT_EQ(typed->getProgress().getProgress(), 0.0);
    }
  });
  const auto parameter = parametersFor<uint8>(input, output, 5, 200);
  for (int i = 0; i < 20; ++i) {
    parameter->outputVolume = output;
    std::fill_n(output->getData(), output->getSize(), uint8{0});
    typed->apply(parameter);
    EXPECT_EQ(voxelsOf(output), equalized<uint8>(voxels, 5, 200));
  }
  done = true;
  aborting.join();
}

TEST(HistogramEqualization, HasItsKeysInOrder) {
  const Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 5u);
  EXPECT_EQ(parameter.getKey(0), "inputVolume");
  EXPECT_EQ(parameter.getKey(1), "inputMinimumThreshold");
  EXPECT_EQ(parameter.getKey(2), "outputVolume");
  EXPECT_EQ(parameter.getKey(3), "inputNumberOfThreads");
  EXPECT_EQ(parameter.getKey(4), "inputMaximumThreshold");
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::HistogramEqualization::Parameter");
  EXPECT_EQ(parameter.inputNumberOfThreads.value(), 0);
}

TEST(HistogramEqualization, IsRegisteredForSixTypes) {
  Impl::forEachType(Impl::AllVoxelTypes(), []<class T>() {
    EXPECT_EQ(Tavi::Factory::getClassFactory().isRegistered("NORV::TaviOperators::HistogramEqualization::Operator< " +
                                                            volumeName<T>() + ", " + volumeName<T>() + " >"),
              std::is_integral_v<T>);
  });
}

TEST(HistogramEqualizationFailures, ThresholdsInTheWrongOrder) {
  Impl::forEachType(Impl::IntegerVoxelTypes(), []<class T>() {
    for (const auto& [from, to] : std::vector<std::pair<T, T>>{{9, 8}, {100, 1}, {std::numeric_limits<T>::max(), 5}}) {
      const auto output = volumeOf<T>({2, 1, 1}, {5, 6});
      const auto parameter = parametersFor<T>(volumeOf<T>({3, 1, 1}, {1, 2, 3}), output, from, to);
      EXPECT_EQ(textOf<std::length_error>([&] { Frame().apply(parameter); }), "vector too long");
      EXPECT_EQ(voxelsOf(output), (std::vector<T>{5, 6}));
    }
  });
}

TEST(HistogramEqualizationFailures, VolumesThatAreNull) {
  const auto volume = makeVolume<uint8>({1, 1, 1});
  const std::string inFrame =
      "NORV::TaviOperators::DLL::HistogramEqualization::Operator::getOperatorTypeFromParameterObject: inputVolume or "
      "outputVolume is NULL!";
  const std::string inApply = "NORV::TaviOperators::HistogramEqualization::Operator::apply at least one volume is NULL";
  using Failure = IOperator::InvalidParameterObjectException;
  for (const auto& [input, output] :
       std::vector<std::pair<SmartPointer<IVolume>, SmartPointer<IVolume>>>{{{}, volume}, {volume, {}}, {{}, {}}}) {
    const auto parameter = parametersFor(input, output);
    EXPECT_EQ(textOf<Failure>([&] { Frame().apply(parameter); }), inFrame);
    parameter->inputMinimumThreshold.setValue(uint8{0});
    parameter->inputMaximumThreshold.setValue(uint8{0});
    EXPECT_EQ(textOf<Failure>([&] { typedOperator<uint8>()->apply(parameter); }), inApply);
  }
}

TEST(HistogramEqualizationFailures, AParameterObjectOfAnotherClass) {
  const SmartPointer<IComposite> wrong(new Data<uint8>(1));
  using Failure = IOperator::InvalidParameterObjectException;
  EXPECT_EQ(textOf<Failure>([&] { Frame().apply(wrong); }),
            "NORV::TaviOperators::DLL::HistogramEqualization::Operator::getOperatorTypeFromParameterObject: invalid "
            "parameter object!");
  EXPECT_EQ(textOf<Failure>([&] { typedOperator<int16>()->apply(wrong); }),
            "NORV::TaviOperators::HistogramEqualization::Operator::apply");
  EXPECT_EQ(textOf<Failure>([&] { Frame().apply({}); }),
            "NORV::QOR_DLL::Operator::apply: Parameter object is a NULL pointer!");
}

TEST(HistogramEqualizationFailures, AnOutputOfAnotherType) {
  const auto parameter =
      parametersFor<uint8>(makeVolume<uint8>({1, 1, 1}), makeVolume<uint16>({1, 1, 1}), uint8{0}, uint8{0});
  EXPECT_EQ(textOf<std::invalid_argument>([&] { Frame().apply(parameter); }),
            "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
            "NORV::TaviOperators::HistogramEqualization::Operator< NORV::Tavi::Volume< NORV::uint8 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::uint16 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
  EXPECT_EQ(textOf<IOperator::InvalidParameterObjectException>([&] { typedOperator<uint8>()->apply(parameter); }),
            "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(HistogramEqualizationFailures, ThresholdsThatAreUnsetOrOfAnotherType) {
  const auto volume = makeVolume<uint8>({1, 1, 1});
  const auto parameter = parametersFor(volume, volume);
  EXPECT_EQ(textOf<Exceptions::NULLPointer>([&] { Frame().apply(parameter); }),
            "The pointer variable '_value' is a NULL pointer");
  parameter->inputMinimumThreshold.setValue(uint8{1});
  EXPECT_EQ(textOf<Exceptions::NULLPointer>([&] { Frame().apply(parameter); }),
            "The pointer variable '_value' is a NULL pointer");
  parameter->inputMaximumThreshold.setValue(uint16{1});
  EXPECT_EQ(textOf<Exceptions::BadCast>([&] { Frame().apply(parameter); }),
            "A data type couldn't be convertet to 'NORV::Tavi::Persistence::DataPtr< NORV::uint8 >'!");
}
