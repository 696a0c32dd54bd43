#include <DLL/KMeansHistogramSegmentation.hpp>
#include <Impl/Frame/Instances.hpp>
#include <KMeansHistogramSegmentation.hpp>
#include <Tavi/ClassFactory.hpp>

#include <Histogram/HistogramKMeans.hpp>
#include <Histogram/Volumes.hpp>
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace NORV;
using namespace NORV::HistogramTests;
using Tavi::IOperator;
using Tavi::IVolume;
using Tavi::Persistence::Data;
using Tavi::Persistence::IComposite;
using TaviOperators::KMeansHistogramSegmentation::Parameter;
using Frame = TaviOperators::DLL::KMeansHistogramSegmentation::Operator;
namespace Impl = TaviOperators::Impl;
using VoxelTypes = Impl::TypeList<uint8, uint16>;

namespace {

SmartPointer<Parameter> parametersFor(const SmartPointer<IVolume>& input, SizeType classes,
                                      const SmartPointer<IVolume>& output = {}) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = input;
  parameter->inputNumberOfClasses = classes;
  parameter->outputLabelVolume = output;
  return parameter;
}

template <class In, class Out>
SmartPointer<IOperator> typedOperator() {
  return SmartPointer<IOperator>(Tavi::Factory::getClassFactory().createInstance(
      std::string("NORV::TaviOperators::KMeansHistogramSegmentation::Operator< NORV::Tavi::Volume< ") +
      Tavi::typeName<In> + " , NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< " +
      Tavi::typeName<Out> + " , NORV::Tavi::Allocator::SingleBlockAllocator > >"));
}

/// The rule, step by step.
template <class Out, class In>
std::vector<Out> segmented(const std::vector<In>& voxels, SizeType classes, uint64 limit = ~uint64{0},
                           double epsilon = DBL_EPSILON) {
  const auto max = voxels.empty() ? In(0) : *std::max_element(voxels.begin(), voxels.end());
  std::vector<uint64> histogram(max + SizeType{1}), lookup(max + SizeType{1});
  for (const In v : voxels) {
    ++histogram[v];
  }
  std::vector<double> centre(classes);
  for (SizeType k = 0; k < classes; ++k) {
    centre[k] =
        static_cast<double>(k + 1) * static_cast<double>(static_cast<int>(max)) / static_cast<double>(classes + 1);
  }
  for (uint64 i = 0;;) {
    const std::vector<double> previous = centre;
    std::vector<uint64> sums(classes), counts(classes);
    for (SizeType g = 0; g <= max; ++g) {
      if (histogram[g] == 0) {
        continue;
      }
      double nearest = DBL_MAX;
      SizeType best = 0;
      for (SizeType k = 0; k < classes; ++k) {
        const double distance = std::fabs(static_cast<double>(g) - centre[k]);
        if (distance < nearest) {
          nearest = distance;
          best = k;
        }
      }
      lookup[g] = static_cast<Out>(best + 1);
      sums[best] += histogram[g] * g;
      counts[best] += histogram[g];
    }
    double d = 0;
    for (SizeType k = 0; k < classes; ++k) {
      if (sums[k] != 0) {
        centre[k] = static_cast<double>(sums[k]) / static_cast<double>(counts[k]);
      }
      d += std::fabs(centre[k] - previous[k]);
    }
    ++i;
    if (epsilon >= d || i == limit) {
      break;
    }
  }
  std::vector<Out> labels;
  for (const In v : voxels) {
    labels.push_back(static_cast<Out>(lookup[v]));
  }
  return labels;
}

template <class Out>
std::vector<Out> labelsIn(const SmartPointer<Parameter>& parameter) {
  const VolumePtr<Out> labels{SmartPointer<Volume<Out>>(parameter->outputLabelVolume.value())};
  EXPECT_TRUE(labels != nullptr);
  return labels != nullptr ? voxelsOf(labels) : std::vector<Out>();
}

}  // namespace

