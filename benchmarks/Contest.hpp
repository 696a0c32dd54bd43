#pragma once

#include <Operator.hpp>
#include <Tavi/Types.hpp>
#include <Tavi/Volume.hpp>

#include <benchmark/benchmark.h>
#include <omp.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

/// Operators beside plain code over the same bytes. All contestants take turns within each iteration, so that a ratio
/// holds also while the machine gets faster or slower; the ratios are reported as counters.
namespace NORV::Benchmarks {

using Tavi::SizeType;
using Tavi::Volume;
using Tavi::VolumePtr;

/// Bytes of the large volumes; the small ones stay in the caches.
inline SizeType largeBytes() {
  const char* mebibytes = std::getenv("TAVI_BENCHMARK_MIB");
  return (mebibytes != nullptr ? std::strtoull(mebibytes, nullptr, 10) : 512) << 20;
}
inline SizeType smallBytes() { return std::min(largeBytes(), SizeType{16} << 20); }

inline std::string describeSize(SizeType bytes) { return std::to_string(bytes >> 20) + "MiB"; }

/// 256 voxels wide and high. Small values that change from voxel to voxel.
template <class T>
VolumePtr<T> makeVolume(SizeType bytes) {
  const VolumePtr<T> volume(
      new Volume<T>(Tavi::Dimension<SizeType>(256, 256, std::max<SizeType>(1, bytes / sizeof(T) / 65536))));
  T* const data = volume->getData();
  const SizeType count = volume->getSize();
#pragma omp parallel for schedule(static)
  for (SizeType i = 0; i < count; ++i) {
    data[i] = static_cast<T>((i * 2654435761u >> 13) % 101);
  }
  return volume;
}

/// Calls `body(begin, end)` on one part of [0, count) per thread.
template <class Body>
void inParts(int threads, SizeType count, const Body& body) {
#pragma omp parallel num_threads(threads)
  {
    const auto part = static_cast<SizeType>(omp_get_thread_num()), parts = static_cast<SizeType>(omp_get_num_threads());
    body(count * part / parts, count * (part + 1) / parts);
  }
}

template <class T>
void plainCopy(int threads, const T* from, T* to, SizeType count) {
  inParts(threads, count,
          [=](SizeType begin, SizeType end) { std::memcpy(to + begin, from + begin, (end - begin) * sizeof(T)); });
}

/// A loop over all bytes that a compiler turns into vector loads and nothing else to speak of.
[[gnu::noinline]] inline uint64 sumOfWords(const uint64* words, SizeType count) {
  uint64 sum = 0;
  for (SizeType i = 0; i < count; ++i) {
    sum += words[i];
  }
  return sum;
}
template <class T>
void plainRead(int threads, const T* from, SizeType count) {
  inParts(threads, count * sizeof(T) / sizeof(uint64), [from](SizeType begin, SizeType end) {
    benchmark::DoNotOptimize(sumOfWords(reinterpret_cast<const uint64*>(from) + begin, end - begin));
  });
}

/// The resident memory of the process: the most since the last `reset`, and now. In mebibytes.
class Memory {
public:
  static void reset() { std::ofstream("/proc/self/clear_refs") << 5; }
  static double peak() { return field("VmHWM:"); }
  static double now() { return field("VmRSS:"); }

private:
  static double field(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string word;
    while (status >> word) {
      if (word == name) {
        double kibibytes = 0;
        status >> kibibytes;
        return kibibytes / 1024;
      }
    }
    return 0;
  }
};

struct Contestant {
  std::string name;
  SizeType bytes;  ///< read and written
  std::function<void()> run;
  std::function<void()> prepare = [] {};  ///< not timed
  SizeType voxels = 0;                    ///< worked on, if their rate is to be reported
};

/// Measures the first contestant and reports what its rate is of those of the others.
inline void contest(benchmark::State& state, const std::vector<Contestant>& contestants) {
  using Clock = std::chrono::steady_clock;
  std::vector<std::vector<double>> seconds(contestants.size());
  const auto turn = [&](std::size_t i) {
    contestants[i].prepare();
    const auto start = Clock::now();
    contestants[i].run();
    return std::chrono::duration<double>(Clock::now() - start).count();
  };
  for (std::size_t i = 1; i < contestants.size(); ++i) {
    turn(i);
  }
  contestants[0].prepare();
  const double before = Memory::now();
  Memory::reset();
  turn(0);
  const double peak = Memory::peak();
  for (auto _ : state) {
    for (std::size_t i = contestants.size(); i-- > 0;) {
      seconds[i].push_back(turn(i));
    }
    state.SetIterationTime(seconds[0].back());
  }
  const auto rate = [&](std::size_t i) {
    auto& times = seconds[i];
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
    return static_cast<double>(contestants[i].bytes) / times[times.size() / 2];
  };
  state.SetBytesProcessed(static_cast<int64_t>(contestants[0].bytes) * static_cast<int64_t>(state.iterations()));
  state.counters["GB/s"] = rate(0) / 1e9;
  for (std::size_t i = 1; i < contestants.size(); ++i) {
    state.counters["of " + contestants[i].name] = rate(0) / rate(i);
  }
  if (contestants[0].voxels != 0) {
    state.counters["voxels"] =
        benchmark::Counter(static_cast<double>(contestants[0].voxels), benchmark::Counter::kIsIterationInvariantRate);
  }
  state.counters["peak MiB"] = peak;
  state.counters["extra MiB"] = peak - before;
}

/// Registers a contest with one thread and with all. `make(threads)` returns the contestants.
template <class Make>
void registerByThreads(const std::string& name, const Make& make) {
  const int all = omp_get_max_threads();
  for (const int threads : all > 1 ? std::vector<int>{1, all} : std::vector<int>{1}) {
    const std::string title = name + "/" + std::to_string(threads) + "T";
    benchmark::RegisterBenchmark(title.c_str(),
                                 [=](benchmark::State& state) {
                                   const int offered = omp_get_max_threads();
                                   omp_set_num_threads(threads);
                                   contest(state, make(threads));
                                   omp_set_num_threads(offered);
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime();
  }
}

/// Registers a contest for large and small volumes, with one thread and with all. `make(bytes, threads)` returns the
/// contestants.
template <class Make>
void registerContest(const std::string& name, const Make& make) {
  std::vector<SizeType> sizes{largeBytes()};
  if (smallBytes() != largeBytes()) {
    sizes.push_back(smallBytes());
  }
  for (const SizeType bytes : sizes) {
    registerByThreads(name + "/" + describeSize(bytes), [=](int threads) { return make(bytes, threads); });
  }
}

}  // namespace NORV::Benchmarks
