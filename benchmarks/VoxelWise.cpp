// The first voxel-wise operators beside memcpy and a plain vectorised loop over the same bytes with as many threads;
// what a run of a tiny volume costs; and what it costs to load the library.

#include "Contest.hpp"

#include <DLL/ExtremeValueCalculation.hpp>
#include <DLL/Maximum.hpp>
#include <DLL/Saturation.hpp>
#include <Maximum.hpp>
#include <Saturation.hpp>
#include <Tavi/ClassFactory.hpp>
#include <Tavi/Copy.hpp>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

/// Whether the operator writes into a volume that is there, or makes one each time.
enum class Output { reused, fresh };

constexpr const char* describe(Output output) { return output == Output::reused ? "reused" : "fresh"; }

/// The other contestants: memcpy of the input and a plain loop, into memory of the same kind.
template <class T, class Loop>
void addPlain(std::vector<Contestant>& contestants, Output output, const VolumePtr<T>& input, SizeType bytes,
              int threads, const Loop& loop) {
  const auto target = [input, kept = output == Output::reused ? makeVolume<T>(bytes) : VolumePtr<T>()] {
    return kept != nullptr ? kept : VolumePtr<T>(new Volume<T>(input->getDimension()));
  };
  const SizeType count = input->getSize();
  const SizeType loopBytes = contestants[0].bytes;
  contestants.push_back({"memcpy", 2 * count * sizeof(T), [=] {
                           const auto to = target();
                           plainCopy(threads, input->getData(), to->getData(), count);
                         }});
  contestants.push_back({"loop", loopBytes, [=] {
                           const auto to = target();
                           T* const data = to->getData();
                           inParts(threads, count,
                                   [=](SizeType begin, SizeType end) { loop(data + begin, begin, end - begin); });
                         }});
}

template <class T>
[[gnu::noinline]] void clampRow(T* __restrict to, const T* from, SizeType count, T lower, T upper) {
  for (SizeType i = 0; i < count; ++i) {
    to[i] = from[i] >= upper ? upper : lower >= from[i] ? lower : from[i];
  }
}
template <class T>
[[gnu::noinline]] void maximumRow(T* __restrict to, const T* first, const T* second, SizeType count) {
  for (SizeType i = 0; i < count; ++i) {
    to[i] = second[i] > first[i] ? second[i] : first[i];
  }
}
// A compiler would make this loop a call of memcpy.
template <class T>
#ifdef __clang__
__attribute__((noinline, no_builtin("memcpy")))
#else
__attribute__((noinline, optimize("no-tree-loop-distribute-patterns")))
#endif
void copyRow(T* __restrict to, const T* from, SizeType count) {
  for (SizeType i = 0; i < count; ++i) {
    to[i] = from[i];
  }
}

/// How the result of a run is dropped before the next, where each makes its own.
template <class Parameter>
std::function<void()> dropOutput(Output output, const SmartPointer<Parameter>& parameter) {
  return output == Output::reused ? std::function<void()>([] {})
                                  : [=] { parameter->outputVolume = SmartPointer<IVolume>(); };
}

template <class T>
std::vector<Contestant> saturation(Output output, SizeType bytes, int threads) {
  const auto input = makeVolume<T>(bytes);
  const SmartPointer<Saturation::Parameter> parameter(new Saturation::Parameter);
  parameter->inputVolume = input;
  parameter->inputLowerLimit.setValue(T(20));
  parameter->inputUpperLimit.setValue(T(90));
  parameter->inputNumberOfThreads = static_cast<SizeType>(threads);
  if (output == Output::reused) {
    parameter->outputVolume = makeVolume<T>(bytes);
  }
  std::vector<Contestant> contestants{{"Saturation", 2 * input->getSize() * sizeof(T),
                                       [=] { DLL::Saturation::Operator().apply(parameter); },
                                       dropOutput(output, parameter)}};
  addPlain(contestants, output, input, bytes, threads, [input](T* to, SizeType begin, SizeType count) {
    clampRow<T>(to, input->getData() + begin, count, T(20), T(90));
  });
  return contestants;
}

