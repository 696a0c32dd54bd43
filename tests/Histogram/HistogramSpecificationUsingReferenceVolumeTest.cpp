#include <DLL/HistogramSpecificationUsingReferenceVolume.hpp>
#include <HistogramSpecificationUsingReferenceVolume.hpp>
#include <Impl/Frame/Instances.hpp>
#include <Tavi/ClassFactory.hpp>

#include <Histogram/Volumes.hpp>
#include <gtest/gtest.h>
#include <omp.h>

#include <cmath>
#include <string>
#include <vector>

using namespace NORV;
using namespace NORV::HistogramTests;
using Tavi::IOperator;
using Tavi::IVolume;
using Tavi::Persistence::Data;
using Tavi::Persistence::IComposite;
using TaviOperators::HistogramSpecificationUsingReferenceVolume::Parameter;
using Frame = TaviOperators::DLL::HistogramSpecificationUsingReferenceVolume::Operator;
namespace Impl = TaviOperators::Impl;
using VoxelTypes = Impl::TypeList<uint8, uint16>;

namespace {

SmartPointer<Parameter> parametersFor(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& reference,
                                      const SmartPointer<IVolume>& output = {}) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = input;
  parameter->inputVolumeReference = reference;
  parameter->outputVolume = output;
  return parameter;
}

template <class T>
std::string identifier() {
  return std::string(
             "NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume::Operator< NORV::Tavi::Volume< ") +
         Tavi::typeName<T> + " , NORV::Tavi::Allocator::SingleBlockAllocator > >";
}
template <class T>
SmartPointer<IOperator> typedOperator() {
  return SmartPointer<IOperator>(Tavi::Factory::getClassFactory().createInstance(identifier<T>()));
}

template <class T>
std::vector<double> distribution(const std::vector<T>& voxels) {
  std::vector<uint64> bins(SizeType{1} << (8 * sizeof(T)));
  for (const T v : voxels) {
    ++bins[v];
  }
  std::vector<double> cdf(bins.size());
  uint64 sum = 0;
  for (SizeType i = 0; i < bins.size(); ++i) {
    sum += bins[i];
    cdf[i] = static_cast<double>(sum) / static_cast<double>(voxels.size());
  }
  return cdf;
}

/// The bisection as the rule tells it, step by step.
int search(const std::vector<double>& cdfRef, double t) {
  int lo = 0, hi = static_cast<int>(cdfRef.size()) - 1, mid = (static_cast<int>(cdfRef.size()) - 1) / 2;
  bool found = false;
  while (!found) {
    if (lo > hi) {
      break;
    }
    mid = (lo + hi) / 2;
    if (lo + hi < 2) {
      break;
    }
    if (std::fabs(t - cdfRef.at(static_cast<std::size_t>(mid))) < 1e-8) {
      if (std::fabs(t - cdfRef.at(static_cast<std::size_t>(mid - 1))) < 1e-8) {
        hi = mid - 1;
        continue;
      }
      found = true;
    } else if (cdfRef.at(static_cast<std::size_t>(mid)) > t) {
      hi = mid - 1;
    } else {
      lo = mid + 1;
    }
  }
  return mid;
}

template <class T>
std::vector<T> specified(const std::vector<T>& voxels, const std::vector<T>& reference) {
  const std::vector<double> cdfIn = distribution(voxels), cdfRef = distribution(reference);
  std::vector<T> result;
  for (const T v : voxels) {
    result.push_back(static_cast<T>(search(cdfRef, cdfIn[v])));
  }
  return result;
}

}  // namespace

