#include "ViewRuns.hpp"

#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::Tests;

template <class T>
void setLimits(IComposite& parameter) {
  parameter.setValue("inputLowerLimit", valueOf(T(3)));
  parameter.setValue("inputUpperLimit", valueOf(T(90)));
}

TEST(VoxelWiseViews, EqualTheDenseRunForAllTypes) {
  forEachVoxelType([]<class T>() {
    for (const Extents& extents : {Extents{19, 9, 5}, Extents{1, 7, 6}, Extents{6, 1, 9}, Extents{5, 8, 1},
                                   Extents{1, 1, 4}, Extents{33, 18, 1}}) {
      expectAnyView<T, T>("Saturation", {}, extents, mixedValues<T>(997), &setLimits<T>, axisOrders());
    }
  });
}

TEST(VoxelWiseViews, HoldBeyondOneTile) {
  const auto expectLarge = []<class T>(const Extents& extents) {
    expectAnyView<T, T>("Saturation", {}, extents, mixedValues<T>(9973), &setLimits<T>, axisOrders());
  };
  expectLarge.operator()<uint8>({270, 3, 261});
  expectLarge.operator()<uint16>({3, 259, 140});
  expectLarge.operator()<float32>({259, 66, 2});
  expectLarge.operator()<float64>({33, 2, 300});
}

TEST(VoxelWiseViews, HoldForTypesOfDifferentSize) {
  const SetKeys none = [](IComposite&) {};
  expectAnyView<uint8, float64>("StaticCast", {}, {40, 7, 35}, mixedValues<uint8>(997), none, axisOrders());
  expectAnyView<int32, uint8>("StaticCast", {}, {35, 40, 3}, mixedValues<int32>(997), none, axisOrders());
}

TEST(VoxelWiseViews, HoldForTwoInputsThatLieDifferently) {
  const Extents extents{21, 10, 17};
  const auto voxels = mixedValues<int16>(997), others = mixedValues<int16>(991, 2);
  std::size_t turn = 0;
  for (const Layout& layout : allLayouts()) {
    const TestVolume<int16> second(extents, layout);
    second.fill(others);
    const SetKeys set = [&](IComposite& parameter) {
      parameter.setValue("inputSecondVolume", SmartPointer<IComposite>(second.volume()));
    };
    const Layout& other = allLayouts()[(41 * turn++ + 5) % allLayouts().size()];
    expectAnyView<int16, int16>("Maximum", {"inputFirstVolume", "outputVolume"}, extents, voxels, set,
                                {layout, other, Layout{{4, 0, 2}}});
  }
}

/// Outputs that are stored past the cache.
TEST(VoxelWiseViews, HoldForLargeOutputs) {
  using Tavi::Orientation;
  const Tavi::Dimension<SizeType> shown(300, 221, 259);
  const Tavi::VolumePtr<uint8> input(new Tavi::Volume<uint8>(shown));
  for (SizeType i = 0; i < input->getSize(); ++i) {
    input->getData()[i] = static_cast<uint8>(i * 2654435761u >> 13);
  }
  for (const Codes& codes : {Codes{4, 2, 0}, Codes{3, 0, 4}, Codes{1, 2, 4}, Codes{2, 5, 0}}) {
    Tavi::SizeType stored[3];
    stored[codes[0] / 2] = shown.prim;
    stored[codes[1] / 2] = shown.sec;
    stored[codes[2] / 2] = shown.tert;
    const Tavi::VolumePtr<uint8> output(
        new Tavi::Volume<uint8>(Tavi::Dimension<SizeType>(stored[0], stored[1], stored[2])));
    output->setOrientation(Orientation(codes[0], codes[1], codes[2]));
    const SmartPointer<IComposite> parameter(
        Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::Saturation::Parameter"));
    parameter->setValue("inputVolume", SmartPointer<IComposite>(input));
    parameter->setValue("outputVolume", SmartPointer<IComposite>(output));
    setLimits<uint8>(*parameter);
    makeFrame("Saturation")->apply(parameter);
    const auto from = Tavi::viewOf(*input);
    const auto to = Tavi::viewOf(*output);
    SizeType wrong = 0;
    for (SizeType z = 0; z < shown.tert; ++z) {
      for (SizeType y = 0; y < shown.sec; ++y) {
        for (SizeType x = 0; x < shown.prim; ++x) {
          wrong += to.at(x, y, z) != std::clamp<uint8>(from.at(x, y, z), 3, 90) ? 1u : 0u;
        }
      }
    }
    EXPECT_EQ(wrong, 0u);
  }
}

/// Two volumes on one block, seen along different axes.
TEST(VoxelWiseViews, OutputsMayShareTheMemoryOfInputsSeenOtherwise) {
  constexpr SizeType n = 18;
  const Tavi::Dimension<SizeType> cube(n, n, n);
  for (const std::string name : {"Inversion", "Erosion", "CityblockConnectedComponentsAnalysis"}) {
    SCOPED_TRACE(name);
    for (const Codes& codes : allOrientations()) {
      std::vector<uint16> block(n * n * n), copy = block;
      for (SizeType i = 0; i < block.size(); ++i) {
        block[i] = copy[i] = static_cast<uint16>((i * 2654435761u >> 13) % 5 * 1000);
      }
      const auto show = [&](std::vector<uint16>& memory, const Codes& seen) {
        const Tavi::VolumePtr<uint16> volume(new Tavi::Volume<uint16>(cube, memory.data(), {}));
        volume->setOrientation(Tavi::Orientation(seen[0], seen[1], seen[2]));
        return volume;
      };
      const auto run = [&](const Tavi::VolumePtr<uint16>& input, const Tavi::VolumePtr<uint16>& output) {
        const SmartPointer<IComposite> parameter(
            Tavi::Factory::getClassFactory().createInstance("NORV::TaviOperators::" + name + "::Parameter"));
        const bool isLabelling = name.find("Components") != std::string::npos;
        parameter->setValue(isLabelling ? "inputFirstVolume" : "inputVolume", SmartPointer<IComposite>(input));
        parameter->setValue("outputVolume", SmartPointer<IComposite>(output));
        if (isLabelling) {
          parameter->setValue("inputBackgroundValue", valueOf(uint16{0}));
        } else if (name == "Erosion") {
          const TestVolume<uint8> mask({3, 2, 1}, denseLayout, 1);
          parameter->setValue("inputMask", SmartPointer<IComposite>(mask.volume()));
          parameter->setValue(
              "inputAnchor",
              SmartPointer<IComposite>(new Tavi::PositionComposite<SizeType>(Tavi::Position<SizeType>(1, 0, 0))));
        }
        makeFrame(name)->apply(parameter);
        return voxelsOf(output);
      };
      const Codes dense{0, 2, 4};
      // What the border of the output keeps is what is in its memory before.
      std::vector<uint16> apart = copy;
      const auto expected = run(show(copy, dense), show(apart, codes));
      expectSameVoxels(run(show(block, dense), show(block, codes)), expected);
    }
  }
}

}  // namespace
