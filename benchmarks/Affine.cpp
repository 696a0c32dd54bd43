// AffineTransform beside a plain restatement of its rule, which runs on as many threads. One volume of 512 x 512 x 512
// voxels, or with TAVI_BENCHMARK_REK a REK file of uint8 voxels; the counter "ns/voxel" counts output voxels.

#include "Objects.hpp"

#include <AffineTransform.hpp>
#include <DLL/AffineTransform.hpp>
#include <MatrixVolume.hpp>

#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

constexpr SizeType edge = 512;

/// The plain rule: every corner is tested, for every voxel.
template <class T>
struct PlainTransform {
  const T* data;
  int64 extents[3];
  TransformMatrix inverse;
  T outer;
  bool isLinear;

  float64 at(int64 i, int64 j, int64 k) const {
    const bool isInside = i >= 0 && i < extents[0] && j >= 0 && j < extents[1] && k >= 0 && k < extents[2];
    return static_cast<float64>(isInside ? data[i + extents[0] * (j + extents[1] * k)] : outer);
  }
  float64 interpolated(float64 x, float64 y, float64 z) const {
    const auto i = static_cast<int64>(std::floor(x)), j = static_cast<int64>(std::floor(y)),
               k = static_cast<int64>(std::floor(z));
    const float64 fx = x - static_cast<float64>(i), fy = y - static_cast<float64>(j), fz = z - static_cast<float64>(k);
    const float64 c000 = at(i, j, k), c100 = at(i + 1, j, k), c010 = at(i, j + 1, k), c110 = at(i + 1, j + 1, k);
    const float64 c001 = at(i, j, k + 1), c101 = at(i + 1, j, k + 1), c011 = at(i, j + 1, k + 1),
                  c111 = at(i + 1, j + 1, k + 1);
    return std::floor(c000 + (c100 - c000) * fx + (c010 - c000) * fy + (c001 - c000) * fz +
                      (c000 - c010 - c100 + c110) * fx * fy + (c000 - c001 - c100 + c101) * fx * fz +
                      (c000 - c001 - c010 + c011) * fy * fz +
                      (c001 + c010 - c011 + c100 - c101 - c110 - c000 + c111) * fx * fy * fz + 0.5);
  }
  void row(T* to, int64 columns, int64 y, int64 z) const {
    for (int64 x = 0; x < columns; ++x) {
      std::array<float64, 4> sums{};
      for (std::size_t r = 0; r < 4; ++r) {
        sums[r] = inverse[r][2] * static_cast<float64>(z) + inverse[r][3] + inverse[r][1] * static_cast<float64>(y) +
                  inverse[r][0] * static_cast<float64>(static_cast<float32>(x));
      }
      const float64 px = sums[0] / sums[3], py = sums[1] / sums[3], pz = sums[2] / sums[3];
      const float64 value = isLinear
                                ? interpolated(px, py, pz)
                                : at(static_cast<int64>(std::floor(px + 0.5)), static_cast<int64>(std::floor(py + 0.5)),
                                     static_cast<int64>(std::floor(pz + 0.5)));
      to[x] = static_cast<T>(value);
    }
  }
};

TransformMatrix rotation(float64 degrees, std::size_t first, std::size_t second) {
  const float64 angle = degrees * 3.141592653589793 / 180, middle = edge / 2.0;
  TransformMatrix matrix = TransformMatrix::identity();
  matrix[first][first] = matrix[second][second] = std::cos(angle);
  matrix[first][second] = -std::sin(angle);
  matrix[second][first] = std::sin(angle);
  for (const std::size_t row : {first, second}) {
    matrix[row][3] = middle - matrix[row][first] * middle - matrix[row][second] * middle;
  }
  return matrix;
}

struct Case {
  std::string name;
  TransformMatrix matrix;
};

