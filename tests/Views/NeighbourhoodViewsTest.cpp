#include "ViewRuns.hpp"

#include <AdaptiveMedian.hpp>
#include <Features.hpp>
#include <StandardFeaturesCalculation.hpp>
#include <Tavi/Composite.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/Vector.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Tests;

/// A mask without any symmetry, seen through a view of its own.
TestVolume<uint8> makeMask(const Extents& extents, const Layout& layout = {}) {
  const TestVolume<uint8> mask(extents, layout, 0);
  std::vector<uint8> voxels(extents[0] * extents[1] * extents[2]);
  for (std::size_t i = 0; i < voxels.size(); ++i) {
    voxels[i] = i * 7 % 5 < 3 ? 1 : 0;
  }
  mask.fill(voxels);
  return mask;
}

SetKeys withMask(const TestVolume<uint8>& mask, const Extents& anchor) {
  return [=](IComposite& parameter) {
    parameter.setValue("inputMask", SmartPointer<IComposite>(mask.volume()));
    parameter.setValue("inputAnchor", SmartPointer<IComposite>(new Tavi::PositionComposite<SizeType>(
                                          Tavi::Position<SizeType>(anchor[0], anchor[1], anchor[2]))));
  };
}

/// Few values, so that there are objects, plateaus and ties.
template <class T>
std::vector<T> fewValues(std::size_t count, unsigned levels) {
  std::vector<T> voxels(count);
  for (std::size_t i = 0; i < count; ++i) {
    voxels[i] = static_cast<T>((i * 2654435761u >> 9) % levels);
  }
  return voxels;
}

const SetKeys nothing = [](IComposite&) {};

TEST(NeighbourhoodViews, ErosionEqualsTheDenseRunForAllTypes) {
  const TestVolume<uint8> mask = makeMask({3, 2, 4});
  forEachVoxelType([&]<class T>() {
    const auto layouts = sizeof(T) == 1 || std::is_same_v<T, float32> ? allLayouts() : axisOrders();
    expectAnyView<T, T>("Erosion", {}, {19, 9, 8}, mixedValues<T>(997), withMask(mask, {2, 0, 1}), layouts);
    // Without a NaN, but with zeros of both signs.
    auto zeros = fewValues<T>(997, 3);
    if constexpr (std::is_floating_point_v<T>) {
      for (std::size_t i = 0; i < zeros.size(); i += 3) {
        zeros[i] = -zeros[i];
      }
    }
    expectAnyView<T, T>("Erosion", {}, {19, 9, 8}, zeros, withMask(mask, {2, 0, 1}), layouts);
  });
  const TestVolume<uint8> box({5, 5, 5}, denseLayout, 1);
  expectAnyView<uint8, uint8>("Erosion", {}, {70, 40, 41}, mixedValues<uint8>(9973), withMask(box, {2, 2, 2}),
                              axisOrders());
  expectAnyView<float32, float32>("Erosion", {}, {40, 31, 33}, fewValues<float32>(9973, 1000), withMask(box, {2, 2, 2}),
                                  axisOrders());
}

TEST(NeighbourhoodViews, RankFiltersEqualTheDenseRun) {
  const TestVolume<uint8> mask = makeMask({3, 2, 3}, {{3, 4, 0}});
  const TestVolume<uint8> large = makeMask({9, 8, 7});
  const auto few = axisOrders();
  for (const Extents& anchor : {Extents{2, 0, 1}, Extents{5, 1, 1}}) {  // also outside of the mask
    expectAnyView<int8, int8>("HistogramUpdateErosion", {}, {70, 9, 8}, mixedValues<int8>(997), withMask(mask, anchor),
                              few);
    expectAnyView<uint16, uint16>("HistogramUpdateMedian", {}, {40, 9, 8}, mixedValues<uint16>(997),
                                  withMask(mask, anchor), few);
  }
  expectAnyView<uint8, uint8>("HistogramUpdateMedian", {}, {30, 19, 18}, mixedValues<uint8>(997),
                              withMask(large, {4, 3, 3}), few);
}

TEST(NeighbourhoodViews, AdaptiveMedianEqualsTheDenseRun) {
  const Extents extents{37, 9, 11};
  const SmartPointer<TaviOperators::AdaptiveMedian::Kernels> kernels(new TaviOperators::AdaptiveMedian::Kernels);
  for (const Extents& size : {Extents{3, 1, 5}, Extents{1, 3, 3}}) {
    kernels->push_back(makeMask(size));
  }
  for (const Layout& layout : axisOrders()) {
    const TestVolume<uint8> indices(extents, layout);
    indices.fill(fewValues<uint8>(997, 2));
    const SetKeys set = [&](IComposite& parameter) {
      parameter.setValue("inputIndexVolume", SmartPointer<IComposite>(indices.volume()));
      parameter.setValue("inputKernelVolume", SmartPointer<IComposite>(kernels));
    };
    expectAnyView<float32, float32>("AdaptiveMedian", {}, extents, mixedValues<float32>(997), set,
                                    {layout, Layout{{4, 0, 2}}, Layout{{1, 5, 2}, {1, 1, 1}, {2, 0, 1}}});
  }
}

