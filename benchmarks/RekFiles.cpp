// Reading and writing REK files, each beside the same calls of the C library per slice in a program of its own. The
// counter extra_KiB is the peak of resident memory beyond the voxels. The compressed forms compete with zlib and the
// LZ4 library, called directly on the same bytes, in the same run.
//
// TAVI_BENCHMARK_MIB sets one size for all, TAVI_BENCHMARK_DIR the folder for the files.

#include "Contest.hpp"

#include <DLL/RekGzReader.hpp>
#include <DLL/RekGzWriter.hpp>
#include <DLL/RekLz4Reader.hpp>
#include <DLL/RekLz4Writer.hpp>
#include <DLL/RekReader.hpp>
#include <DLL/RekWriter.hpp>
#include <RekGzReader.hpp>
#include <RekGzWriter.hpp>
#include <RekLz4Reader.hpp>
#include <RekLz4Writer.hpp>
#include <RekReader.hpp>
#include <RekWriter.hpp>
#include <Tavi/Volume.hpp>

#include <benchmark/benchmark.h>
#include <lz4frame.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
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

/// Runs an operator that has a file name and a volume.
template <class Frame, class Parameter>
SmartPointer<Parameter> runOn(const std::string& name, const char* key, const SmartPointer<IVolume>& volume) {
  const SmartPointer<Parameter> parameter(new Parameter);
  parameter->inputFilename = name;
  parameter->setValue(key, SmartPointer<IComposite>(volume));
  Frame().apply(parameter);
  return parameter;
}

/// Something round with noise on it, which codecs treat as they do a scan.
VolumePtr<uint16> scannedVolume(SizeType slices) {
  const VolumePtr<uint16> volume(new Volume<uint16>(Dimension<SizeType>(width, height, slices)));
  uint32 noise = 1;
  uint16* voxel = volume->getData();
  for (SizeType z = 0; z < slices; ++z) {
    for (SizeType y = 0; y < height; ++y) {
      for (SizeType x = 0; x < width; ++x) {
        noise = noise * 1664525u + 1013904223u;
        const double dx = static_cast<double>(x) - 256, dy = static_cast<double>(y) - 256;
        const bool inside = dx * dx + dy * dy < 180.0 * 180.0;
        *voxel++ = static_cast<uint16>(inside ? 20000u + (noise >> 26) * 4u : noise >> 31);
      }
    }
  }
  return volume;
}

void writeGzip(const std::string& name, const VolumePtr<uint16>& volume) {
  const gzFile file = gzopen(name.c_str(), "w");
  const std::vector<char> header(headerBytes);
  require(gzfwrite(header.data(), 1, headerBytes, file) == headerBytes);
  require(gzfwrite(volume->getData(), sizeof(uint16), volume->getSize(), file) == volume->getSize());
  require(gzclose(file) == Z_OK);
}
void readGzip(const std::string& name, const VolumePtr<uint16>& volume) {
  const gzFile file = gzopen(name.c_str(), "r");
  std::vector<char> header(headerBytes);
  require(gzfread(header.data(), 1, headerBytes, file) == headerBytes);
  require(gzfread(volume->getData(), sizeof(uint16), volume->getSize(), file) == volume->getSize());
  gzclose(file);
}

void writeLz4(const std::string& name, const VolumePtr<uint16>& volume) {
  std::FILE* const file = std::fopen(name.c_str(), "w+b");
  LZ4F_preferences_t format{};
  format.frameInfo.blockSizeID = LZ4F_max4MB;
  format.frameInfo.blockMode = LZ4F_blockIndependent;
  format.frameInfo.contentChecksumFlag = LZ4F_contentChecksumEnabled;
  format.compressionLevel = 1;
  format.autoFlush = 1;
  LZ4F_cctx* context = nullptr;
  LZ4F_createCompressionContext(&context, LZ4F_VERSION);
  std::vector<char> frame(LZ4F_compressFrameBound(sliceBytes, &format));
  const auto put = [&](const void* bytes, SizeType count) {
    std::size_t size = LZ4F_compressBegin(context, frame.data(), frame.size(), &format);
    size += LZ4F_compressUpdate(context, frame.data() + size, frame.size() - size, bytes, count, nullptr);
    size += LZ4F_compressEnd(context, frame.data() + size, frame.size() - size, nullptr);
    require(std::fwrite(frame.data(), 1, size, file) == size);
  };
  const std::vector<char> header(headerBytes);
  put(header.data(), headerBytes);
  for (SizeType slice = 0; slice < volume->getDimTert(); ++slice) {
    put(volume->getData() + slice * width * height, sliceBytes);
  }
  LZ4F_freeCompressionContext(context);
  require(std::fclose(file) == 0);
}
/// Decodes a file that is read at once, into all voxels or slice by slice. With room for a whole block, the library
/// decodes in place; otherwise it copies.
void readLz4(const std::string& name, const VolumePtr<uint16>& volume, SizeType piece) {
  std::vector<char> packed(std::filesystem::file_size(name));
  std::FILE* const file = std::fopen(name.c_str(), "rb");
  require(std::fread(packed.data(), 1, packed.size(), file) == packed.size());
  std::fclose(file);
  LZ4F_dctx* context = nullptr;
  LZ4F_createDecompressionContext(&context, LZ4F_VERSION);
  const char* from = packed.data();
  const auto take = [&](void* to, SizeType size) {
    while (size > 0) {
      std::size_t produced = size, consumed = static_cast<std::size_t>(packed.data() + packed.size() - from);
      require(LZ4F_isError(LZ4F_decompress(context, to, &produced, from, &consumed, nullptr)) == 0);
      from += consumed;
      to = static_cast<char*>(to) + produced;
      size -= produced;
    }
  };
  std::vector<char> header(headerBytes);
  take(header.data(), headerBytes);
  const SizeType bytes = volume->getSize() * sizeof(uint16);
  for (SizeType begin = 0; begin < bytes; begin += piece) {
    take(reinterpret_cast<char*>(volume->getData()) + begin, std::min(piece, bytes - begin));
  }
  LZ4F_freeDecompressionContext(context);
}