template <class T>
std::vector<Contestant> maximum(SizeType bytes, int threads) {
  const auto first = makeVolume<T>(bytes), second = makeVolume<T>(bytes);
  const SmartPointer<Maximum::Parameter> parameter(new Maximum::Parameter);
  parameter->inputFirstVolume = first;
  parameter->inputSecondVolume = second;
  parameter->inputNumberOfThreads = static_cast<SizeType>(threads);
  parameter->outputVolume = makeVolume<T>(bytes);
  std::vector<Contestant> contestants{
      {"Maximum", 3 * first->getSize() * sizeof(T), [=] { DLL::Maximum::Operator().apply(parameter); }}};
  addPlain(contestants, Output::reused, first, bytes, threads, [=](T* to, SizeType begin, SizeType count) {
    maximumRow<T>(to, first->getData() + begin, second->getData() + begin, count);
  });
  return contestants;
}

template <class T>
std::vector<Contestant> copy(Output output, SizeType bytes, int threads) {
  const auto input = makeVolume<T>(bytes);
  const SmartPointer<Tavi::Copy::Parameter> parameter(new Tavi::Copy::Parameter);
  parameter->inputVolume = input;
  if (output == Output::reused) {
    parameter->outputVolume = makeVolume<T>(bytes);
  }
  const auto op = SmartPointer<IOperator>(new Tavi::Copy::Operator<VolumePtr<T>, VolumePtr<T>>);
  std::vector<Contestant> contestants{
      {"Copy", 2 * input->getSize() * sizeof(T), [=] { op->apply(parameter); }, dropOutput(output, parameter)}};
  addPlain(contestants, output, input, bytes, threads,
           [input](T* to, SizeType begin, SizeType count) { copyRow<T>(to, input->getData() + begin, count); });
  return contestants;
}

template <class T>
void registerAll() {
  const std::string type = std::string("<") + Tavi::typeName<T> + ">/";
  for (const Output output : {Output::reused, Output::fresh}) {
    registerContest("Saturation" + type + describe(output),
                    [output](SizeType bytes, int threads) { return saturation<T>(output, bytes, threads); });
    registerContest("Copy" + type + describe(output),
                    [output](SizeType bytes, int threads) { return copy<T>(output, bytes, threads); });
  }
  registerContest("Maximum" + type + describe(Output::reused),
                  [](SizeType bytes, int threads) { return maximum<T>(bytes, threads); });
}

/// One run of a frame that a host keeps, on a single voxel.
void tinyVolume(benchmark::State& state) {
  const SmartPointer<Saturation::Parameter> parameter(new Saturation::Parameter);
  parameter->inputVolume = VolumePtr<uint8>(new Volume<uint8>(Dimension<SizeType>(1, 1, 1)));
  parameter->inputLowerLimit.setValue(uint8{1});
  parameter->inputUpperLimit.setValue(uint8{2});
  DLL::Saturation::Operator frame;
  for (auto _ : state) {
    frame.apply(parameter);
  }
}

void makeFrame(benchmark::State& state) {
  for (auto _ : state) {
    DLL::Saturation::Operator frame;
    benchmark::DoNotOptimize(&frame);
  }
}

/// The whole life of a process that links the library and uses none of it: at least what loading costs.
void loadLibrary(benchmark::State& state) {
  std::string program = "/proc/self/exe", argument = "--benchmark_filter=^$", output = "--benchmark_list_tests";
  std::vector<char*> arguments{program.data(), argument.data(), output.data(), nullptr};
  for (auto _ : state) {
    pid_t child = 0;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", 1, 0);
    int status = -1;
    if (posix_spawn(&child, program.c_str(), &actions, nullptr, arguments.data(), environ) != 0 ||
        waitpid(child, &status, 0) != child) {
      state.SkipWithError("the process did not start");
      break;
    }
    posix_spawn_file_actions_destroy(&actions);
  }
}

[[maybe_unused]] const bool registered = [] {
  registerAll<uint8>();
  registerAll<uint16>();
  registerAll<float32>();
  benchmark::RegisterBenchmark("Saturation of one voxel", tinyVolume)->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("Making a frame", makeFrame)->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark("A process that loads the library", loadLibrary)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  return true;
}();

}  // namespace
