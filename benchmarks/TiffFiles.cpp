// Reading and writing multi-page TIFF files, each beside libtiff called directly on the same voxels in the same
// program: one strip per page, the same tags, without the text of meta-information.
//
// TAVI_BENCHMARK_MIB sets one size for all, TAVI_BENCHMARK_DIR the folder for the files.

#include <DLL/TiffVolumeReader.hpp>
#include <DLL/TiffVolumeWriter.hpp>
#include <Tavi/Volume.hpp>
#include <TiffVolumeReader.hpp>
#include <TiffVolumeWriter.hpp>

#include <benchmark/benchmark.h>
#include <tiffio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

using namespace NORV;
using Tavi::Dimension;
using Tavi::IVolume;
using Tavi::SizeType;
using Tavi::SmartPointer;
using Tavi::Volume;
using Tavi::VolumePtr;

constexpr SizeType width = 256, height = 256;
constexpr SizeType sliceBytes = width * height;

/// A file name of this process, in memory where the system has a folder for that; removed at the end.
class BenchmarkFile {
public:
  BenchmarkFile() {
    namespace fs = std::filesystem;
    const char* const given = std::getenv("TAVI_BENCHMARK_DIR");
    const fs::path folder = given != nullptr               ? fs::path(given)
                            : fs::is_directory("/dev/shm") ? fs::path("/dev/shm")
                                                           : fs::temp_directory_path();
    _name = (folder / ("tavi-benchmark-" + std::to_string(getpid()) + ".tif")).string();
  }
  BenchmarkFile(const BenchmarkFile&) = delete;
  BenchmarkFile& operator=(const BenchmarkFile&) = delete;
  ~BenchmarkFile() { std::remove(_name.c_str()); }
  const std::string& name() const { return _name; }

private:
  std::string _name;
};

SizeType slicesOf(const benchmark::State& state) { return (static_cast<SizeType>(state.range(0)) << 20) / sliceBytes; }
uint16 compressionOf(const benchmark::State& state) { return static_cast<uint16>(state.range(1)); }

/// Spheres of different grey values with a little noise, as a scan has them.
VolumePtr<uint8> filledVolume(SizeType slices) {
  const VolumePtr<uint8> volume(new Volume<uint8>(Dimension<SizeType>(width, height, slices)));
  uint32 random = 1;
  for (SizeType i = 0; i < volume->getSize(); ++i) {
    const SizeType x = i % width % 64, y = i / width % height % 64, z = i / sliceBytes % 64;
    const SizeType distance = (x - 32) * (x - 32) + (y - 32) * (y - 32) + (z - 32) * (z - 32);
    random = random * 1664525u + 1013904223u;
    volume->getData()[i] = static_cast<uint8>(distance < 700 ? 60 + 80 * (i / 64 % 2) + (random >> 31) : 0);
  }
  return volume;
}

void writeTiff(const std::string& name, const SmartPointer<IVolume>& volume, uint16 compression) {
  const SmartPointer<TaviOperators::TiffVolumeWriter::Parameter> parameter(
      new TaviOperators::TiffVolumeWriter::Parameter);
  parameter->inputFilename = name;
  parameter->inputVolume = volume;
  parameter->inputCompression = compression;
  TaviOperators::DLL::TiffVolumeWriter::Operator().apply(parameter);
}

void readTiff(const std::string& name, const SmartPointer<IVolume>& volume) {
  const SmartPointer<TaviOperators::TiffVolumeReader::Parameter> parameter(
      new TaviOperators::TiffVolumeReader::Parameter);
  parameter->inputFilename = name;
  parameter->outputVolume = volume;
  TaviOperators::DLL::TiffVolumeReader::Operator().apply(parameter);
}

void require(bool condition) {
  if (!condition) {
    throw std::runtime_error("libtiff did not transfer a slice");
  }
}

void writeDirectly(const std::string& name, uint8* voxels, SizeType slices, uint16 compression) {
  TIFF* const tiff = TIFFOpen(name.c_str(), "w");
  require(tiff != nullptr);
  for (SizeType slice = 0; slice < slices; ++slice) {
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<uint32>(width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<uint32>(height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, compression);
    const auto bytes = static_cast<tmsize_t>(sliceBytes);
    require(TIFFWriteEncodedStrip(tiff, 0, voxels + slice * sliceBytes, bytes) == bytes);
    require(TIFFWriteDirectory(tiff) == 1);
  }
  TIFFClose(tiff);
}

void readDirectly(const std::string& name, uint8* voxels, SizeType slices) {
  TIFF* const tiff = TIFFOpen(name.c_str(), "r");
  require(tiff != nullptr);
  for (SizeType slice = 0; slice < slices; ++slice) {
    uint8* to = voxels + slice * sliceBytes;
    const uint32 strips = TIFFNumberOfStrips(tiff);
    for (uint32 strip = 0; strip < strips; ++strip) {
      const tmsize_t bytes = TIFFReadEncodedStrip(tiff, strip, to, -1);
      require(bytes > 0);
      to += bytes;
    }
    require(slice + 1 == slices || TIFFReadDirectory(tiff) == 1);
  }
  TIFFClose(tiff);
}

template <class Act>
void measure(benchmark::State& state, const Act& act) {
  for (auto _ : state) {
    act();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64>(slicesOf(state) * sliceBytes));
}

void TiffWrite(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  measure(state, [&] { writeTiff(file.name(), volume, compressionOf(state)); });
}
void DirectWrite(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  measure(state, [&] { writeDirectly(file.name(), volume->getData(), slicesOf(state), compressionOf(state)); });
}
void TiffRead(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  writeTiff(file.name(), volume, compressionOf(state));
  measure(state, [&] { readTiff(file.name(), volume); });
}
void DirectRead(benchmark::State& state) {
  const BenchmarkFile file;
  const auto volume = filledVolume(slicesOf(state));
  writeTiff(file.name(), volume, compressionOf(state));
  measure(state, [&] { readDirectly(file.name(), volume->getData(), slicesOf(state)); });
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Unit(benchmark::kMillisecond)->UseRealTime()->ArgNames({"MiB", "compression"});
  const char* const given = std::getenv("TAVI_BENCHMARK_MIB");
  const long size = given != nullptr ? std::max(1L, std::strtol(given, nullptr, 10)) : 64;
  benchmark->Args({size, COMPRESSION_NONE})->Args({size, COMPRESSION_LZW});
}

BENCHMARK(TiffWrite)->Apply(sizes);
BENCHMARK(DirectWrite)->Apply(sizes);
BENCHMARK(TiffRead)->Apply(sizes);
BENCHMARK(DirectRead)->Apply(sizes);

}  // namespace
