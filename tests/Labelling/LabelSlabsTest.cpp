#include "Labelling/LabellingTests.hpp"

#include <Impl/Frame/Unstoppable.hpp>

#include <Labelling/ConnectedComponents.hpp>
#include <omp.h>

namespace NORV::Tests {
namespace {

using namespace TaviOperators;

/// Labelling in a given number of slabs, which the size of a volume decides otherwise.
template <bool allNeighbours>
class SlabTests {
  static constexpr auto neighbours = allNeighbours ? Impl::Neighbours::all : Impl::Neighbours::faces;

public:
  /// The number of labels, 0 after an abort.
  template <class In, class Out>
  static uint64 run(OperatorBase& self, SizeType slabs, const TestVolume<In>& input, const TestVolume<Out>& output,
                    In background) {
    Impl::LabelTable<Out> table;
    table.reset(64);
    const Tavi::Volume<In>& source = *input.volume();
    const auto view = Impl::viewOf(source);
    Impl::ConnectedComponentsRun<neighbours, Out> run(
        self, 3, std::min(slabs, view.dimTert), Impl::viewOf(*output.volume()), table, Exceptions::Origin("here"));
    return run.run(Impl::Foreground(view, background));
  }

  template <class In, class Out>
  static void expectStated(const std::vector<In>& values, const Extents& extents, In background, SizeType slabs,
                           const Layout& inputLayout = {}, const Layout& outputLayout = {}) {
    SCOPED_TRACE(std::to_string(slabs) + " slabs");
    const TestVolume<In> input(extents, inputLayout);
    const TestVolume<Out> output(extents, outputLayout);
    input.fill(values);
    Impl::Unstoppable self;
    const uint64 number = run(self, slabs, input, output, background);
    const auto stated = floodedLabels<In>(values, extents, background, allNeighbours);
    expectSameVoxels(output.voxels(), std::vector<Out>(stated.begin(), stated.end()));
    EXPECT_EQ(number, *std::max_element(stated.begin(), stated.end()) + 1);
    EXPECT_EQ(self.getProgress().getProgress(), 1.0);
    expectSameVoxels(input.voxels(), values);
    output.expectUntouchedOutside();
  }

  static void anySizeDensityAndNumberOfSlabs() {
    std::mt19937 random(17);
    for (unsigned turn = 0; turn < 60; ++turn) {
      const SizeType widths[] = {16 + random() % 20, 63 + random() % 4, 127 + random() % 4, 16 + random() % 200};
      const Extents extents{widths[turn % 4], 1 + random() % 9, 1 + random() % 40};
      const double share = static_cast<double>(1 + random() % 99) / 100.0;
      const auto values = sparseValues<uint8>(extents[0] * extents[1] * extents[2], turn, share);
      for (const SizeType slabs : {2u, 3u, 5u, 33u}) {
        expectStated<uint8, uint32>(values, extents, 9, slabs);
      }
    }
  }

  /// Objects that wind through all slabs, and meet only in the last one or in the first.
  static void objectsThatMeetInOtherSlabs() {
    const Extents extents{67, 9, 23};
    for (const SizeType period : {2u, 3u}) {
      for (const SizeType back : {0u, 22u}) {
        for (const bool isDiagonal : {false, true}) {
          std::vector<uint8> comb;
          for (SizeType z = 0; z < extents[2]; ++z) {
            for (SizeType y = 0; y < extents[1]; ++y) {
              for (SizeType x = 0; x < extents[0]; ++x) {
                const SizeType tooth = isDiagonal ? (x + 67 - z) % 67 : x;
                comb.push_back(z == back || (tooth % period == 0 && y % 2 == 0) ? 1 : 0);
              }
            }
          }
          for (const SizeType slabs : {2u, 5u, 23u}) {
            expectStated<uint8, uint16>(comb, extents, 0, slabs);
            expectStated<uint8, uint16>(comb, extents, 1, slabs);
          }
        }
      }
    }
  }

  static void everyLayoutAndType() {
    const Extents extents{35, 4, 7};
    const auto values = sparseValues<uint16>(35 * 28, 3, 0.4);
    for (const Layout& layout : allLayouts()) {
      SCOPED_TRACE(layout.name());
      expectStated<uint16, uint32>(values, extents, 9, 3, layout, regionLayout);
      expectStated<uint16, uint16>(values, extents, 9, 7, regionLayout, layout);
    }
    const std::vector<int8> marks = [] {
      std::vector<int8> all(35 * 28, 0);
      for (std::size_t i = 0; i < all.size(); i += 7) {
        all[i] = 4;
      }
      return all;
    }();
    expectStated<int8, uint8>(marks, extents, 0, 2);
  }

  /// The raw labels of one scan decide, not those of the slabs: fails, or succeeds, as a single slab does.
  static void rawLabelsAreThoseOfOneScan() {
    std::mt19937 random(5);
    int failures = 0, tight = 0, roomy = 0;
    for (unsigned turn = 0; turn < 80; ++turn) {
      const Extents extents{16 + random() % 90, 2 + random() % 9, 4 + random() % 16};
      const auto values = sparseValues<uint8>(extents[0] * extents[1] * extents[2], turn, allNeighbours ? 0.07 : 0.15);
      const uint64 needed = countRawLabels<uint8>(values, extents, 9, allNeighbours);
      for (const SizeType slabs : {2u, 5u}) {
        if (needed > 255) {
          expectOverflow(values, extents, slabs, turn % 2 == 0);
          ++failures;
        } else {
          expectStated<uint8, uint8>(values, extents, 9, slabs);
          ++(needed > 200 ? tight : roomy);
        }
      }
    }
    EXPECT_GT(failures, 20);
    EXPECT_GT(tight, 1);
    EXPECT_GT(roomy, 20);
  }

