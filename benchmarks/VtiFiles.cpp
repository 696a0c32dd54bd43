// Writing and reading VTI files in a memory file system, beside the same bytes written and read as they are, and base64
// and zlib alone.
//
// TAVI_BENCHMARK_SIDE sets the side of the cube of voxels, TAVI_BENCHMARK_DIR the folder for the files.

#include <DLL/VtiReader.hpp>
#include <DLL/VtiWriter.hpp>
#include <Tavi/Volume.hpp>
#include <VtiReader.hpp>
#include <VtiTypeReader.hpp>
#include <VtiWriter.hpp>

#include <Files/Vti/Base64.hpp>
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <zlib.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
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
namespace Base64 = TaviOperators::Impl::Base64;

SizeType side() {
  const char* const given = std::getenv("TAVI_BENCHMARK_SIDE");
  return given != nullptr ? std::strtoull(given, nullptr, 10) : 256;
}

/// A file name of this process, in memory where the system has a folder for that; removed at the end.
class BenchmarkFile {
public:
  BenchmarkFile() {
    namespace fs = std::filesystem;
    const char* const given = std::getenv("TAVI_BENCHMARK_DIR");
    const fs::path folder = given != nullptr               ? fs::path(given)
                            : fs::is_directory("/dev/shm") ? fs::path("/dev/shm")
                                                           : fs::temp_directory_path();
    _name = (folder / ("tavi-benchmark-" + std::to_string(getpid()) + ".vti")).string();
  }
  BenchmarkFile(const BenchmarkFile&) = delete;
  BenchmarkFile& operator=(const BenchmarkFile&) = delete;
  ~BenchmarkFile() { std::remove(_name.c_str()); }
  const std::string& name() const { return _name; }

private:
  std::string _name;
};

/// A ball with a texture, so that there is something to compress.
template <class T>
VolumePtr<T> testVolume() {
  const SizeType n = side();
  const VolumePtr<T> volume(new Volume<T>(Dimension<SizeType>(n, n, n)));
  T* voxel = volume->getData();
  uint32 random = 1;
  for (SizeType z = 0; z < n; ++z) {
    for (SizeType y = 0; y < n; ++y) {
      for (SizeType x = 0; x < n; ++x) {
        const auto square = [n](SizeType i) {
          const double from = 2.0 * static_cast<double>(i) / static_cast<double>(n) - 1;
          return from * from;
        };
        random = random * 1664525u + 1013904223u;
        const bool isInside = square(x) + square(y) + square(z) < 0.7;
        *voxel++ = static_cast<T>((isInside ? 90u : 5u) + (random >> 28));
      }
    }
  }
  return volume;
}

void writeVti(const std::string& name, const SmartPointer<IVolume>& volume, const char* format, bool isCompressed) {
  const SmartPointer<TaviOperators::VtiWriter::Parameter> parameter(new TaviOperators::VtiWriter::Parameter);
  parameter->inputFilename = name;
  parameter->inputVolume = volume;
  parameter->inputFormat = std::string(format);
  parameter->inputCompression = std::string(isCompressed ? "vtkZLibDataCompressor" : "");
  TaviOperators::DLL::VtiWriter::Operator().apply(parameter);
}

void readVti(const std::string& name, const SmartPointer<IVolume>& volume) {
  const SmartPointer<TaviOperators::VtiReader::Parameter> parameter(new TaviOperators::VtiReader::Parameter);
  parameter->inputFilename = name;
  parameter->outputVolume = volume;
  TaviOperators::DLL::VtiReader::Operator().apply(parameter);
}