TEST(KMeansHistogramSegmentation, LabelsEveryPairOfTypesInEveryView) {
  Impl::forEachType(Impl::Pairs<VoxelTypes, VoxelTypes>(), []<class Types>() {
    using In = typename Types::In;
    using Out = typename Types::Out;
    const Dimension<SizeType> extents(11, 7, 6);
    const int64 high = sizeof(In) == 1 ? 250 : 60000;
    const std::vector<In> voxels = scanLike<In>(extents.size(), 3, high);
    for (const SizeType classes : {1U, 2U, 3U, 5U, 9U, 17U, 18U, 40U, 300U}) {
      const std::vector<Out> expected = segmented<Out>(voxels, classes);
      for (std::size_t i = 0; i < layouts.size(); ++i) {
        SCOPED_TRACE(std::string(Tavi::typeName<In>) + " to " + Tavi::typeName<Out> + ", " + std::to_string(classes) +
                     " classes, " + layouts[i].name);
        const auto output = makeVolume<Out>(extents, layouts[layouts.size() - 1 - i]);
        const auto parameter = parametersFor(volumeOf(extents, voxels, layouts[i]), classes, output);
        parameter->inputNumberOfThreads = static_cast<int32>(i == 5 ? 40 : i);
        Frame().apply(parameter);
        EXPECT_TRUE(parameter->outputLabelVolume.value() == output);
        EXPECT_EQ(voxelsOf(output), expected);
      }
    }
  });
  omp_set_num_threads(omp_get_num_procs());
}

TEST(KMeansHistogramSegmentation, FollowsTheLimitOfIterationsAndTheThreshold) {
  const std::vector<uint16> voxels = scanLike<uint16>(3000, 0, 40000, 7);
  const auto input = volumeOf<uint16>({30, 10, 10}, voxels);
  for (const uint64 limit : {1U, 2U, 3U, 1000U}) {
    for (const double epsilon : {0.0, 0.5, 50.0, 1e9}) {
      const auto parameter = parametersFor(input, 12);
      parameter->inputNumberOfIterations = limit;
      parameter->inputEpsilon = epsilon;
      Frame().apply(parameter);
      EXPECT_EQ(labelsIn<uint16>(parameter), segmented<uint16>(voxels, 12, limit, epsilon)) << limit << " " << epsilon;
    }
  }
}

TEST(KMeansHistogramSegmentation, OneIterationLabelsByTheSeeds) {
  // Seeds 3 and 6: everything above 4.5 is nearer to 6, although the means would draw the border elsewhere.
  const auto parameter = parametersFor(volumeOf<uint8>({6, 1, 1}, {0, 4, 5, 5, 6, 9}), 2);
  parameter->inputNumberOfIterations = 1;
  Frame().apply(parameter);
  EXPECT_EQ(labelsIn<uint8>(parameter), (std::vector<uint8>{1, 1, 2, 2, 2, 2}));
}

TEST(KMeansHistogramSegmentation, NoIterationsStandForNoLimit) {
  const std::vector<uint8> voxels = scanLike<uint8>(1000, 0, 255, 9);
  const auto input = volumeOf<uint8>({10, 10, 10}, voxels);
  const auto parameter = parametersFor(input, 7);
  parameter->inputNumberOfIterations = 0;
  Frame().apply(parameter);
  EXPECT_EQ(labelsIn<uint8>(parameter), segmented<uint8>(voxels, 7));
}

TEST(KMeansHistogramSegmentation, AVolumeOfOneGreyValueGetsTheClassNearestToIt) {
  // Seeds are at 25, 50, 75 of 100; the nearest one below the value itself is the highest.
  const auto parameter = parametersFor(volumeOf<uint8>({2, 2, 2}, std::vector<uint8>(8, 100)), 3);
  Frame().apply(parameter);
  EXPECT_EQ(labelsIn<uint8>(parameter), std::vector<uint8>(8, 3));
}

TEST(KMeansHistogramSegmentation, AVolumeOfZerosIsTheFirstClass) {
  const auto parameter = parametersFor(volumeOf<uint16>({2, 2, 2}, std::vector<uint16>(8, 0)), 20);
  Frame().apply(parameter);
  EXPECT_EQ(labelsIn<uint16>(parameter), std::vector<uint16>(8, 1));
}

TEST(KMeansHistogramSegmentation, OfTwoClassesAtEqualDistanceTheLowerTakesAGreyValue) {
  // Seeds 2 and 4, so 3 lies in the middle.
  const auto parameter = parametersFor(volumeOf<uint8>({3, 1, 1}, {3, 6, 3}), 2);
  parameter->inputNumberOfIterations = 1;
  Frame().apply(parameter);
  EXPECT_EQ(labelsIn<uint8>(parameter), (std::vector<uint8>{1, 2, 1}));
}

TEST(KMeansHistogramSegmentation, ClassNumbersAreNarrowedToTheLabelType) {
  std::vector<uint16> voxels(3000);
  for (SizeType i = 0; i < voxels.size(); ++i) {
    voxels[i] = static_cast<uint16>(i);
  }
  const auto output = makeVolume<uint8>({3000, 1, 1});
  Frame().apply(parametersFor(volumeOf<uint16>({3000, 1, 1}, voxels), 700, output));
  const auto labels = voxelsOf(output);
  EXPECT_EQ(labels, segmented<uint8>(voxels, 700));
  EXPECT_NE(std::find(labels.begin(), labels.end(), uint8{0}), labels.end());  // class 256
}

