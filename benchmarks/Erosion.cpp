// Erosion on 16 million voxels with all threads, beside copying the volume. Elements from small to large show where
// sharing parts between positions begins to pay. Bytes are those of the input and of the output, each counted once.

#include "Contest.hpp"

#include <DLL/Erosion.hpp>
#include <Erosion.hpp>

#include <string>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

/// All voxels of a cube, or those within `radius` of its centre.
VolumePtr<uint8> makeMask(SizeType length, bool isBall) {
  const VolumePtr<uint8> mask(new Volume<uint8>(Tavi::Dimension<SizeType>(length, length, length)));
  const auto radius = static_cast<int64>(length / 2);
  uint8* voxel = mask->getData();
  for (int64 z = -radius; z <= radius; ++z) {
    for (int64 y = -radius; y <= radius; ++y) {
      for (int64 x = -radius; x <= radius; ++x) {
        *voxel++ = !isBall || x * x + y * y + z * z <= radius * radius ? 1 : 0;
      }
    }
  }
  return mask;
}

template <class T>
void add(SizeType length, bool isBall) {
  const std::string title =
      std::string("Erosion<") + Tavi::typeName<T> + ">/" + (isBall ? "ball" : "box") + "/" + std::to_string(length);
  benchmark::RegisterBenchmark(
      title.c_str(),
      [=](benchmark::State& state) {
        const SizeType large = std::min(largeBytes(), (SizeType{16} << 20) * sizeof(T));
        const auto input = makeVolume<T>(std::max(large, SizeType{65536} * 16 * sizeof(T)));
        const VolumePtr<T> output(new Volume<T>(input->getDimension()));
        const SmartPointer<Erosion::Parameter> parameter(new Erosion::Parameter);
        const SizeType anchor = std::min(length / 2, input->getDimTert() - 1);
        parameter->inputVolume = input;
        parameter->outputVolume = output;
        parameter->inputMask = makeMask(length, isBall);
        parameter->inputAnchor = Position<SizeType>(anchor, anchor, anchor);
        const SizeType count = input->getSize(), bytes = 2 * count * sizeof(T);
        contest(state, {{"Erosion", bytes, [=] { DLL::Erosion::Operator().apply(parameter); }},
                        {"memcpy", bytes,
                         [=] { plainCopy(omp_get_max_threads(), input->getData(), output->getData(), count); }}});
        state.counters["voxels"] =
            benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate);
      })
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime();
}

[[maybe_unused]] const bool registered = [] {
  const auto all = []<class T>() {
    for (const SizeType length : {3u, 5u, 7u, 15u}) {
      add<T>(length, false);
    }
    for (const SizeType length : {3u, 5u, 9u}) {
      add<T>(length, true);
    }
  };
  all.operator()<uint8>();
  all.operator()<uint16>();
  all.operator()<float32>();
  return true;
}();

}  // namespace
