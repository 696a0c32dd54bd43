// Medians under elements from small to large, with all threads: the operator as it chooses, the counts that slide along
// the rows (rows seen backwards are never taken in vectors), and ranking in vectors whatever the element, which is how
// the adaptive median works. Where the two ways cross is where the operator should change between them. Bytes are those
// of the input and of the output, each counted once.

#include "Contest.hpp"

#include <AdaptiveMedian.hpp>
#include <DLL/AdaptiveMedian.hpp>
#include <DLL/HistogramUpdateMedian.hpp>
#include <HistogramUpdateMedian.hpp>

#include <string>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;

/// All voxels of a cube.
VolumePtr<uint8> makeBox(SizeType length) {
  const VolumePtr<uint8> mask(new Volume<uint8>(Tavi::Dimension<SizeType>(length, length, length)));
  std::fill_n(mask->getData(), mask->getSize(), uint8(1));
  return mask;
}

template <class T>
SmartPointer<HistogramUpdateMedian::Parameter> request(const VolumePtr<T>& input, SizeType length) {
  const SmartPointer<HistogramUpdateMedian::Parameter> parameter(new HistogramUpdateMedian::Parameter);
  const SizeType anchor = length / 2;
  parameter->inputVolume = input;
  parameter->outputVolume = VolumePtr<T>(new Volume<T>(input->getDimension()));
  parameter->inputMask = makeBox(length);
  parameter->inputAnchor = Position<SizeType>(anchor, anchor, anchor);
  return parameter;
}

template <class T>
void add(SizeType length) {
  const std::string title =
      std::string("HistogramUpdateMedian<") + Tavi::typeName<T> + ">/box/" + std::to_string(length);
  benchmark::RegisterBenchmark(
      title.c_str(),
      [=](benchmark::State& state) {
        const SizeType large = std::min(largeBytes(), (SizeType{4} << 20) * sizeof(T));
        const auto input = makeVolume<T>(std::max(large, SizeType{65536} * 16 * sizeof(T)));
        const SizeType count = input->getSize(), bytes = 2 * count * sizeof(T);
        const auto chosen = request(input, length);

        const auto backwards = makeVolume<T>(count * sizeof(T));
        const auto sliding = request(backwards, length);
        backwards->setOrientation(Tavi::Orientation(1, 2, 4));
        VolumePtr<T>(sliding->outputVolume.value())->setOrientation(Tavi::Orientation(1, 2, 4));

        const SmartPointer<AdaptiveMedian::Parameter> adaptive(new AdaptiveMedian::Parameter);
        const SmartPointer<AdaptiveMedian::Kernels> kernels(new AdaptiveMedian::Kernels);
        kernels->push_back(makeBox(length));
        const VolumePtr<uint8> indices(new Volume<uint8>(input->getDimension()));
        std::fill_n(indices->getData(), count, uint8(0));
        adaptive->inputVolume = input;
        adaptive->inputIndexVolume = indices;
        adaptive->inputKernelVolume = kernels;
        adaptive->outputVolume = VolumePtr<T>(new Volume<T>(input->getDimension()));

        contest(state, {{"chosen", bytes, [=] { DLL::HistogramUpdateMedian::Operator().apply(chosen); }},
                        {"sliding", bytes, [=] { DLL::HistogramUpdateMedian::Operator().apply(sliding); }},
                        {"vectors", bytes, [=] { DLL::AdaptiveMedian::Operator().apply(adaptive); }}});
        state.counters["voxels"] =
            benchmark::Counter(static_cast<double>(count), benchmark::Counter::kIsIterationInvariantRate);
      })
      ->Unit(benchmark::kMillisecond)
      ->UseManualTime();
}

[[maybe_unused]] const bool registered = [] {
  for (const SizeType length : {3u, 5u, 7u, 9u, 11u, 15u}) {
    add<uint8>(length);
    add<uint16>(length);
  }
  return true;
}();

}  // namespace