TEST(KMeansHistogramSegmentation, MakesLabelsOfTheInputTypeResizesAndWorksInPlace) {
  const std::vector<uint16> voxels = scanLike<uint16>(24, 0, 900);
  const auto input = volumeOf<uint16>({4, 3, 2}, voxels);
  const auto expected = segmented<uint16>(voxels, 4);
  const auto made = parametersFor(input, 4);
  Frame().apply(made);
  EXPECT_EQ(labelsIn<uint16>(made), expected);
  const auto other = makeVolume<uint8>({1, 1, 1});
  Frame().apply(parametersFor(input, 4, other));
  EXPECT_EQ(voxelsOf(other), segmented<uint8>(voxels, 4));
  Frame().apply(parametersFor(input, 4, input));
  EXPECT_EQ(voxelsOf(input), expected);
}

TEST(KMeansHistogramSegmentation, AnEmptyVolumeGivesAnEmptyVolume) {
  const auto parameter = parametersFor(VolumePtr<uint8>(new Volume<uint8>), 3);
  Frame().apply(parameter);
  ASSERT_TRUE(parameter->outputLabelVolume.value() != nullptr);
  EXPECT_EQ(parameter->outputLabelVolume.value()->getSize(), 0u);
}

TEST(KMeansHistogramSegmentation, AThresholdThatNoSumReachesEndsNevertheless) {
  const std::vector<uint8> voxels = scanLike<uint8>(500, 0, 255);
  const auto input = volumeOf<uint8>({500, 1, 1}, voxels);
  for (const double epsilon : {-1.0, std::numeric_limits<double>::quiet_NaN()}) {
    const auto parameter = parametersFor(input, 6);
    parameter->inputEpsilon = epsilon;
    Frame().apply(parameter);
    EXPECT_EQ(labelsIn<uint8>(parameter), segmented<uint8>(voxels, 6, 10000));
  }
}

TEST(KMeansHistogramSegmentation, ProgressEndsAt1) {
  const auto typed = typedOperator<uint8, uint16>();
  typed->apply(parametersFor(volumeOf<uint8>({4, 4, 4}, scanLike<uint8>(64, 0, 255)), 3));
  EXPECT_EQ(typed->getProgress().getProgress(), 1.0);
}

TEST(KMeansHistogramSegmentation, AnAbortLeavesTheOutputUnsetAndTheNextRunIsComplete) {
  const std::vector<uint16> voxels = scanLike<uint16>(200000, 0, 65535);
  std::vector<uint16> noise = voxels;
  std::mt19937 random(3);
  for (uint16& voxel : noise) {
    voxel = static_cast<uint16>(random());
  }
  const auto typed = typedOperator<uint16, uint16>();
  const auto parameter = parametersFor(volumeOf<uint16>({100, 40, 50}, noise), 4000);
  double seen = 0.0;
  std::thread aborting([&] {
    // At two thirds the extremes and the histogram are done; the clustering that follows takes by far the longest.
    while ((seen = typed->getProgress().getProgress()) < 0.66) {
      std::this_thread::yield();
    }
    typed->abort();
  });
  typed->apply(parameter);
  aborting.join();
  EXPECT_TRUE(parameter->outputLabelVolume.value() == nullptr);
  EXPECT_LT(seen, 1.0);

  parameter->inputVolume = volumeOf<uint16>({100, 40, 50}, voxels);
  parameter->inputNumberOfClasses = 3;
  typed->apply(parameter);
  EXPECT_EQ(labelsIn<uint16>(parameter), segmented<uint16>(voxels, 3));
}

TEST(KMeansHistogramSegmentation, HasItsKeysInOrderAndDefaults) {
  const Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 6u);
  EXPECT_EQ(parameter.getKey(0), "inputVolume");
  EXPECT_EQ(parameter.getKey(1), "inputNumberOfClasses");
  EXPECT_EQ(parameter.getKey(2), "inputNumberOfIterations");
  EXPECT_EQ(parameter.getKey(3), "inputEpsilon");
  EXPECT_EQ(parameter.getKey(4), "inputNumberOfThreads");
  EXPECT_EQ(parameter.getKey(5), "outputLabelVolume");
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::KMeansHistogramSegmentation::Parameter");
  EXPECT_EQ(parameter.inputNumberOfClasses.value(), 0u);
  EXPECT_EQ(parameter.inputNumberOfIterations.value(), 0xFFFFFFFFFFFFFFFFu);
  EXPECT_EQ(parameter.inputEpsilon.value(), 0x1p-52);
  EXPECT_EQ(parameter.inputNumberOfThreads.value(), 0);
}