  /// At any step a run ends, and the output holds nothing but labels and what was there.
  static void abortAtAnyStep() {
    const Extents extents{70, 40, 24};
    const auto values = sparseValues<uint8>(70 * 40 * 24, 9, 0.3);
    const TestVolume<uint8> input(extents);
    input.fill(values);
    int aborted = 0;
    for (int step = 0; step < 48; step += 2) {
      const TestVolume<uint16> output(extents, regionLayout);
      Impl::Unstoppable self;
      std::atomic<bool> ended{false};
      std::thread other([&] {
        while (!ended && self.getProgress().getProgress() < static_cast<double>(step) / 48.0) {
          std::this_thread::yield();
        }
        self.abort();
      });
      const uint64 number = run(self, 5, input, output, uint8{9});
      ended = true;
      other.join();
      if (number == 0) {
        ++aborted;
        EXPECT_LT(self.getProgress().getProgress(), 1.0);
      } else {
        const auto stated = floodedLabels<uint8>(values, extents, 9, allNeighbours);
        expectSameVoxels(output.voxels(), std::vector<uint16>(stated.begin(), stated.end()));
      }
      output.expectUntouchedOutside();
    }
    EXPECT_GT(aborted, 0);
  }

private:
  static void expectOverflow(const std::vector<uint8>& values, const Extents& extents, SizeType slabs, bool isInPlace) {
    const TestVolume<uint8> input(extents), apart(extents);
    const TestVolume<uint8>& output = isInPlace ? input : apart;
    input.fill(values);
    const std::vector<uint8> before = output.voxels();
    Impl::Unstoppable self;
    EXPECT_THROW(run(self, slabs, input, output, uint8{9}), Exceptions::NumericalOverflow);
    const auto raw = rawLabels<uint8>(values, extents, 9, allNeighbours, 255);
    std::vector<uint8> expected(before);
    for (std::size_t i = 0; i < raw.size(); ++i) {
      expected[i] = raw[i] ? static_cast<uint8>(*raw[i]) : before[i];
    }
    expectSameVoxels(output.voxels(), expected);
  }
};

TEST(LabelSlabs, AnySizeDensityAndNumberOfSlabsIsAsStated) {
  SlabTests<false>::anySizeDensityAndNumberOfSlabs();
  SlabTests<true>::anySizeDensityAndNumberOfSlabs();
}
TEST(LabelSlabs, ObjectsThatMeetInOtherSlabs) {
  SlabTests<false>::objectsThatMeetInOtherSlabs();
  SlabTests<true>::objectsThatMeetInOtherSlabs();
}
TEST(LabelSlabs, EveryLayoutAndType) {
  SlabTests<false>::everyLayoutAndType();
  SlabTests<true>::everyLayoutAndType();
}
TEST(LabelSlabsFailure, RawLabelsAreThoseOfOneScan) {
  SlabTests<false>::rawLabelsAreThoseOfOneScan();
  SlabTests<true>::rawLabelsAreThoseOfOneScan();
}
TEST(LabelSlabsAbort, AtAnyStepEndsTheRun) {
  SlabTests<false>::abortAtAnyStep();
  SlabTests<true>::abortAtAnyStep();
}

TEST(LabelSlabs, SmallVolumesAreOneSlab) {
  const auto slabs = [](const Extents& extents) {
    return Impl::labelSlabs(4, Impl::viewOf(*TestVolume<uint8>(extents).volume()));
  };
  EXPECT_EQ(slabs({16, 16, 16}), 1u);
  EXPECT_EQ(slabs({256, 255, 1}), 1u);
  EXPECT_EQ(slabs({256, 256, 2}), 2u);
  EXPECT_EQ(slabs({64, 64, 64}), 4u);
  EXPECT_EQ(slabs({32, 32, 512}), 16u);
}

/// What several threads join at once are the trees that one thread makes, whatever the order.
TEST(LabelSlabs, ASharedForestHasTheSmallestLabelsAsRoots) {
  constexpr uint32 count = 5000;
  for (const bool isDescending : {false, true}) {
    std::vector<uint32> parents(count);
    for (uint32 i = 0; i < count; ++i) {
      parents[i] = i;
    }
    const Impl::SharedForest<uint32> forest(parents.data());
    constexpr uint32 parts = 7;
    std::vector<std::vector<uint32>> joined(parts);
    Impl::Unstoppable self;
    Impl::forEachSlice(self, 4, parts, Impl::Steps::silent, [&](SizeType part) {
      for (auto i = static_cast<uint32>(part); i + parts < count; i += parts) {
        const uint32 at = isDescending ? count - 1 - i : i;
        forest.unite(at, isDescending ? at - parts : at + parts, joined[part]);
      }
    });
    std::size_t roots = count;
    for (const auto& list : joined) {
      roots -= list.size();
      for (const uint32 label : list) {
        forest.flatten(label);
      }
    }
    EXPECT_EQ(roots, parts);
    for (uint32 i = 0; i < count; ++i) {
      ASSERT_EQ(parents[i], i % parts);
    }
  }
}

}  // namespace
}  // namespace NORV::Tests
