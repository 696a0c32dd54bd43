// Operators on volumes that are seen through a view, beside the same run on dense volumes: with x flipped, with two
// axes swapped, in input and output alike, and from swapped axes into a dense output. One thread. "of dense" is the
// share of the dense run's rate, so its reciprocal is how many times longer the view takes.

#include "Objects.hpp"

#include <CityblockConnectedComponentsAnalysis.hpp>
#include <CityblockDistanceTransform.hpp>
#include <DLL/CityblockConnectedComponentsAnalysis.hpp>
#include <DLL/CityblockDistanceTransform.hpp>
#include <DLL/Erosion.hpp>
#include <DLL/ExtremeValueCalculation.hpp>
#include <DLL/HistogramUpdateMedian.hpp>
#include <DLL/Saturation.hpp>
#include <DLL/StandardFeaturesCalculation.hpp>
#include <Erosion.hpp>
#include <ExtremeValueCalculation.hpp>
#include <HistogramUpdateMedian.hpp>
#include <Saturation.hpp>
#include <StandardFeaturesCalculation.hpp>
#include <Tavi/Orientation.hpp>

#include <functional>
#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Benchmarks;
using namespace NORV::TaviOperators;
using Tavi::Orientation;

struct Views {
  const char* name;
  Orientation input, output;
};

const std::vector<Views>& allViews() {
  static const std::vector<Views> views{{"flipped x", {1, 2, 4}, {1, 2, 4}},
                                        {"swapped x y", {2, 0, 4}, {2, 0, 4}},
                                        {"swapped x z", {4, 2, 0}, {4, 2, 0}},
                                        {"flipped x to dense", {1, 2, 4}, {0, 2, 4}},
                                        {"swapped x y to dense", {2, 0, 4}, {0, 2, 4}},
                                        {"swapped x z to dense", {4, 2, 0}, {0, 2, 4}},
                                        {"dense to swapped x z", {0, 2, 4}, {4, 2, 0}},
                                        {"swapped x z to swapped y z", {4, 2, 0}, {0, 4, 2}}};
  return views;
}

SizeType sceneVoxels() { return std::min(largeBytes(), SizeType{16} << 20); }

/// A cube of whole slices of 256 x 256 voxels, or fewer slices.
template <class T>
VolumePtr<T> makeBalls() {
  return makeScene<T>(sceneVoxels(), [](SizeType x, SizeType y, SizeType z) {
    return ballAt(x, y, z) == 0 ? (x * 7 + y * 3 + z * 5) % 61 : 61 + (x + y + z) % 40;
  });
}

/// The same extents, whatever the view: the volumes are stored so that it shows them.
template <class T>
VolumePtr<T> seenAs(const VolumePtr<T>& volume, const Orientation& orientation) {
  const SizeType extents[] = {volume->getDimPrim(), volume->getDimSec(), volume->getDimTert()};
  SizeType stored[3];
  for (std::size_t axis = 0; axis < 3; ++axis) {
    stored[orientation.storageAxes()[axis]] = extents[axis];
  }
  const VolumePtr<T> seen(new Volume<T>(Tavi::Dimension<SizeType>(stored[0], stored[1], stored[2])));
  seen->setOrientation(orientation);
  for (SizeType z = 0; z < extents[2]; ++z) {
    for (SizeType y = 0; y < extents[1]; ++y) {
      for (SizeType x = 0; x < extents[0]; ++x) {
        const Tavi::Position<SizeType> place(x, y, z);
        seen->getData()[seen->getOffset(place)] = volume->getData()[volume->getOffset(place)];
      }
    }
  }
  return seen;
}

/// Returns what runs on an input and an output with these orientations.
using MakeRun = std::function<std::function<void()>(const Orientation& input, const Orientation& output)>;