std::vector<Case> cases() {
  TransformMatrix shift = TransformMatrix::identity(), whole = shift, flip = shift, swapped, projective;
  shift[0][3] = 0.3;
  shift[1][3] = -7.6;
  whole[0][3] = 3;
  flip[0][0] = -1;
  flip[0][3] = edge - 1;
  swapped[0][2] = swapped[1][1] = swapped[2][0] = swapped[3][3] = 1;
  projective = rotation(10, 0, 1);
  projective[3][0] = 0.0002;
  return {{"rotated about z", rotation(30, 0, 1)},
          {"rotated about y", rotation(30, 0, 2)},
          {"rotated about x", rotation(30, 1, 2)},
          {"rotated", rotation(30, 0, 1) * rotation(40, 0, 2) * rotation(20, 1, 2)},
          {"shifted", shift},
          {"shifted by whole voxels", whole},
          {"flipped", flip},
          {"x and z swapped", swapped},
          {"projective", projective}};
}

template <class T>
VolumePtr<T> makeInput() {
  const VolumePtr<T> volume(new Volume<T>(Tavi::Dimension<SizeType>(edge, edge, edge)));
  const char* file = std::getenv("TAVI_BENCHMARK_REK");
  std::vector<char> bytes;
  if (file != nullptr) {
    std::ifstream stream(file, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(stream), {});
    bytes.erase(bytes.begin(), bytes.begin() + std::min<std::ptrdiff_t>(2048, std::ssize(bytes)));
  }
  for (SizeType i = 0; i < volume->getSize(); ++i) {
    volume->getData()[i] =
        static_cast<T>(bytes.empty() ? (i * 2654435761u >> 13) % 101 : static_cast<uint8>(bytes[i % bytes.size()]));
  }
  return volume;
}

template <class T>
void addCase(const Case& one, bool isLinear, int threads) {
  const std::string title = "AffineTransform<" + std::string(Tavi::typeName<T>) + ">/" + one.name + "/" +
                            (isLinear ? "linear" : "nearest") + "/" + std::to_string(threads) + "T";
  benchmark::RegisterBenchmark(
      title.c_str(),
      [=](benchmark::State& state) {
        const VolumePtr<T> input = makeInput<T>();
        const VolumePtr<T> output(new Volume<T>(input->getDimension())), plain(new Volume<T>(input->getDimension()));
        const SmartPointer<AffineTransform::Parameter> parameter(new AffineTransform::Parameter);
        parameter->inputVolume = input;
        parameter->inputMatrixVolume = makeMatrixVolume(one.matrix);
        parameter->inputOuterValue.setValue(T(1));
        parameter->inputLinearInterpolation = isLinear;
        parameter->inputNumberOfThreads = threads;
        parameter->outputVolume = output;
        TransformMatrix inverse = one.matrix;
        inverse.Invert();
        const auto size = static_cast<int64>(edge);
        const PlainTransform<T> rule{input->getData(), {size, size, size}, inverse, T(1), isLinear};
        const SizeType bytes = 2 * input->getSize() * sizeof(T);
        contest(state, {{"operator", bytes, [=] { DLL::AffineTransform::Operator().apply(parameter); }},
                        {"plain", bytes, [=] {
                           inParts(threads, edge * edge, [=](SizeType begin, SizeType end) {
                             for (SizeType i = begin; i < end; ++i) {
                               rule.row(plain->getData() + i * edge, size, static_cast<int64>(i % edge),
                                        static_cast<int64>(i / edge));
                             }
                           });
                         }}});
        state.counters["ns/voxel"] = 2.0 * sizeof(T) / state.counters["GB/s"];
        if (!std::equal(plain->getData(), plain->getData() + plain->getSize(), output->getData())) {
          state.SkipWithError("the voxels differ from those of the plain rule");
        }
      })
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime()
      ->Iterations(3);
}

[[maybe_unused]] const bool registered = [] {
  for (const int threads : {2, 1}) {
    for (const Case& one : cases()) {
      for (const bool isLinear : {true, false}) {
        addCase<uint8>(one, isLinear, threads);
        addCase<uint16>(one, isLinear, threads);
        addCase<float32>(one, isLinear, threads);
      }
    }
  }
  return true;
}();

}  // namespace