struct Direct {
  std::string name;
  std::function<void(const std::string&, const VolumePtr<uint16>&)> run;
};

template <class Writer, class WriterParameter, class Reader, class ReaderParameter>
void compressed(benchmark::State& state, bool isReading, const std::vector<Direct>& libraries) {
  const BenchmarkFile file;
  const auto volume = scannedVolume(slicesOf(state));
  runOn<Writer, WriterParameter>(file.name(), "inputVolume", volume);
  const SizeType bytes = volume->getSize() * sizeof(uint16);
  std::vector<Benchmarks::Contestant> contestants{
      {"operator", bytes, [&] {
         if (isReading) {
           runOn<Reader, ReaderParameter>(file.name(), "outputVolume", volume);
         } else {
           runOn<Writer, WriterParameter>(file.name(), "inputVolume", volume);
         }
       }}};
  for (const Direct& library : libraries) {
    contestants.push_back({library.name, bytes, [&] { library.run(file.name(), volume); }});
  }
  Benchmarks::contest(state, contestants);
  state.counters["ratio"] = static_cast<double>(bytes) / static_cast<double>(std::filesystem::file_size(file.name()));
}
void gzip(benchmark::State& state, bool isReading) {
  compressed<TaviOperators::DLL::RekGzWriter::Operator, TaviOperators::RekGzWriter::Parameter,
             TaviOperators::DLL::RekGzReader::Operator, TaviOperators::RekGzReader::Parameter>(
      state, isReading, {{"zlib", isReading ? readGzip : writeGzip}});
}
void lz4(benchmark::State& state, bool isReading) {
  const auto readSlices = [](const std::string& name, const VolumePtr<uint16>& volume) {
    readLz4(name, volume, sliceBytes);
  };
  const auto readAtOnce = [](const std::string& name, const VolumePtr<uint16>& volume) {
    readLz4(name, volume, volume->getSize() * sizeof(uint16));
  };
  const std::vector<Direct> readers{{"liblz4", readSlices}, {"liblz4 at once", readAtOnce}};
  compressed<TaviOperators::DLL::RekLz4Writer::Operator, TaviOperators::RekLz4Writer::Parameter,
             TaviOperators::DLL::RekLz4Reader::Operator, TaviOperators::RekLz4Reader::Parameter>(
      state, isReading, isReading ? readers : std::vector<Direct>{{"liblz4", writeLz4}});
}
void RekGzWrite(benchmark::State& state) { gzip(state, false); }
void RekGzRead(benchmark::State& state) { gzip(state, true); }
void RekLz4Write(benchmark::State& state) { lz4(state, false); }
void RekLz4Read(benchmark::State& state) { lz4(state, true); }

void compressedSizes(benchmark::internal::Benchmark* benchmark) {
  const char* const given = std::getenv("TAVI_BENCHMARK_MIB");
  benchmark->Unit(benchmark::kMillisecond)->UseManualTime()->ArgName("MiB");
  benchmark->Arg(given != nullptr ? std::max(1L, std::strtol(given, nullptr, 10)) : 64);
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
BENCHMARK(RekGzWrite)->Apply(compressedSizes);
BENCHMARK(RekGzRead)->Apply(compressedSizes);
BENCHMARK(RekLz4Write)->Apply(compressedSizes);
BENCHMARK(RekLz4Read)->Apply(compressedSizes);

}  // namespace
