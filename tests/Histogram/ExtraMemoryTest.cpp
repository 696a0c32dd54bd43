#include <DLL/HistogramEqualization.hpp>
#include <DLL/HistogramSpecificationUsingReferenceVolume.hpp>
#include <DLL/KMeansHistogramSegmentation.hpp>
#include <HistogramEqualization.hpp>
#include <HistogramSpecificationUsingReferenceVolume.hpp>
#include <KMeansHistogramSegmentation.hpp>
#include <Tavi/Histogram.hpp>
#include <support/FailingAllocation.hpp>

#include <Histogram/Volumes.hpp>
#include <gtest/gtest.h>
#include <omp.h>

#include <cstddef>
#include <numeric>
#include <vector>

using namespace NORV;
using namespace NORV::HistogramTests;
namespace Dll = TaviOperators::DLL;

namespace {

constexpr std::ptrdiff_t KiB = 1024;
constexpr std::ptrdiff_t slack = 24 * KiB;  // parameter objects, views, texts

constexpr std::ptrdiff_t threads = 2;

template <class T>
VolumePtr<T> someVolume() {
  return volumeOf<T>({128, 128, 96}, scanLike<T>(128 * 128 * 96, 0, sizeof(T) == 1 ? 255 : 65535));
}

/// Of the counters of one thread.
template <class T>
constexpr std::ptrdiff_t counter = sizeof(T) == 1 ? 4 * KiB : 512 * KiB;

template <class T>
void expectMemoryOfAdd() {
  const auto volume = someVolume<T>();
  Tavi::Histogram::Histogram<T, uint64> histogram;
  const auto extra = Tests::extraBytesOf([&] { histogram.add(volume); });
  EXPECT_LE(extra, (threads + 1) * counter<T> + slack);
  EXPECT_GE(extra, counter<T>);
}

template <class T>
void expectMemoryOfSpecification() {
  using TaviOperators::HistogramSpecificationUsingReferenceVolume::Parameter;
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = someVolume<T>();
  parameter->inputVolumeReference = parameter->inputVolume.value();
  parameter->outputVolume = makeVolume<T>({128, 128, 96});
  Dll::HistogramSpecificationUsingReferenceVolume::Operator frame;
  constexpr std::ptrdiff_t values = std::ptrdiff_t{1} << (8 * sizeof(T));
  EXPECT_LE(Tests::extraBytesOf([&] { frame.apply(parameter); }), 24 * values + (threads + 1) * counter<T> + slack);
}

template <class In, class Out>
void expectMemoryOfKMeans(SizeType classes) {
  using TaviOperators::KMeansHistogramSegmentation::Parameter;
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = someVolume<In>();
  parameter->outputLabelVolume = makeVolume<Out>({128, 128, 96});
  parameter->inputNumberOfClasses = classes;
  parameter->inputNumberOfIterations = 3;
  parameter->inputNumberOfThreads = static_cast<int32>(threads);
  Dll::KMeansHistogramSegmentation::Operator frame;
  EXPECT_LE(Tests::extraBytesOf([&] { frame.apply(parameter); }),
            24 * static_cast<std::ptrdiff_t>(classes) + 1536 * KiB + threads * counter<In> + slack);
}

template <class T>
std::ptrdiff_t memoryOfEqualization(const VolumePtr<T>& volume, T low, T high, std::ptrdiff_t askedThreads = threads) {
  using TaviOperators::HistogramEqualization::Parameter;
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputVolume = volume;
  parameter->outputVolume = makeVolume<T>({128, 128, 96});
  parameter->inputMinimumThreshold.setValue(low);
  parameter->inputMaximumThreshold.setValue(high);
  parameter->inputNumberOfThreads = static_cast<int32>(askedThreads);
  Dll::HistogramEqualization::Operator frame;
  return Tests::extraBytesOf([&] { frame.apply(parameter); });
}

class ExtraMemory : public testing::Test {
protected:
  void SetUp() override {
    SKIP_UNLESS_ALLOCATIONS_CAN_FAIL();
    omp_set_num_threads(static_cast<int>(threads));
  }
  void TearDown() override { omp_set_num_threads(omp_get_num_procs()); }
};

}  // namespace

TEST_F(ExtraMemory, OfAHistogram) {
  expectMemoryOfAdd<uint8>();
  expectMemoryOfAdd<uint16>();
}

TEST_F(ExtraMemory, OfHistogramSpecification) {
  expectMemoryOfSpecification<uint8>();
  expectMemoryOfSpecification<uint16>();
}

TEST_F(ExtraMemory, OfKMeansHistogramSegmentation) {
  expectMemoryOfKMeans<uint8, uint8>(3);
  expectMemoryOfKMeans<uint16, uint16>(3);
  expectMemoryOfKMeans<uint16, uint8>(100000);
}

TEST_F(ExtraMemory, OfHistogramEqualization) {
  EXPECT_LE(memoryOfEqualization<uint8>(someVolume<uint8>(), 1, 0), threads * counter<uint8> + slack);
  EXPECT_LE(memoryOfEqualization<int16>(someVolume<int16>(), -5, 0), threads * counter<int16> + 768 * KiB + slack);
  EXPECT_LE(memoryOfEqualization<uint32>(someVolume<uint32>(), 1000, 100999), threads * 400 * KiB + slack);
}

// 2^32 bins, of which a table would take 16 GiB. How many voxels the last thread counts depends on the scheduler: a
// single thread counts all of them, which needs the most memory.
TEST_F(ExtraMemory, OfHistogramEqualizationOverAWideRange) {
  constexpr std::ptrdiff_t voxels = std::ptrdiff_t{128} * 128 * 96;
  const auto scan = someVolume<uint32>();
  std::vector<uint32> ascending(voxels);
  std::iota(ascending.begin(), ascending.end(), uint32{7});
  const auto ramp = volumeOf<uint32>({128, 128, 96}, ascending);
  for (const std::ptrdiff_t team : {std::ptrdiff_t{1}, threads}) {
    EXPECT_LE(memoryOfEqualization<uint32>(scan, 0, 0, team), 8 * voxels + slack) << team << " threads";
    EXPECT_LE(memoryOfEqualization<uint32>(ramp, 0, 0, team), 8 * voxels + slack) << team << " threads";
  }
}
