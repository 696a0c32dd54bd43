#pragma once

#include "Neighbourhoods.hpp"
#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Saturation.hpp>

#include <string>
#include <thread>
#include <vector>

/// What both histogram filters must do, whatever the rank.
namespace NORV::Tests::HistogramUpdate {

using namespace Neighbourhoods;

template <class Parameter>
void expectKeys(const std::string& name) {
  ASSERT_TRUE(isRegistered(name));
  const SmartPointer<IComposite> parameter = Tavi::Factory::getClassFactory().createInstance(name);
  EXPECT_EQ(parameter->getType(), name);
  const std::vector<std::string> keys{"inputVolume", "inputMask", "inputAnchor", "inputNumberOfThreads",
                                      "outputVolume"};
  ASSERT_EQ(parameter->getNumberOfKeys(), keys.size());
  for (SizeType i = 0; i < keys.size(); ++i) {
    EXPECT_EQ(parameter->getKey(i), keys[i]);
  }
}

template <class T>
std::string identifier(const std::string& op) {
  return typedIdentifier<T, T, uint8>(op);
}

/// Grey values over the whole range, and noise in a narrow part of it, where the search takes short steps.
template <class Frame, class Parameter, class T, class Pick>
void checkAll(const Pick& pick) {
  checkEverywhere<Frame, Parameter>(mixedValues<T>(20011, 5), pick);
  std::vector<T> narrow;
  for (const uint8 value : mixedValues<uint8>(20011, 6)) {
    narrow.push_back(static_cast<T>(100 + value % 16));
  }
  checkEverywhere<Frame, Parameter>(narrow, pick);
  // Larger than a row of counters, so that no way to the rank that is for small elements alone is taken.
  check<Frame, Parameter>({60, 12, 11}, fullBox({21, 9, 9}, {3, 4, 5}), mixedValues<T>(20011, 7), {}, {}, {}, 2, pick);
  check<Frame, Parameter>({60, 12, 11}, scattered({19, 9, 7}, {9, 4, 3}, 8), narrow, {}, {}, {}, 2, pick);
}

/// Elements that reach past the volume: nothing is refused, nothing is written outside the positions where all fits.
template <class Frame, class Parameter, class T, class Pick>
void checkOversized(const Pick& pick) {
  const Extents size{9, 6, 5};
  const std::vector<T> values = mixedValues<T>(270);
  const SizeType huge = ~SizeType{0};
  std::vector<Element> cases{fullBox({10, 1, 1}, {0, 0, 0}),
                             fullBox({9, 6, 6}, {4, 3, 3}),
                             fullBox({30, 30, 30}, {15, 15, 15}),
                             single({20, 20, 20}, {10, 10, 10}, {10, 10, 10}),
                             single({20, 1, 1}, {19, 0, 0}, {12, 0, 0}),
                             fullBox({3, 3, 3}, {5, 1, 1}),
                             fullBox({3, 3, 3}, {1, 1, 6}),
                             fullBox({3, 3, 3}, {11, 1, 1}),
                             fullBox({3, 3, 3}, {huge, 1, 1}),
                             fullBox({3, 3, 3}, {1, huge / 2, 1}),
                             fullBox({3, 3, 3}, {1, 1, huge / 2 + 1})};
  for (const Element& element : cases) {
    for (const Layout& layout : someLayouts()) {
      check<Frame, Parameter>(size, element, values, layout, layout, {}, 2, pick);
    }
  }
}

template <class Frame, class Parameter, class T>
void checkCopiesWithOneVoxelAtTheAnchor() {
  const TestVolume<T> input({37, 5, 4}, regionLayout);
  input.fill(mixedValues<T>(740));
  const auto parameter = request<Parameter>(input, single({3, 3, 3}, {1, 2, 0}, {1, 2, 0}).mask(), {1, 2, 0});
  Frame().apply(parameter);
  expectSameVoxels(voxelsOf(Tavi::VolumePtr<T>(parameter->outputVolume.value())), input.voxels());
}

/// The positions that a run with a full 3 x 3 x 3 element writes, as a box.
template <class Frame, class Parameter>
void expectWritten(const Extents& anchor, const Extents& first, const Extents& size) {
  const TestVolume<uint8> input({8, 7, 6}, {}, 1), output({8, 7, 6}, {}, 200);
  Frame().apply(request<Parameter>(input, fullBox({3, 3, 3}, anchor).mask(), anchor, output));
  for (SizeType z = 0; z < 6; ++z) {
    for (SizeType y = 0; y < 7; ++y) {
      for (SizeType x = 0; x < 8; ++x) {
        const bool written = x - first[0] < size[0] && y - first[1] < size[1] && z - first[2] < size[2];
        EXPECT_EQ(output.at({x, y, z}), written ? 1 : 200) << x << " " << y << " " << z;
      }
    }
  }
}

template <class Frame, class Parameter, class Pick>
void checkInPlace(const Pick& pick) {
  for (const Layout& layout : someLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<uint16> volume({40, 6, 5}, layout);
    volume.fill(mixedValues<uint16>(1200));
    const Element element = scattered({3, 3, 2}, {1, 1, 0}, 4);
    const std::vector<uint16> expected = plainlyFiltered(volume, {40, 6, 5}, element, volume.voxels(), pick);
    Frame().apply(request<Parameter>(volume, element.mask(), element.anchor, volume, 2));
    expectSameVoxels(volume.voxels(), expected);
    volume.expectUntouchedOutside();
  }
}

template <class Frame, class Parameter>
void checkProgress(const std::string& op) {
  const TestVolume<uint8> input({7, 5, 4});
  const auto typed = createTyped(identifier<uint8>(op));
  EXPECT_EQ(typed->getProgress().getProgress(), 0.0);
  for (int run = 0; run < 2; ++run) {
    typed->apply(request<Parameter>(input, ball(1).mask(), {1, 1, 1}));
    EXPECT_EQ(typed->getProgress().getProgress(), 1.0);
  }
}

/// An abort from another thread: slices that had not begun stay as they were, the run returns normally and the output
/// is stored; the next run is whole.
template <class Parameter>
void checkAbort(const std::string& op) {
  const TestVolume<uint16> input({200, 100, 100}, {}, 1), output({200, 100, 100}, {}, 200);
  const auto typed = createTyped(identifier<uint16>(op));
  const auto parameter = request<Parameter>(input, fullBox({15, 15, 15}, {7, 7, 7}).mask(), {7, 7, 7}, output, 1);
  std::thread stopper([&typed] {
    while (typed->getProgress().getProgress() == 0.0) {
      std::this_thread::yield();
    }
    typed->abort();
  });
  typed->apply(parameter);
  stopper.join();
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  EXPECT_EQ(output.at({7, 7, 7}), 1);
  if (typed->getProgress().getProgress() < 1.0) {  // the run may end before the abort is seen
    EXPECT_EQ(output.at({100, 50, 92}), 200);
  }
  typed->apply(parameter);
  EXPECT_EQ(output.at({100, 50, 92}), 1);
}

/// Requires `text` from the frame and leaves the output given as it was.
template <class Frame, class Parameter>
void expectRefused(const SmartPointer<Parameter>& parameter, const std::string& text) {
  const TestVolume<uint8> output({2, 3, 4});
  parameter->outputVolume = output;
  expectRefusal([&] { Frame().apply(parameter); }, text);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  expectSameVoxels(voxelsOf(output.volume()), std::vector<uint8>(24, 77));
}

}  // namespace NORV::Tests::HistogramUpdate