void add(const std::string& op, const MakeRun& makeRun) {
  for (const Views& views : allViews()) {
    benchmark::RegisterBenchmark(("Views/" + op + "/" + views.name).c_str(),
                                 [=](benchmark::State& state) {
                                   const int offered = omp_get_max_threads();
                                   omp_set_num_threads(1);
                                   const SizeType voxels = std::max(SizeType{1}, sceneVoxels() / 65536) * 65536;
                                   contest(state, {{op, voxels, makeRun(views.input, views.output)},
                                                   {"dense", voxels, makeRun(Orientation(), Orientation())}});
                                   state.counters["voxels"] = benchmark::Counter(
                                       static_cast<double>(voxels), benchmark::Counter::kIsIterationInvariantRate);
                                   omp_set_num_threads(offered);
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime();
  }
}

/// An operator from one volume of `In` to one of `Out`; `set` completes the parameter object.
template <class Op, class Parameter, class In, class Out, class Set>
void addFilter(const std::string& name, const Set& set) {
  add(name, [=](const Orientation& inputView, const Orientation& outputView) -> std::function<void()> {
    const auto input = makeBalls<In>();
    const VolumePtr<Out> output(new Volume<Out>(input->getDimension()));
    const SmartPointer<Parameter> parameter(new Parameter);
    parameter->outputVolume = seenAs(output, outputView);
    set(*parameter, seenAs(input, inputView));
    return [=] { Op().apply(parameter); };
  });
}

template <class T>
void addClamp() {
  addFilter<DLL::Saturation::Operator, Saturation::Parameter, T, T>(
      std::string("Saturation<") + Tavi::typeName<T> + ">", [](Saturation::Parameter& parameter, const auto& input) {
        parameter.inputVolume = input;
        parameter.inputLowerLimit.setValue(T(5));
        parameter.inputUpperLimit.setValue(T(90));
        parameter.inputNumberOfThreads = 1;
      });
}

template <class Op, class Parameter, class T>
void addRank(const std::string& name) {
  addFilter<Op, Parameter, T, T>(name + "<" + Tavi::typeName<T> + ">/3", [](Parameter& parameter, const auto& input) {
    const VolumePtr<uint8> mask(new Volume<uint8>(Tavi::Dimension<SizeType>(3, 3, 3)));
    std::fill_n(mask->getData(), 27, uint8{1});
    const SizeType tert = std::min<SizeType>(1, input->getDimTert() - 1);
    parameter.inputVolume = input;
    parameter.inputMask = mask;
    parameter.inputAnchor = Position<SizeType>(1, 1, tert);
    parameter.inputNumberOfThreads = 1;
  });
}

void addFeatures() {
  add("StandardFeaturesCalculation<uint16,uint8>",
      [](const Orientation& labelView, const Orientation& valueView) -> std::function<void()> {
        const auto labels = makeScene<uint16>(sceneVoxels(), [](auto... at) { return ballAt(at...); });
        const SmartPointer<StandardFeaturesCalculation::Parameter> parameter(
            new StandardFeaturesCalculation::Parameter);
        parameter->inputLabelVolume = seenAs(labels, labelView);
        parameter->inputValueVolume = seenAs(makeBalls<uint8>(), valueView);
        parameter->inputMinimumLabel = SmartPointer<IComposite>(new Data<uint16>(0));
        parameter->inputMaximumLabel = SmartPointer<IComposite>(
            new Data<uint16>(*std::max_element(labels->getData(), labels->getData() + labels->getSize())));
        parameter->inputNumberOfThreads = 1;
        return [=] {
          parameter->outputFeaturesVector = SmartPointer<IComposite>();
          DLL::StandardFeaturesCalculation::Operator().apply(parameter);
        };
      });
}

void addExtremes() {
  add("ExtremeValueCalculation<uint16>", [](const Orientation& view, const Orientation&) -> std::function<void()> {
    const SmartPointer<ExtremeValueCalculation::Parameter> parameter(new ExtremeValueCalculation::Parameter);
    parameter->inputVolume = seenAs(makeBalls<uint16>(), view);
    parameter->inputNumberOfThreads = 1;
    return [=] { DLL::ExtremeValueCalculation::Operator().apply(parameter); };
  });
}

[[maybe_unused]] const bool registered = [] {
  addClamp<uint8>();
  addClamp<uint16>();
  addClamp<float32>();
  addClamp<float64>();
  addRank<DLL::Erosion::Operator, Erosion::Parameter, uint8>("Erosion");
  addRank<DLL::Erosion::Operator, Erosion::Parameter, float32>("Erosion");
  addRank<DLL::HistogramUpdateMedian::Operator, HistogramUpdateMedian::Parameter, uint8>("HistogramUpdateMedian");
  addFilter<DLL::CityblockConnectedComponentsAnalysis::Operator, CityblockConnectedComponentsAnalysis::Parameter, uint8,
            uint16>("CityblockConnectedComponentsAnalysis<uint8,uint16>",
                    [](CityblockConnectedComponentsAnalysis::Parameter& parameter, const auto& input) {
                      const uint8* const data = input->getData();
                      std::transform(data, data + input->getSize(), input->getData(),
                                     [](uint8 value) { return static_cast<uint8>(value < 61 ? 0 : 1); });
                      parameter.inputFirstVolume = input;
                      parameter.inputBackgroundValue.setValue(uint8{0});
                    });
  addFilter<DLL::CityblockDistanceTransform::Operator, CityblockDistanceTransform::Parameter, uint8, uint16>(
      "CityblockDistanceTransform<uint8,uint16>",
      [](CityblockDistanceTransform::Parameter& parameter, const auto& input) {
        parameter.inputVolume = input;
        parameter.inputObjectValue.setValue(uint8{60});
      });
  addFeatures();
  addExtremes();
  return true;
}();

}  // namespace