TEST(KMeansHistogramSegmentation, IsRegisteredForFourPairs) {
  int registered = 0;
  for (const std::string& identifier : Tavi::Factory::getClassFactory().getIdentifiers()) {
    registered += identifier.starts_with("NORV::TaviOperators::KMeansHistogramSegmentation::Operator< ") ? 1 : 0;
  }
  EXPECT_EQ(registered, 4);
}

TEST(KMeansHistogramSegmentationFailures, NumbersOfClassesThatCannotBe) {
  const auto input = volumeOf<uint8>({3, 1, 1}, {1, 2, 3});
  const auto output = volumeOf<uint8>({2, 1, 1}, {8, 9});
  using Failure = IOperator::InvalidParameterObjectException;
  EXPECT_EQ(
      textOf<Failure>([&] { Frame().apply(parametersFor(input, 0, output)); }),
      "NORV::TaviOperators::KMeansHistogramSegmentation::Operator::apply inputNumberOfClasses must be at least 1");
  for (const SizeType classes : {(SizeType{1} << 24) + 1, ~SizeType{0}}) {
    EXPECT_EQ(textOf<Failure>([&] { Frame().apply(parametersFor(input, classes, output)); }),
              "NORV::TaviOperators::KMeansHistogramSegmentation::Operator::apply inputNumberOfClasses must be at most "
              "16777216");
  }
  EXPECT_EQ(voxelsOf(output), (std::vector<uint8>{8, 9}));
}

TEST(KMeansHistogramSegmentationFailures, AVolumeThatIsNull) {
  using Failure = IOperator::InvalidParameterObjectException;
  EXPECT_EQ(textOf<Failure>([&] { Frame().apply(parametersFor({}, 3)); }),
            "NORV::TaviOperators::DLL::KMeansHistogramSegmentation::Operator::getOperatorTypeFromParameterObject: "
            "inputVolume is NULL!");
  EXPECT_EQ(textOf<Failure>([&] { typedOperator<uint8, uint8>()->apply(parametersFor({}, 3)); }),
            "NORV::TaviOperators::KMeansHistogramSegmentation::Operator::apply inputVolume is NULL");
}

TEST(KMeansHistogramSegmentationFailures, AParameterObjectOfAnotherClass) {
  const SmartPointer<IComposite> wrong(new Data<uint8>(1));
  using Failure = IOperator::InvalidParameterObjectException;
  EXPECT_EQ(
      textOf<Failure>([&] { Frame().apply(wrong); }),
      "NORV::TaviOperators::DLL::KMeansHistogramSegmentation::Operator::getOperatorTypeFromParameterObject: invalid "
      "parameter object!");
  EXPECT_EQ(textOf<Failure>([&] { typedOperator<uint8, uint16>()->apply(wrong); }),
            "NORV::TaviOperators::KMeansHistogramSegmentation::Operator< NORV::Tavi::Volume< NORV::uint8 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::uint16 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator > >::apply parameter is NULL");
}

TEST(KMeansHistogramSegmentationFailures, VolumesOfAnotherType) {
  const auto bytes = makeVolume<uint8>({1, 1, 1});
  const auto floats = makeVolume<float32>({1, 1, 1});
  EXPECT_EQ(textOf<std::invalid_argument>([&] { Frame().apply(parametersFor(bytes, 3, floats)); }),
            "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
            "NORV::TaviOperators::KMeansHistogramSegmentation::Operator< NORV::Tavi::Volume< NORV::uint8 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator >, NORV::Tavi::Volume< NORV::float32 , "
            "NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
  const auto twice = typedOperator<uint8, uint16>();
  EXPECT_EQ(textOf<IOperator::InvalidParameterObjectException>([&] { twice->apply(parametersFor(bytes, 3, bytes)); }),
            "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(HistogramKMeans, TheSearchFindsWhatTheScanFinds) {
  std::mt19937_64 random(11);
  for (int round = 0; round < 300; ++round) {
    std::vector<double> centres(1 + random() % 60);
    for (double& centre : centres) {
      // Many ties: among equal centres, in the middle between two, and by rounding of far distances.
      centre = static_cast<double>(random() % 40) / 2.0 + static_cast<double>(random() % 3) * 0x1p-51;
    }
    std::sort(centres.begin(), centres.end());
    for (int i = -4; i < 100; ++i) {
      const double value = round % 2 == 0 ? i / 4.0 : 1000.0 * i;
      ASSERT_EQ(Impl::nearestInSorted(centres, value), Impl::nearestByScan(centres, value)) << value;
    }
  }
}
