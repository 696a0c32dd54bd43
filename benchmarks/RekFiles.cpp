// Reading and writing REK files, each beside the same calls of the C library per slice in a program of its own. The
// counter extra_KiB is the peak of resident memory beyond the voxels.
//
// TAVI_BENCHMARK_MIB sets one size for all, TAVI_BENCHMARK_DIR the folder for the files.

#include <DLL/RekReader.hpp>
#include <DLL/RekWriter.hpp>
#include <RekReader.hpp>
#include <RekWriter.hpp>
#include <Tavi/Volume.hpp>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace NORV;
using Tavi::Dimension;
using Tavi::IVolume;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Volume;
using Tavi::VolumePtr;
using TaviOperators::IComposite;

constexpr SizeType width = 512, height = 512;
constexpr SizeType sliceBytes = width * height * sizeof(uint16);
constexpr SizeType headerBytes = 2048;

/// Memory of the process in KiB: "VmRSS" as it is, "VmHWM" as it was at most since `resetPeak`.
double memory(const std::string& field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.starts_with(field + ":")) {
      return std::strtod(line.c_str() + field.size() + 1, nullptr);
    }
  }
  return 0.0;
}
void resetPeak() { std::ofstream("/proc/self/clear_refs") << 5; }

/// A file name of this process, in memory where the system has a folder for that; removed at the end.
class BenchmarkFile {
public:
  BenchmarkFile() {
    namespace fs = std::filesystem;
    const char* const given = std::getenv("TAVI_BENCHMARK_DIR");
    const fs::path folder = given != nullptr               ? fs::path(given)
                            : fs::is_directory("/dev/shm") ? fs::path("/dev/shm")
                                                           : fs::temp_directory_path();
    _name = (folder / ("tavi-benchmark-" + std::to_string(getpid()) + ".rek")).string();
  }
  BenchmarkFile(const BenchmarkFile&) = delete;
  BenchmarkFile& operator=(const BenchmarkFile&) = delete;
  ~BenchmarkFile() { std::remove(_name.c_str()); }
  const std::string& name() const { return _name; }

private:
  std::string _name;
};

SizeType slicesOf(const benchmark::State& state) { return (static_cast<SizeType>(state.range(0)) << 20) / sliceBytes; }

VolumePtr<uint16> filledVolume(SizeType slices) {
  const VolumePtr<uint16> volume(new Volume<uint16>(Dimension<SizeType>(width, height, slices)));
  for (SizeType i = 0; i < volume->getSize(); ++i) {
    volume->getData()[i] = static_cast<uint16>(i * 7);
  }
  return volume;
}

void writeRek(const std::string& name, const SmartPointer<IVolume>& volume) {
  const SmartPointer<TaviOperators::RekWriter::Parameter> parameter(new TaviOperators::RekWriter::Parameter);
  parameter->inputFilename = name;
  parameter->inputVolume = volume;
  TaviOperators::DLL::RekWriter::Operator().apply(parameter);
}

SmartPointer<IVolume> readRek(const std::string& name, const SmartPointer<IVolume>& volume) {
  const SmartPointer<TaviOperators::RekReader::Parameter> parameter(new TaviOperators::RekReader::Parameter);
  parameter->inputFilename = name;
  parameter->outputVolume = volume;
  TaviOperators::DLL::RekReader::Operator().apply(parameter);
  return parameter->outputVolume.value();
}

void require(bool condition) {
  if (!condition) {
    throw std::runtime_error("the C library did not transfer a slice");
  }
}

void writePlain(const std::string& name, const uint16* voxels, SizeType slices) {
  std::FILE* const file = std::fopen(name.c_str(), "w+b");
  require(file != nullptr);
  const std::vector<char> header(headerBytes);
  require(std::fwrite(header.data(), 1, headerBytes, file) == headerBytes);
  for (SizeType slice = 0; slice < slices; ++slice) {
    require(std::fwrite(voxels + slice * width * height, 1, sliceBytes, file) == sliceBytes);
  }
  require(std::fclose(file) == 0);
}