TEST(NeighbourhoodViews, EdgesEqualTheDenseRun) {
  const SetKeys set = [](IComposite& parameter) {
    parameter.setValue("inputEdgeValue", valueOf(uint8{200}));
    parameter.setValue("inputBackgroundValue", valueOf(uint8{7}));
  };
  for (const Extents& extents : {Extents{17, 9, 8}, Extents{17, 1, 8}, Extents{1, 9, 8}, Extents{9, 8, 1}}) {
    expectAnyView<int16, uint8>("ZeroCrossingEdgeDetector", {}, extents, mixedValues<int16>(997), set);
  }
}

TEST(NeighbourhoodViews, LabellingAndDistancesEqualTheDenseRun) {
  const SetKeys background = [](IComposite& parameter) {
    parameter.setValue("inputBackgroundValue", valueOf(uint8{0}));
  };
  const SetKeys object = [](IComposite& parameter) { parameter.setValue("inputObjectValue", valueOf(uint8{1})); };
  for (const Extents& extents : {Extents{19, 9, 8}, Extents{7, 20, 9}}) {  // rows of bits, and voxels
    const auto voxels = fewValues<uint8>(997, 3);
    for (const std::string metric : {"Cityblock", "Chessboard"}) {
      expectAnyView<uint8, uint32>(metric + "ConnectedComponentsAnalysis", {"inputFirstVolume", "outputVolume"},
                                   extents, voxels, background);
      expectAnyView<uint8, uint16>(metric + "DistanceTransform", {}, extents, fewValues<uint8>(997, 40), object);
    }
  }
}

/// The raw labels stay in the output.
TEST(NeighbourhoodViews, LabelsThatRunOutEqualTheDenseRun) {
  const Extents extents{19, 9, 8};
  const auto run = [&](const Layout& layout) {
    const TestVolume<uint16> input(extents, layout);
    input.fill({0, 1});  // no two of these voxels have a common face
    const TestVolume<uint8> output(extents, layout);
    const std::vector<uint8> before(1, 9);
    const SetKeys set = [](IComposite& parameter) { parameter.setValue("inputBackgroundValue", valueOf(uint16{0})); };
    EXPECT_THROW(resultOf("CityblockConnectedComponentsAnalysis", {"inputFirstVolume", "outputVolume"}, set, input,
                          output, before, 1),
                 Exceptions::NumericalOverflow);
    return output.voxels();
  };
  const auto expected = run(denseLayout);
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    expectSameVoxels(run(layout), expected);
  }
}

TEST(NeighbourhoodViews, SelectionEqualsTheDenseRun) {
  const Extents extents{19, 9, 8};
  for (const Layout& layout : axisOrders()) {
    const TestVolume<uint16> labels(extents, layout);
    labels.fill(fewValues<uint16>(997, 40));
    const SetKeys set = [&](IComposite& parameter) {
      parameter.setValue("inputLabelVolume", SmartPointer<IComposite>(labels.volume()));
      parameter.setValue("inputThreshold", valueOf(SizeType{34}));
      parameter.setValue("inputSubstitutionValue", valueOf(uint8{5}));
    };
    expectAnyView<uint8, uint8>("SmallObjectsRemover", {}, extents, mixedValues<uint8>(997), set, axisOrders());
  }
}

TEST(NeighbourhoodViews, ReconstructionsEqualTheDenseRun) {
  const SetKeys height = [](IComposite& parameter) { parameter.setValue("inputHeight", valueOf(uint8{2})); };
  const SetKeys depth = [](IComposite& parameter) { parameter.setValue("inputDepth", valueOf(uint8{2})); };
  const SetKeys binary = [](IComposite& parameter) {
    parameter.setValue("inputBinaryFalse", valueOf(uint8{0}));
    parameter.setValue("inputBinaryTrue", valueOf(uint8{1}));
  };
  for (const Extents& extents : {Extents{19, 9, 8}, Extents{1, 20, 9}}) {
    expectAnyView<uint8, uint8>("HMaximumTransform", {}, extents, fewValues<uint8>(997, 9), height, axisOrders());
    expectAnyView<uint8, uint8>("HMinimumTransform", {}, extents, fewValues<uint8>(997, 9), depth, axisOrders());
    expectAnyView<uint8, uint8>("Thinning", {}, extents, fewValues<uint8>(997, 2), binary, axisOrders());
    expectAnyView<uint8, uint16>("WatershedTransform", {}, extents, fewValues<uint8>(997, 9), nothing, axisOrders());
  }
}