template <class T, class Act>
void measure(benchmark::State& state, const Act& act) {
  for (auto _ : state) {
    act();
  }
  const auto voxels = static_cast<int64>(side() * side() * side());
  state.SetBytesProcessed(state.iterations() * voxels * static_cast<int64>(sizeof(T)));
  state.counters["ns_per_voxel"] = benchmark::Counter(static_cast<double>(state.iterations() * voxels) * 1e-9,
                                                      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

template <class T>
void Write(benchmark::State& state, const char* format, bool isCompressed) {
  const BenchmarkFile file;
  const auto volume = testVolume<T>();
  measure<T>(state, [&] { writeVti(file.name(), volume, format, isCompressed); });
}

template <class T>
void Read(benchmark::State& state, const char* format, bool isCompressed) {
  const BenchmarkFile file;
  const auto volume = testVolume<T>();
  writeVti(file.name(), volume, format, isCompressed);
  measure<T>(state, [&] { readVti(file.name(), volume); });
}

template <class T>
void ReadFresh(benchmark::State& state, const char* format, bool isCompressed) {
  const BenchmarkFile file;
  writeVti(file.name(), testVolume<T>(), format, isCompressed);
  measure<T>(state, [&] { readVti(file.name(), SmartPointer<IVolume>()); });
}

void require(bool condition) {
  if (!condition) {
    throw std::runtime_error("the C library failed");
  }
}

/// As many bytes as the base64 file has, without a thought.
template <class T>
void PlainWrite(benchmark::State& state) {
  const BenchmarkFile file;
  const std::vector<char> bytes(Base64::encodedSize(side() * side() * side() * sizeof(T)), 'A');
  measure<T>(state, [&] {
    std::FILE* const out = std::fopen(file.name().c_str(), "w+b");
    require(out != nullptr);
    std::setvbuf(out, nullptr, _IONBF, 0);
    require(std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size());
    require(std::fclose(out) == 0);
  });
}
template <class T>
void PlainRead(benchmark::State& state) {
  const BenchmarkFile file;
  std::vector<char> bytes(Base64::encodedSize(side() * side() * side() * sizeof(T)), 'A');
  std::FILE* const out = std::fopen(file.name().c_str(), "w+b");
  require(std::fwrite(bytes.data(), 1, bytes.size(), out) == bytes.size());
  measure<T>(state, [&] {
    std::rewind(out);
    require(std::fread(bytes.data(), 1, bytes.size(), out) == bytes.size());
  });
  std::fclose(out);
}

/// The slices compressed and decompressed by one thread without a file.
void PlainDeflate(benchmark::State& state) {
  const auto volume = testVolume<uint8>();
  const SizeType slice = side() * side();
  std::vector<Bytef> stream(compressBound(slice));
  measure<uint8>(state, [&] {
    for (SizeType z = 0; z < side(); ++z) {
      uLongf length = stream.size();
      require(compress2(stream.data(), &length, volume->getData() + z * slice, slice, -1) == Z_OK);
    }
  });
}
void PlainInflate(benchmark::State& state) {
  const auto volume = testVolume<uint8>();
  const SizeType slice = side() * side();
  std::vector<Bytef> stream(compressBound(slice)), bytes(slice);
  uLongf length = stream.size();
  require(compress2(stream.data(), &length, volume->getData() + side() / 2 * slice, slice, -1) == Z_OK);
  measure<uint8>(state, [&] {
    for (SizeType z = 0; z < side(); ++z) {
      uLongf inflated = slice;
      require(uncompress(bytes.data(), &inflated, stream.data(), length) == Z_OK);
    }
  });
}

/// One thread, in the cache; bytes of the text.
void Encode(benchmark::State& state) {
  const std::vector<char> bytes(96 << 10, 'x');
  std::vector<char> text(Base64::encodedSize(bytes.size()));
  for (auto _ : state) {
    Base64::encodeQuanta(bytes.data(), bytes.size() / 3, text.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64>(text.size()));
}
void Decode(benchmark::State& state) {
  const std::vector<char> text(128 << 10, 'x');
  std::vector<char> bytes(text.size() / 4 * 3);
  for (auto _ : state) {
    Base64::decodeQuanta(text.data(), text.size() / 4, bytes.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64>(text.size()));
}
void Measure(benchmark::State& state) {
  const std::vector<char> text(128 << 10, 'x');
  for (auto _ : state) {
    benchmark::DoNotOptimize(Base64::measure(text.data(), text.size()));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64>(text.size()));
}

/// Does not depend on the size of the file.
void TypeReader(benchmark::State& state) {
  const BenchmarkFile file;
  writeVti(file.name(), testVolume<uint8>(), "appended", false);
  const auto reader = SmartPointer<Tavi::IOperator>(
      Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::VtiTypeReader::Operator"));
  const SmartPointer<TaviOperators::VtiTypeReader::Parameter> parameter(new TaviOperators::VtiTypeReader::Parameter);
  parameter->inputFilename = file.name();
  for (auto _ : state) {
    reader->apply(parameter);
  }
}

BENCHMARK(Encode);
BENCHMARK(Decode);
BENCHMARK(Measure);
BENCHMARK(TypeReader)->Unit(benchmark::kMicrosecond);

template <class Act>
void add(const std::string& name, const Act& act) {
  benchmark::RegisterBenchmark(name.c_str(), act)->Unit(benchmark::kMillisecond)->UseRealTime();
}

template <class T>
void addForms(const std::string& type) {
  add("PlainWrite/" + type, PlainWrite<T>);
  add("Write/appended/" + type, [](benchmark::State& state) { Write<T>(state, "appended", false); });
  add("PlainRead/" + type, PlainRead<T>);
  add("Read/appended/" + type, [](benchmark::State& state) { Read<T>(state, "appended", false); });
  add("ReadFresh/appended/" + type, [](benchmark::State& state) { ReadFresh<T>(state, "appended", false); });
}

[[maybe_unused]] const bool isRegistered = [] {
  addForms<uint8>("uint8");
  addForms<uint16>("uint16");
  addForms<float32>("float32");
  add("PlainDeflate/uint8", PlainDeflate);
  add("Write/zlib/uint8", [](benchmark::State& state) { Write<uint8>(state, "appended", true); });
  add("PlainInflate/uint8", PlainInflate);
  add("Read/zlib/uint8", [](benchmark::State& state) { Read<uint8>(state, "appended", true); });
  add("Write/ascii/uint8", [](benchmark::State& state) { Write<uint8>(state, "ascii", false); });
  add("Read/ascii/uint8", [](benchmark::State& state) { Read<uint8>(state, "ascii", false); });
  add("Write/ascii/float32", [](benchmark::State& state) { Write<float32>(state, "ascii", false); });
  add("Read/ascii/float32", [](benchmark::State& state) { Read<float32>(state, "ascii", false); });
  return true;
}();

}  // namespace
