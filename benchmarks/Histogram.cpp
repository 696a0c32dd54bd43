// The histogram operators on a volume like a CT scan, beside memcpy over the same bytes. The scan is
// TAVI_BENCHMARK_SCAN, a REK file of uint8 voxels, repeated; without it, or where it cannot be read, its benchmarks are
// skipped, and those on made-up grey values remain.

#include <DLL/HistogramEqualization.hpp>
#include <DLL/HistogramSpecificationUsingReferenceVolume.hpp>
#include <DLL/KMeansHistogramSegmentation.hpp>
#include <HistogramEqualization.hpp>
#include <HistogramSpecificationUsingReferenceVolume.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <KMeansHistogramSegmentation.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/Histogram.hpp>
#include <Tavi/Volume.hpp>

#include <Vectors/TableRule.hpp>
#include <benchmark/benchmark.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

using namespace NORV;
using Tavi::Dimension;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Volume;
using Tavi::VolumePtr;
namespace Dll = TaviOperators::DLL;

namespace {

SizeType voxelsOfVolume() {
  const char* text = std::getenv("TAVI_BENCHMARK_MIB");
  return SizeType{text != nullptr ? std::strtoul(text, nullptr, 10) : 128} << 20;
}

Dimension<SizeType> extents() { return {1024, 64, std::max<SizeType>(voxelsOfVolume() / 65536, 1)}; }

/// The grey values of a scan, or none.
const std::vector<uint8>& scan() {
  static const std::vector<uint8> voxels = [] {
    constexpr std::streamoff headerBytes = 2048;
    const char* name = std::getenv("TAVI_BENCHMARK_SCAN");
    std::ifstream file(name != nullptr ? name : "", std::ios::binary | std::ios::ate);
    const std::streamoff bytes = file ? static_cast<std::streamoff>(file.tellg()) : 0;
    std::vector<uint8> read(static_cast<std::size_t>(std::max<std::streamoff>(bytes - headerBytes, 0)));
    file.seekg(headerBytes);
    file.read(reinterpret_cast<char*>(read.data()), static_cast<std::streamsize>(read.size()));
    return file ? read : std::vector<uint8>();
  }();
  return voxels;
}

/// Wide noise around three levels: no runs, and neighbours are often equal.
const std::vector<uint8>& noise() {
  static const std::vector<uint8> voxels = [] {
    std::vector<uint8> made(8 << 20);
    uint64 random = 88172645463325252U;
    for (std::size_t i = 0; i < made.size(); ++i) {
      random ^= random << 13;
      random ^= random >> 7;
      random ^= random << 17;
      const uint64 level = i / 50 % 3 * 70;
      made[i] = static_cast<uint8>(level + 20 + (random >> 8 & 15) + (random >> 16 & 15));
    }
    return made;
  }();
  return voxels;
}

enum Source { ofScan, ofNoise };

template <class T>
VolumePtr<T> makeInput(Source source) {
  const std::vector<uint8>& voxels = source == ofScan ? scan() : noise();
  const VolumePtr<T> volume(new Volume<T>(extents()));
  const auto size = static_cast<int64>(volume->getSize());
#pragma omp parallel for
  for (int64 i = 0; i < size; ++i) {
    const uint8 voxel = voxels[static_cast<std::size_t>(i) % voxels.size()];
    volume->getData()[i] =
        sizeof(T) == 1 ? static_cast<T>(voxel) : static_cast<T>(voxel * 200 + (source == ofNoise ? i * 7919 % 509 : 0));
  }
  return volume;
}

template <class T, class Run>
void measure(benchmark::State& state, SizeType bytesPerVoxel, const Run& run) {
  const auto source = static_cast<Source>(state.range(0));
  if (source == ofScan && scan().empty()) {
    state.SkipWithError("TAVI_BENCHMARK_SCAN names no REK file of uint8 voxels");
    return;
  }
  const VolumePtr<T> input = makeInput<T>(source);
  const int threads = state.range(1) == 0 ? omp_get_num_procs() : static_cast<int>(state.range(1));
  omp_set_num_threads(threads);
  run(input, threads);  // the first touch of outputs is not measured
  for (auto _ : state) {
    omp_set_num_threads(threads);
    run(input, threads);
  }
  const auto voxels = static_cast<double>(input->getSize());
  state.counters["ns/voxel"] = benchmark::Counter(voxels * static_cast<double>(state.iterations()) / 1e9,
                                                  benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.SetBytesProcessed(state.iterations() * static_cast<int64>(input->getSize() * bytesPerVoxel));
  omp_set_num_threads(omp_get_num_procs());
}

template <class T>
void memoryCopy(benchmark::State& state) {
  const VolumePtr<T> output(new Volume<T>(extents()));
  measure<T>(state, 2 * sizeof(T), [&](const VolumePtr<T>& input, int threads) {
    const SizeType bytes = input->getSize() * sizeof(T);
#pragma omp parallel for num_threads(threads) schedule(static)
    for (int i = 0; i < threads; ++i) {
      const SizeType share = bytes / static_cast<SizeType>(threads);
      const SizeType from = share * static_cast<SizeType>(i);
      std::memcpy(reinterpret_cast<std::byte*>(output->getData()) + from,
                  reinterpret_cast<const std::byte*>(input->getData()) + from, share);
    }
    benchmark::ClobberMemory();
  });
}

template <class T>
void histogram(benchmark::State& state) {
  measure<T>(state, sizeof(T), [](const VolumePtr<T>& input, int) {
    Tavi::Histogram::Histogram<T, uint64> counts;
    counts.add(input);
    benchmark::DoNotOptimize(counts.getVolume()->getData());
  });
}

template <class T>
void equalization(benchmark::State& state) {
  using TaviOperators::HistogramEqualization::Parameter;
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->outputVolume = VolumePtr<T>(new Volume<T>(extents()));
  parameter->inputMinimumThreshold.setValue(T(1));
  parameter->inputMaximumThreshold.setValue(T(0));
  Dll::HistogramEqualization::Operator frame;
  measure<T>(state, 3 * sizeof(T), [&](const VolumePtr<T>& input, int threads) {
    parameter->inputVolume = input;
    parameter->inputNumberOfThreads = threads;
    frame.apply(parameter);
  });
}

template <class T>
void specification(benchmark::State& state) {
  using TaviOperators::HistogramSpecificationUsingReferenceVolume::Parameter;
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->outputVolume = VolumePtr<T>(new Volume<T>(extents()));
  Dll::HistogramSpecificationUsingReferenceVolume::Operator frame;
  measure<T>(state, 4 * sizeof(T), [&](const VolumePtr<T>& input, int) {
    parameter->inputVolume = input;
    parameter->inputVolumeReference = input;
    frame.apply(parameter);
  });
}

/// Third argument: classes.
template <class T>
void kMeans(benchmark::State& state) {
  using TaviOperators::KMeansHistogramSegmentation::Parameter;
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->outputLabelVolume = VolumePtr<T>(new Volume<T>(extents()));
  parameter->inputNumberOfClasses = static_cast<SizeType>(state.range(2));
  Dll::KMeansHistogramSegmentation::Operator frame;
  measure<T>(state, 4 * sizeof(T), [&](const VolumePtr<T>& input, int threads) {
    parameter->inputVolume = input;
    parameter->inputNumberOfThreads = threads;
    frame.apply(parameter);
  });
}

/// Only the last of its steps, by a table with that many steps.
template <class T>
void labelling(benchmark::State& state) {
  const VolumePtr<T> output(new Volume<T>(extents()));
  std::vector<T> table(SizeType{1} << (8 * sizeof(T)));
  const auto steps = static_cast<SizeType>(state.range(2));
  for (SizeType i = 0; i < table.size(); ++i) {
    table[i] = static_cast<T>(1 + i * (steps + 1) / table.size());
  }
  TaviOperators::Impl::Unstoppable self;
  const TaviOperators::Impl::TableRule<T, T> rule(table.data());
  measure<T>(state, 2 * sizeof(T), [&](const VolumePtr<T>& input, int threads) {
    const Volume<T>& constInput = *input;
    TaviOperators::Impl::transformVoxels(self, threads, TaviOperators::Impl::Steps::silent, rule, Tavi::viewOf(*output),
                                         Tavi::viewOf(constInput));
  });
}

void sources(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"source", "threads"})->ArgsProduct({{ofScan, ofNoise}, {1, 0}})->UseRealTime();
}
void sourcesAndClasses(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"source", "threads", "classes"})->ArgsProduct({{ofScan, ofNoise}, {1, 0}, {4, 40}})->UseRealTime();
}

BENCHMARK(memoryCopy<uint8>)->Apply(sources);
BENCHMARK(memoryCopy<uint16>)->Apply(sources);
BENCHMARK(histogram<uint8>)->Apply(sources);
BENCHMARK(histogram<uint16>)->Apply(sources);
BENCHMARK(equalization<uint8>)->Apply(sources);
BENCHMARK(equalization<uint16>)->Apply(sources);
BENCHMARK(specification<uint8>)->Apply(sources);
BENCHMARK(specification<uint16>)->Apply(sources);
BENCHMARK(kMeans<uint8>)->Apply(sourcesAndClasses);
BENCHMARK(kMeans<uint16>)->Apply(sourcesAndClasses);
BENCHMARK(labelling<uint8>)->Apply(sourcesAndClasses);
BENCHMARK(labelling<uint16>)->Apply(sourcesAndClasses);

}  // namespace