TEST(NeighbourhoodViews, HistogramsEqualTheDenseRun) {
  const SetKeys classes = [](IComposite& parameter) {
    parameter.setValue("inputNumberOfClasses", valueOf(SizeType{4}));
  };
  const SetKeys range = [](IComposite& parameter) {
    parameter.setValue("inputMinimumThreshold", valueOf(uint16{2}));
    parameter.setValue("inputMaximumThreshold", valueOf(uint16{90}));
  };
  const auto voxels = fewValues<uint16>(997, 100);
  expectAnyView<uint16, uint8>("KMeansHistogramSegmentation", {"inputVolume", "outputLabelVolume"}, {19, 9, 8}, voxels,
                               classes, axisOrders());
  expectAnyView<uint16, uint16>("HistogramEqualization", {}, {19, 9, 8}, voxels, range, axisOrders(), false);
  for (const uint32 high : {90u, 4000000000u}) {  // counted in a table, or value by value
    const SetKeys wide = [high](IComposite& parameter) {
      parameter.setValue("inputMinimumThreshold", valueOf(uint32{2}));
      parameter.setValue("inputMaximumThreshold", valueOf(high));
    };
    expectAnyView<uint32, uint32>("HistogramEqualization", {}, {19, 9, 8}, fewValues<uint32>(997, 100), wide,
                                  axisOrders(), false);
  }
}

/// The extremes as they are stored, in the order in which a host sees the voxels.
template <class T>
void expectExtremes(const std::vector<T>& voxels) {
  const auto run = [&](const Layout& layout) {
    const TestVolume<T> input({9, 4, 5}, layout);
    input.fill(voxels);
    const SmartPointer<IComposite> parameter(
        Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::ExtremeValueCalculation::Parameter"));
    parameter->setValue("inputVolume", SmartPointer<IComposite>(input.volume()));
    makeFrame("ExtremeValueCalculation")->apply(parameter);
    const auto extreme = [&](const char* key) {
      return Tavi::Persistence::DataPtr<T>(parameter->getValue(key))->getValue();
    };
    return std::vector<T>{extreme("outputMinimumValue"), extreme("outputMaximumValue")};
  };
  const auto expected = run(denseLayout);
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    expectSameVoxels(run(layout), expected);
  }
}

TEST(NeighbourhoodViews, ExtremesEqualTheDenseRun) {
  forEachVoxelType([]<class T>() {
    expectExtremes(mixedValues<T>(180));
    expectExtremes(mixedValues<T>(180, 3));
    std::vector<T> zeros = fewValues<T>(180, 2);
    if constexpr (std::is_floating_point_v<T>) {
      for (std::size_t i = 0; i < zeros.size(); i += 3) {
        zeros[i] = -zeros[i];
      }
    }
    expectExtremes(zeros);
  });
}

TEST(NeighbourhoodViews, FeaturesEqualTheDenseRun) {
  using Record = TaviOperators::StandardFeaturesCalculation::Features<uint16, float32, float64>;
  using Result = Tavi::Container::Vector<SmartPointer<Record>>;
  const Extents extents{19, 9, 8};
  const auto run = [&](const Layout& labelLayout, const Layout& valueLayout) {
    const TestVolume<uint16> labels(extents, labelLayout);
    const TestVolume<float32> values(extents, valueLayout);
    labels.fill(fewValues<uint16>(997, 6));
    values.fill(fewValues<float32>(991, 1000));
    const SmartPointer<IComposite> parameter(
        Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::StandardFeaturesCalculation::Parameter"));
    parameter->setValue("inputLabelVolume", SmartPointer<IComposite>(labels.volume()));
    parameter->setValue("inputValueVolume", SmartPointer<IComposite>(values.volume()));
    parameter->setValue("inputMinimumLabel", valueOf(uint16{0}));
    parameter->setValue("inputMaximumLabel", valueOf(uint16{5}));
    parameter->setValue("inputNumberOfThreads", valueOf(SizeType{1}));
    makeFrame("StandardFeaturesCalculation")->apply(parameter);
    const SmartPointer<Result> result(parameter->getValue("outputFeaturesVector"));
    std::vector<float64> numbers;
    for (const SmartPointer<Record>& record : *result) {
      const auto roi = record->roi.value();
      const auto centre = record->centerOfGravity.value();
      for (const SizeType number : {roi.getOrigin().prim, roi.getOrigin().sec, roi.getOrigin().tert,
                                    roi.getDimension().prim, roi.getDimension().sec, roi.getDimension().tert}) {
        numbers.push_back(static_cast<float64>(number));
      }
      numbers.insert(numbers.end(),
                     {centre.prim, centre.sec, centre.tert, record->mean.value(), record->variance.value()});
    }
    return numbers;
  };
  const auto expected = run(denseLayout, denseLayout);
  EXPECT_EQ(expected.size(), 6u * 11u);
  std::size_t turn = 0;
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    expectSameVoxels(run(layout, layout), expected);
    expectSameVoxels(run(layout, allLayouts()[37 * turn++ % 96]), expected);
  }
}

}  // namespace