TEST(HistogramSpecification, FollowsTheReferenceInEveryView) {
  Impl::forEachType(VoxelTypes(), []<class T>() {
    const Dimension<SizeType> extents(11, 7, 6), other(5, 9, 4);
    const int64 high = sizeof(T) == 1 ? 255 : 65535;
    const std::vector<T> voxels = scanLike<T>(extents.size(), 0, high, 3);
    const std::vector<T> references[] = {scanLike<T>(other.size(), high / 3, high, 4),
                                         scanLike<T>(other.size(), 0, 12, 5),
                                         std::vector<T>(other.size(), static_cast<T>(high))};
    for (const auto& reference : references) {
      const std::vector<T> expected = specified(voxels, reference);
      for (std::size_t i = 0; i < layouts.size(); ++i) {
        SCOPED_TRACE(std::string(Tavi::typeName<T>) + " " + layouts[i].name);
        const auto input = volumeOf(extents, voxels, layouts[i]);
        const auto output = makeVolume<T>(extents, layouts[(i + 2) % layouts.size()]);
        const auto parameter = parametersFor(input, volumeOf(other, reference, layouts[5 - i]), output);
        omp_set_num_threads(static_cast<int>(1 + 2 * i));
        Frame().apply(parameter);
        EXPECT_TRUE(parameter->outputVolume.value() == output);
        EXPECT_EQ(voxelsOf(output), expected);
      }
    }
  });
  omp_set_num_threads(omp_get_num_procs());
}

TEST(HistogramSpecification, EqualVolumesGiveThemselvesUpToTheFirstIndexOfAPlateau) {
  // Values that occur begin a plateau of the cumulative curve, so each is found as itself.
  const std::vector<uint8> voxels{10, 20, 20, 30, 200, 200, 200, 255};
  const auto volume = volumeOf<uint8>({8, 1, 1}, voxels);
  const auto parameter = parametersFor(volume, volumeOf<uint8>({8, 1, 1}, voxels));
  Frame().apply(parameter);
  const VolumePtr<uint8> output{SmartPointer<Volume<uint8>>(parameter->outputVolume.value())};
  ASSERT_TRUE(output != nullptr);
  EXPECT_EQ(voxelsOf(output), voxels);
}

TEST(HistogramSpecification, MakesAnOutputOrResizesTheGivenOne) {
  const std::vector<uint16> voxels = scanLike<uint16>(4 * 3 * 2, 0, 999);
  const auto input = volumeOf<uint16>({4, 3, 2}, voxels);
  const auto given = makeVolume<uint16>({9, 1, 1});
  Frame().apply(parametersFor(input, input, given));
  EXPECT_EQ(voxelsOf(given), specified(voxels, voxels));
  const auto parameter = parametersFor(input, input);
  Frame().apply(parameter);
  EXPECT_EQ(voxelsOf(VolumePtr<uint16>(SmartPointer<Volume<uint16>>(parameter->outputVolume.value()))),
            specified(voxels, voxels));
}

TEST(HistogramSpecification, TheOutputMayBeTheInputOrTheReference) {
  const std::vector<uint8> voxels = scanLike<uint8>(6 * 5 * 4, 0, 255), other = scanLike<uint8>(7, 30, 90);
  const auto input = volumeOf<uint8>({6, 5, 4}, voxels);
  const auto reference = volumeOf<uint8>({7, 1, 1}, other);
  const auto expected = specified(voxels, other);
  Frame().apply(parametersFor(input, reference, reference));
  EXPECT_EQ(voxelsOf(reference), expected);
  Frame().apply(parametersFor(input, volumeOf<uint8>({7, 1, 1}, other), input));
  EXPECT_EQ(voxelsOf(input), expected);
}

TEST(HistogramSpecification, AnEmptyVolumeIsNoFailure) {
  const VolumePtr<uint8> empty(new Volume<uint8>);
  const std::vector<uint8> voxels{1, 2, 200};
  const auto output = makeVolume<uint8>({3, 1, 1});
  Frame().apply(parametersFor(volumeOf<uint8>({3, 1, 1}, voxels), empty, output));
  EXPECT_EQ(voxelsOf(output), specified(voxels, {}));
  Frame().apply(parametersFor(empty, volumeOf<uint8>({3, 1, 1}, voxels), output));
  EXPECT_EQ(output->getSize(), 0u);
}

