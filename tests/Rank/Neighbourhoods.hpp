#pragma once

#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

/// Structuring elements and the plain restatement of a filter that ranks the voxels under one. Positions are compared
/// with the volume one by one; offsets and interior boxes do not occur in it.
namespace NORV::Tests::Neighbourhoods {

struct Element {
  std::string name;
  Extents extents;
  std::vector<uint8> voxels;  // prim fastest
  Extents anchor;

  /// As a volume, in any layout.
  TestVolume<uint8> mask(const Layout& layout = {}) const {
    TestVolume<uint8> volume(extents, layout);
    volume.fill(voxels);
    return volume;
  }
};

inline Element fullBox(const Extents& extents, const Extents& anchor) {
  return {"box", extents, std::vector<uint8>(extents[0] * extents[1] * extents[2], 1), anchor};
}

inline Element ball(SizeType radius) {
  const SizeType length = 2 * radius + 1;
  Element element{"ball", {length, length, length}, {}, {radius, radius, radius}};
  const auto square = [radius](SizeType i) { return (i - radius) * (i - radius); };  // modulo 2^64, so right
  for (SizeType z = 0; z < length; ++z) {
    for (SizeType y = 0; y < length; ++y) {
      for (SizeType x = 0; x < length; ++x) {
        element.voxels.push_back(square(x) + square(y) + square(z) <= radius * radius ? 255 : 0);
      }
    }
  }
  return element;
}

inline Element scattered(const Extents& extents, const Extents& anchor, unsigned seed, unsigned oneOf = 3) {
  std::mt19937 random(seed);
  Element element{"scattered", extents, std::vector<uint8>(extents[0] * extents[1] * extents[2]), anchor};
  for (uint8& voxel : element.voxels) {
    voxel = random() % oneOf == 0 ? static_cast<uint8>(1 + random() % 255) : uint8(0);
  }
  element.voxels[(anchor[0] + extents[0] * (anchor[1] + extents[1] * anchor[2])) % element.voxels.size()] = 0;
  element.voxels[random() % element.voxels.size()] = 1;
  return element;
}

/// One that is set at a single position.
inline Element single(const Extents& extents, const Extents& position, const Extents& anchor) {
  Element element{"single", extents, std::vector<uint8>(extents[0] * extents[1] * extents[2]), anchor};
  element.voxels[position[0] + extents[0] * (position[1] + extents[1] * position[2])] = 3;
  return element;
}

/// Elements of all kinds, which fit into a volume of 9 x 6 x 5.
inline const std::vector<Element>& elements() {
  static const std::vector<Element> all{single({1, 1, 1}, {0, 0, 0}, {0, 0, 0}),
                                        single({3, 3, 3}, {1, 1, 1}, {1, 1, 1}),
                                        single({4, 2, 3}, {3, 0, 2}, {0, 1, 1}),
                                        fullBox({3, 3, 3}, {1, 1, 1}),
                                        fullBox({3, 3, 3}, {0, 0, 0}),
                                        fullBox({3, 3, 3}, {2, 2, 2}),
                                        fullBox({2, 4, 1}, {1, 1, 0}),
                                        fullBox({8, 1, 1}, {3, 0, 0}),
                                        fullBox({1, 5, 1}, {0, 4, 0}),
                                        fullBox({1, 1, 4}, {0, 0, 2}),
                                        fullBox({5, 5, 5}, {2, 2, 2}),
                                        ball(1),
                                        ball(2),
                                        scattered({5, 3, 4}, {2, 1, 1}, 11),
                                        scattered({3, 4, 2}, {0, 3, 1}, 12),
                                        scattered({7, 5, 5}, {6, 0, 4}, 13, 2),
                                        scattered({9, 6, 5}, {4, 3, 2}, 14, 20)};
  return all;
}

/// What the output of extents `size` holds after a run: `pick(values)` of the voxels under the element in mask order,
/// where all of them and the anchor lie inside, and elsewhere what it held before.
template <class T, class Pick>
std::vector<T> plainlyFiltered(const TestVolume<T>& input, const Extents& size, const Element& element,
                               std::vector<T> before, const Pick& pick) {
  SizeType index = 0;
  for (SizeType z = 0; z < size[2]; ++z) {
    for (SizeType y = 0; y < size[1]; ++y) {
      for (SizeType x = 0; x < size[0]; ++x, ++index) {
        std::vector<T> values;
        bool inside = true;
        SizeType voxel = 0;
        for (SizeType c = 0; c < element.extents[2]; ++c) {
          for (SizeType b = 0; b < element.extents[1]; ++b) {
            for (SizeType a = 0; a < element.extents[0]; ++a, ++voxel) {
              if (element.voxels[voxel] == 0) {
                continue;
              }
              const Extents corner{x + a, y + b, z + c};  // of which the anchor is still to be taken away
              Extents at{};
              for (unsigned i = 0; i < 3; ++i) {
                inside = inside && corner[i] >= element.anchor[i] && corner[i] - element.anchor[i] < size[i];
                at[i] = corner[i] - element.anchor[i];
              }
              if (inside) {
                values.push_back(input.at(at));
              }
            }
          }
        }
        if (inside) {
          before[index] = pick(values);
        }
      }
    }
  }
  return before;
}

template <class T>
T minimumOf(const std::vector<T>& values) {
  T minimum = values.front();
  for (std::size_t i = 1; i < values.size(); ++i) {
    minimum = minimum < values[i] ? minimum : values[i];  // a NaN gives way to what follows it
  }
  return minimum;
}

/// The smallest value such that at least half of all, rounded up, are at or below it.
template <class T>
T medianOf(const std::vector<T>& values) {
  std::vector<T> sorted = values;
  std::sort(sorted.begin(), sorted.end());
  return sorted[(values.size() + 1) / 2 - 1];
}

template <class Parameter>
SmartPointer<Parameter> request(const SmartPointer<IVolume>& input, const SmartPointer<IVolume>& mask,
                                const Extents& anchor, const SmartPointer<IVolume>& output = {}, SizeType threads = 0) {
  const auto parameter = makeParameter<Parameter>();
  parameter->inputVolume = input;
  parameter->inputMask = mask;
  parameter->inputAnchor = Tavi::Position<SizeType>(anchor[0], anchor[1], anchor[2]);
  parameter->outputVolume = output;
  parameter->inputNumberOfThreads = threads;
  return parameter;
}

/// Runs a frame on one case and compares every voxel of the output, of the input and of what lies around them.
template <class Frame, class Parameter, class T, class Pick>
void check(const Extents& size, const Element& element, const std::vector<T>& values, const Layout& inputLayout,
           const Layout& outputLayout, const Layout& maskLayout, SizeType threads, const Pick& pick) {
  SCOPED_TRACE(element.name + " of " + std::to_string(element.extents[0]) + "x" + std::to_string(element.extents[1]) +
               "x" + std::to_string(element.extents[2]) + ", input: " + inputLayout.name() +
               ", output: " + outputLayout.name() + ", threads: " + std::to_string(threads));
  const TestVolume<T> input(size, inputLayout), output(size, outputLayout);
  input.fill(values);
  output.fill(mixedValues<T>(size[0] * size[1] * size[2], 99));
  const auto mask = element.mask(maskLayout);
  const std::vector<T> inputBefore = input.voxels();
  const std::vector<T> expected = plainlyFiltered(input, size, element, output.voxels(), pick);

  const auto parameter = request<Parameter>(input, mask, element.anchor, output, threads);
  Frame frame;
  frame.apply(parameter);
  EXPECT_TRUE(parameter->outputVolume.value() == output.volume());
  expectSameVoxels(output.voxels(), expected);
  expectSameVoxels(input.voxels(), inputBefore);
  input.expectUntouchedOutside();
  output.expectUntouchedOutside();
  EXPECT_EQ(frame.getProgress().getProgress(), 1.0);
}

/// All elements in dense rows of lengths around those of vectors, then all pairs of layouts in turn, then all thread
/// counts.
template <class Frame, class Parameter, class T, class Pick>
void checkEverywhere(const std::vector<T>& values, const Pick& pick) {
  const RuntimeSettings settings;
  for (const Element& element : elements()) {
    for (const Extents& size : {Extents{9, 6, 5}, Extents{37, 7, 6}, Extents{305, 6, 7}}) {
      check<Frame, Parameter>(size, element, values, {}, {}, {}, 1, pick);
    }
  }
  std::size_t turn = 0;
  for (const Layout& layout : allLayouts()) {
    const Layout& other = allLayouts()[turn * 31 % allLayouts().size()];
    const Element& element = elements()[turn++ % elements().size()];
    check<Frame, Parameter>({21, 8, 6}, element, values, layout, layout, other, 2, pick);
    check<Frame, Parameter>({21, 8, 6}, element, values, layout, other, layout, 1, pick);
    check<Frame, Parameter>({21, 8, 6}, element, values, {}, layout, {}, 1, pick);
  }
  for (const SizeType threads : threadCounts()) {
    check<Frame, Parameter>({70, 9, 8}, fullBox({3, 2, 3}, {1, 0, 1}), values, {}, {}, {}, threads, pick);
  }
}

}  // namespace NORV::Tests::Neighbourhoods
