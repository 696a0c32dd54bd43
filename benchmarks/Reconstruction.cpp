// H-extrema transforms beside the sweeps that define them, on a scan or a made-up volume and on spirals, whose geodesic
// ways are as long as the volume. TAVI_BENCHMARK_SCAN names a REK file of uint8 voxels to use as the scan.

#include "Contest.hpp"
#include "Objects.hpp"

#include <DLL/HMaximumTransform.hpp>
#include <DLL/RekReader.hpp>
#include <HMaximumTransform.hpp>
#include <RekReader.hpp>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

/// The scan, or balls with a noisy inside.
VolumePtr<uint8> makeScan() {
  if (const char* const name = std::getenv("TAVI_BENCHMARK_SCAN")) {
    const SmartPointer<RekReader::Parameter> parameter(new RekReader::Parameter);
    parameter->inputFilename = std::string(name);
    DLL::RekReader::Operator().apply(parameter);
    return VolumePtr<uint8>(parameter->outputVolume.value());
  }
  return makeScene<uint8>(std::min(largeBytes(), SizeType{16} << 20), [](SizeType x, SizeType y, SizeType z) {
    const SizeType noise = (x * 2654435761u ^ y * 40503u ^ z * 9973u) >> 5 & 15;
    return (ballAt(x, y, z) != 0 ? 120 : 20) + noise;
  });
}

struct Grid {
  SizeType prim, sec, tert;
  SizeType index(SizeType x, SizeType y, SizeType z) const { return x + prim * (y + sec * z); }
};

/// Sweeps over the whole volume until no voxel changes.
std::vector<uint8> sweep(const uint8* f, const Grid& grid, uint8 h) {
  const Grid padded{grid.prim + 2, grid.sec + 2, grid.tert + 2};
  std::vector<uint8> work(padded.prim * padded.sec * padded.tert), out(grid.prim * grid.sec * grid.tert);
  for (SizeType i = 0; i < out.size(); ++i) {
    out[i] = static_cast<uint8>(f[i] < h ? 0 : f[i] - h);
  }
  for (bool isChanged = true; isChanged;) {
    isChanged = false;
    for (SizeType z = 0; z < grid.tert; ++z) {
      for (SizeType y = 0; y < grid.sec; ++y) {
        std::copy_n(out.data() + grid.index(0, y, z), grid.prim, work.data() + padded.index(1, y + 1, z + 1));
      }
    }
    for (SizeType z = 0; z < grid.tert; ++z) {
      for (SizeType y = 0; y < grid.sec; ++y) {
        const uint8* const w = work.data() + padded.index(1, y + 1, z + 1);
        const SizeType row = padded.prim, slice = padded.prim * padded.sec;
        for (SizeType x = 0, i = grid.index(0, y, z); x < grid.prim; ++x, ++i) {
          const uint8 m =
              std::max({w[x], (w - slice)[x], (w - row)[x], (w - 1)[x], w[x + 1], w[x + row], w[x + slice]});
          const uint8 v = std::min(f[i], m);
          isChanged |= v != out[i];
          out[i] = v;
        }
      }
    }
  }
  return out;
}

Grid gridOf(const VolumePtr<uint8>& volume) {
  return {volume->getDimPrim(), volume->getDimSec(), volume->getDimTert()};
}

/// A path through the whole volume, rows of walls between its rows, with a peak at its end.
VolumePtr<uint8> makeSpiral(SizeType edge) {
  const VolumePtr<uint8> volume(new Volume<uint8>(Tavi::Dimension<SizeType>(edge, edge, edge)));
  const Grid grid{edge, edge, edge};
  std::fill_n(volume->getData(), edge * edge * edge, uint8{0});
  const SizeType lastRow = (edge - 1) / 2 * 2;
  SizeType rows = 0;
  for (SizeType z = 0; z < edge; z += 2) {
    for (SizeType k = 0; k <= lastRow; k += 2) {
      const bool isUpwards = z % 4 == 0;
      const SizeType y = isUpwards ? k : lastRow - k, end = rows++ % 2 == 0 ? edge - 1 : 0;
      std::fill_n(volume->getData() + grid.index(0, y, z), edge, uint8{100});
      if (k < lastRow) {
        volume->getData()[grid.index(end, isUpwards ? y + 1 : y - 1, z)] = 100;
      } else if (z + 2 < edge) {
        volume->getData()[grid.index(end, y, z + 1)] = 100;
      }
    }
  }
  volume->getData()[0] = 200;
  return volume;
}

SmartPointer<HMaximumTransform::Parameter> hMaximum(const VolumePtr<uint8>& input, int threads) {
  const SmartPointer<HMaximumTransform::Parameter> parameter(new HMaximumTransform::Parameter);
  parameter->inputVolume = input;
  parameter->outputVolume = SmartPointer<IVolume>(VolumePtr<uint8>(new Volume<uint8>(input->getDimension())));
  parameter->inputHeight.setValue(uint8{20});
  parameter->inputNumberOfThreads = static_cast<SizeType>(threads);
  return parameter;
}

template <class Body>
void add(const std::string& name, const Body& body) {
  benchmark::RegisterBenchmark(name.c_str(), body)->Unit(benchmark::kMillisecond)->UseManualTime();
}

void setVoxels(benchmark::State& state, SizeType voxels) {
  state.counters["ns/voxel"] = benchmark::Counter(
      static_cast<double>(voxels) / 1e9, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void addHMaximum(const std::string& scene, VolumePtr<uint8> (*make)(), int threads) {
  add("HMaximumTransform/" + scene + "/" + std::to_string(threads) + "T", [=](benchmark::State& state) {
    const VolumePtr<uint8> input = make();
    const auto parameter = hMaximum(input, threads);
    const SizeType bytes = 2 * input->getSize();
    contest(state, {{"HMaximumTransform", bytes, [=] { DLL::HMaximumTransform::Operator().apply(parameter); }},
                    {"sweeps", bytes, [=] { benchmark::DoNotOptimize(sweep(input->getData(), gridOf(input), 20)); }}});
    setVoxels(state, input->getSize());
  });
}

/// Spirals of growing size: the time per voxel stays for the operator and grows with the voxels for sweeps.
void addSpiral(SizeType edge, bool isSwept) {
  add(std::string(isSwept ? "Sweeps" : "HMaximumTransform") + "/spiral/" + std::to_string(edge),
      [=](benchmark::State& state) {
        const VolumePtr<uint8> input = makeSpiral(edge);
        const auto parameter = hMaximum(input, 1);
        const SizeType bytes = 2 * input->getSize();
        if (isSwept) {
          contest(state,
                  {{"sweeps", bytes, [=] { benchmark::DoNotOptimize(sweep(input->getData(), gridOf(input), 20)); }}});
        } else {
          contest(state, {{"HMaximumTransform", bytes, [=] { DLL::HMaximumTransform::Operator().apply(parameter); }}});
        }
        setVoxels(state, input->getSize());
      });
}

const bool registered = [] {
  const int all = omp_get_max_threads();
  for (const int threads : all > 1 ? std::vector<int>{1, all} : std::vector<int>{1}) {
    addHMaximum("scan", &makeScan, threads);
  }
  const bool isLarge = largeBytes() > (SizeType{16} << 20);
  for (const SizeType edge : isLarge ? std::vector<SizeType>{16, 32, 64, 128, 256} : std::vector<SizeType>{16}) {
    addSpiral(edge, false);
  }
  for (const SizeType edge : isLarge ? std::vector<SizeType>{16, 32, 48} : std::vector<SizeType>{16}) {
    addSpiral(edge, true);
  }
  return true;
}();

}  // namespace