TEST(HistogramSpecification, ItsProgressEndsAt1) {
  const auto volume = volumeOf<uint8>({4, 4, 4}, scanLike<uint8>(64, 0, 255));
  const auto typed = typedOperator<uint8>();
  EXPECT_EQ(typed->getProgress().getProgress(), 0.0);
  typed->apply(parametersFor(volume, volume));
  EXPECT_EQ(typed->getProgress().getProgress(), 1.0);
}

TEST(HistogramSpecification, HasItsKeysInOrder) {
  const Parameter parameter;
  ASSERT_EQ(parameter.getNumberOfKeys(), 3u);
  EXPECT_EQ(parameter.getKey(0), "inputVolume");
  EXPECT_EQ(parameter.getKey(1), "inputVolumeReference");
  EXPECT_EQ(parameter.getKey(2), "outputVolume");
  EXPECT_EQ(parameter.getType(), "NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume::Parameter");
}

TEST(HistogramSpecification, IsRegisteredForTwoTypes) {
  Impl::forEachType(Impl::AllVoxelTypes(), []<class T>() {
    EXPECT_EQ(Tavi::Factory::getClassFactory().isRegistered(identifier<T>()), std::is_unsigned_v<T> && sizeof(T) <= 2)
        << Tavi::typeName<T>;
  });
}

TEST(HistogramSpecificationFailures, VolumesThatAreNullOrOfAnotherType) {
  const auto volume = makeVolume<uint8>({1, 1, 1});
  using Failure = IOperator::InvalidParameterObjectException;
  const std::string isNull =
      "NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume::Operator::apply input volume is NULL";
  EXPECT_EQ(textOf<Failure>([&] { Frame().apply(parametersFor(volume, {})); }), isNull);
  EXPECT_EQ(textOf<Failure>([&] { Frame().apply(parametersFor(volume, makeVolume<uint16>({1, 1, 1}))); }), isNull);
  EXPECT_EQ(textOf<Failure>([&] { typedOperator<uint8>()->apply(parametersFor({}, volume)); }), isNull);
  EXPECT_EQ(textOf<Failure>([&] { Frame().apply(parametersFor({}, volume)); }),
            "NORV::TaviOperators::DLL::HistogramSpecificationUsingReferenceVolume::IOperator::"
            "getOperatorTypeFromParameterObject: inputVolume  is NULL!");
  EXPECT_EQ(textOf<Failure>([&] {
              Frame().apply(parametersFor(volume, volume, makeVolume<uint16>({1, 1, 1})));
            }),
            "NORV::TaviOperators::Operator::checkOutputVolume volume is of the wrong type");
}

TEST(HistogramSpecificationFailures, AVoxelTypeWithoutAnInstance) {
  const auto volume = makeVolume<float32>({1, 1, 1});
  EXPECT_EQ(textOf<std::invalid_argument>([&] { Frame().apply(parametersFor(volume, volume)); }),
            "NORV::Tavi::Factory::ClassFactory::createInstance No creationMethod for the identifier "
            "NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume::Operator< NORV::Tavi::Volume< "
            "NORV::float32 , NORV::Tavi::Allocator::SingleBlockAllocator > > is registered");
}

TEST(HistogramSpecificationFailures, AParameterObjectOfAnotherClass) {
  const SmartPointer<IComposite> wrong(new Data<uint8>(1));
  using Failure = IOperator::InvalidParameterObjectException;
  EXPECT_EQ(textOf<Failure>([&] { Frame().apply(wrong); }),
            "NORV::TaviOperators::DLL::HistogramSpecificationUsingReferenceVolume::Operator::"
            "getOperatorTypeFromParameterObject: invalid parameter object!");
  EXPECT_EQ(textOf<Failure>([&] { typedOperator<uint16>()->apply(wrong); }),
            "NORV::TaviOperators::HistogramSpecificationUsingReferenceVolume::Operator::apply");
}