void readPlain(const std::string& name, uint16* voxels, SizeType slices) {
  std::FILE* const file = std::fopen(name.c_str(), "rb");
  require(file != nullptr);
  std::vector<char> header(headerBytes);
  require(std::fread(header.data(), 1, headerBytes, file) == headerBytes);
  for (SizeType slice = 0; slice < slices; ++slice) {
    require(std::fread(voxels + slice * width * height, 1, sliceBytes, file) == sliceBytes);
  }
  std::fclose(file);
}

/// Times `act`, then runs it once more for its peak memory; `own` bytes of that are voxels that it makes.
template <class Act>
void measure(benchmark::State& state, SizeType slices, SizeType own, const Act& act) {
  for (auto _ : state) {
    act();
  }
  resetPeak();
  const double before = memory("VmRSS");
  act();
  state.counters["extra_KiB"] = memory("VmHWM") - before - static_cast<double>(own >> 10);
  state.SetBytesProcessed(state.iterations() * static_cast<int64>(slices * sliceBytes));
}

void RekWrite(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  measure(state, slicesOf(state), 0, [&] { writeRek(file.name(), volume); });
}
void PlainWrite(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  measure(state, slicesOf(state), 0, [&] { writePlain(file.name(), volume->getData(), slicesOf(state)); });
}

void RekReadIntoVolume(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  writeRek(file.name(), volume);
  measure(state, slicesOf(state), 0, [&] { readRek(file.name(), volume); });
}
void PlainReadIntoVolume(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  writeRek(file.name(), volume);
  measure(state, slicesOf(state), 0, [&] { readPlain(file.name(), volume->getData(), slicesOf(state)); });
}

void RekReadFresh(benchmark::State& state) {
  const BenchmarkFile file;
  const SizeType slices = slicesOf(state);
  writeRek(file.name(), filledVolume(slices));
  measure(state, slices, slices * sliceBytes, [&] { readRek(file.name(), SmartPointer<IVolume>()); });
}
void PlainReadFresh(benchmark::State& state) {
  const BenchmarkFile file;
  const SizeType slices = slicesOf(state);
  writeRek(file.name(), filledVolume(slices));
  measure(state, slices, slices * sliceBytes, [&] {
    void* const voxels = std::malloc(slices * sliceBytes);
    require(voxels != nullptr);
    readPlain(file.name(), static_cast<uint16*>(voxels), slices);
    benchmark::DoNotOptimize(voxels);
    std::free(voxels);
  });
}

/// What moving the bytes costs without a file.
void Memcpy(benchmark::State& state) {
  const SizeType slices = slicesOf(state);
  const auto from = filledVolume(slices), to = filledVolume(slices);
  measure(state, slices, 0, [&] {
    std::memcpy(to->getData(), from->getData(), slices * sliceBytes);
    benchmark::ClobberMemory();
  });
}

/// A view whose slices are not dense: each passes through one temporary slice.
void RekWriteReversedRows(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  volume->setOrientation(Tavi::Orientation(1, 2, 4));
  measure(state, slicesOf(state), 0, [&] { writeRek(file.name(), volume); });
}
void RekReadReversedRows(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  volume->setOrientation(Tavi::Orientation(1, 2, 4));
  writeRek(file.name(), volume);
  measure(state, slicesOf(state), 0, [&] { readRek(file.name(), volume); });
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Unit(benchmark::kMillisecond)->UseRealTime()->ArgName("MiB");
  if (const char* const given = std::getenv("TAVI_BENCHMARK_MIB")) {
    benchmark->Arg(std::max(1L, std::strtol(given, nullptr, 10)));
  } else {
    benchmark->Arg(64)->Arg(512);
  }
}

BENCHMARK(RekWrite)->Apply(sizes);
BENCHMARK(PlainWrite)->Apply(sizes);
BENCHMARK(RekReadIntoVolume)->Apply(sizes);
BENCHMARK(PlainReadIntoVolume)->Apply(sizes);
BENCHMARK(RekReadFresh)->Apply(sizes);
BENCHMARK(PlainReadFresh)->Apply(sizes);
BENCHMARK(Memcpy)->Apply(sizes);
BENCHMARK(RekWriteReversedRows)->Apply(sizes);
BENCHMARK(RekReadReversedRows)->Apply(sizes);

}  // namespace
