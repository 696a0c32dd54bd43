// H-extrema transforms beside the sweeps that define them, on a scan or a made-up volume and on spirals, whose geodesic
// ways are as long as the volume; thinning beside passes over the whole volume. TAVI_BENCHMARK_SCAN names a REK file of
// uint8 voxels to use as the scan.

#include "Contest.hpp"
#include "Objects.hpp"

#include <DLL/HMaximumTransform.hpp>
#include <DLL/RekReader.hpp>
#include <DLL/Thinning.hpp>
#include <HMaximumTransform.hpp>
#include <RekReader.hpp>
#include <Thinning.hpp>

#include <Reconstruction/PackedNeighbourhood.hpp>

#include <array>
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

/// Six scans of all voxels per cycle, each neighbourhood read voxel by voxel.
class PlainThinning {
public:
  PlainThinning(const uint8* object, const Grid& grid)
      : _padded{grid.prim + 2, grid.sec + 2, grid.tert + 2},
        _voxels(_padded.prim * _padded.sec * _padded.tert) {
    for (SizeType z = 0; z < grid.tert; ++z) {
      for (SizeType y = 0; y < grid.sec; ++y) {
        std::copy_n(object + grid.index(0, y, z), grid.prim, _voxels.data() + _padded.index(1, y + 1, z + 1));
      }
    }
  }

  const std::vector<uint8>& run() {
    const auto row = static_cast<int64>(_padded.prim), slice = static_cast<int64>(_padded.prim * _padded.sec);
    for (int quiet = 0; quiet < 6;) {
      quiet = 0;
      for (const int64 border : {-row, row, int64{-1}, int64{1}, -slice, slice}) {
        forEach([&](uint8* voxel) {
          const Impl::Neighbourhood n = *voxel == 1 && voxel[border] == 0 ? neighbours(voxel, row, slice) : 0;
          if (n != 0 && !Impl::isEndPoint(n) && Impl::EulerChange::of(n) == 0 && Impl::isSimple(n)) {
            *voxel = 2;
          }
        });
        bool isQuiet = true;
        forEach([&](uint8* voxel) {
          if (*voxel == 2) {
            *voxel = Impl::isSimple(neighbours(voxel, row, slice)) ? 0 : 1;
            isQuiet = isQuiet && *voxel == 1;
          }
        });
        quiet += isQuiet ? 1 : 0;
      }
    }
    return _voxels;
  }

private:
  template <class Body>
  void forEach(const Body& body) {
    for (SizeType z = 1; z + 1 < _padded.tert; ++z) {
      for (SizeType y = 1; y + 1 < _padded.sec; ++y) {
        for (SizeType x = 1; x + 1 < _padded.prim; ++x) {
          body(_voxels.data() + _padded.index(x, y, z));
        }
      }
    }
  }
  static Impl::Neighbourhood neighbours(const uint8* voxel, int64 row, int64 slice) {
    Impl::Neighbourhood n = 0;
    unsigned bit = 0;
    for (const int64 z : {-slice, int64{0}, slice}) {
      for (const int64 y : {-row, int64{0}, row}) {
        for (const int64 x : {int64{-1}, int64{0}, int64{1}}) {
          n |= Impl::Neighbourhood{voxel[z + y + x] != 0} << bit++;
        }
      }
    }
    return n & ~(Impl::Neighbourhood{1} << Impl::centreBit);
  }

  Grid _padded;
  std::vector<uint8> _voxels;
};

void addThinning(int threads) {
  add("Thinning/scan/" + std::to_string(threads) + "T", [=](benchmark::State& state) {
    const VolumePtr<uint8> input = makeScan();
    for (SizeType i = 0; i < input->getSize(); ++i) {
      input->getData()[i] = input->getData()[i] > 60 ? 1 : 0;
    }
    const SmartPointer<Thinning::Parameter> parameter(new Thinning::Parameter);
    parameter->inputVolume = input;
    parameter->outputVolume = SmartPointer<IVolume>(VolumePtr<uint8>(new Volume<uint8>(input->getDimension())));
    parameter->inputBinaryFalse.setValue(uint8{0});
    parameter->inputBinaryTrue.setValue(uint8{1});
    parameter->inputNumberOfThreads = static_cast<SizeType>(threads);
    const SizeType bytes = 2 * input->getSize();
    contest(state, {{"Thinning", bytes, [=] { DLL::Thinning::Operator().apply(parameter); }},
                    {"scans", bytes,
                     [=] { benchmark::DoNotOptimize(PlainThinning(input->getData(), gridOf(input)).run()); }}});
    setVoxels(state, input->getSize());
  });
}

const bool registered = [] {
  const int all = omp_get_max_threads();
  for (const int threads : all > 1 ? std::vector<int>{1, all} : std::vector<int>{1}) {
    addHMaximum("scan", &makeScan, threads);
    addThinning(threads);
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
