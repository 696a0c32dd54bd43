#include "support/Volumes.hpp"

#include <Impl/Frame/Unstoppable.hpp>

#include <Labelling/SelectionPasses.hpp>

#include <atomic>
#include <map>
#include <string>
#include <thread>

namespace NORV::Tests {
namespace {

using namespace TaviOperators;
using Tavi::SizeType;

constexpr Extents oddExtents{37, 5, 41};
constexpr SizeType oddSize = 37 * 5 * 41;

/// Labels in runs, up to `largest`.
template <class L>
std::vector<L> labelsUpTo(SizeType largest, unsigned seed, SizeType size = oddSize) {
  std::mt19937 random(seed);
  std::vector<L> labels;
  while (labels.size() < size) {
    const auto label = static_cast<L>(random() % 3 == 0 ? 0 : random() % (largest + 1));
    labels.insert(labels.end(), 1 + random() % 60, label);
  }
  labels.resize(size);
  labels[seed % size] = static_cast<L>(largest);
  return labels;
}

/// The sizes of the labels, counted by a given number of parts.
template <class L>
void expectSizes(const std::vector<L>& labels, SizeType parts, const Layout& layout = {},
                 const Extents& extents = oddExtents) {
  SCOPED_TRACE(std::to_string(parts) + " parts, " + layout.name());
  const TestVolume<L> volume(extents, layout, L(3));
  volume.fill(labels);
  std::map<L, uint64> stated;
  for (const L label : labels) {
    ++stated[label];
  }
  Impl::Unstoppable self;
  Impl::SelectionRun run(self, static_cast<int>(parts), parts, extents[2]);
  const Tavi::Volume<L>& source = *volume.volume();
  const Impl::ObjectSizes sizes = Impl::ObjectMeasurement<L>(run, Impl::viewOf(source)).run();
  ASSERT_EQ(sizes.size(), SizeType{stated.rbegin()->first} + 1);
  for (const auto& [label, count] : stated) {
    ASSERT_EQ(sizes.of(label), count) << "of label " << label;
  }
  EXPECT_EQ(self.getProgress().getProgress(), 2.0 / 3.0);
  for (const uint64 limit : {0u, 1u, 50u}) {
    for (const bool isBelow : {false, true}) {
      const Impl::SizeRule rule{limit, isBelow};
      uint64 removed = rule.removes(0) ? sizes.size() - stated.size() : 0;
      for (const auto& entry : stated) {
        removed += rule.removes(entry.second) ? 1u : 0u;
      }
      EXPECT_EQ(Impl::countRemoved(run, sizes, rule), removed);
    }
  }
}

TEST(SelectionParts, SizesAreThoseOfOnePart) {
  unsigned seed = 1;
  for (const SizeType parts : {1u, 2u, 3u, 5u, 33u, 41u}) {
    expectSizes<uint8>(labelsUpTo<uint8>(255, seed++), parts);
    expectSizes<uint16>(labelsUpTo<uint16>(60, seed++), parts);
    expectSizes<uint16>(labelsUpTo<uint16>(65535, seed++), parts);
    // Within the tables of the parts, beyond them, more labels than voxels, and more than any table holds.
    for (const SizeType largest : {0u, 900u, 4095u, 4096u, 7000u, 100000u, 4294967295u}) {
      expectSizes<uint32>(labelsUpTo<uint32>(largest, seed++), parts);
    }
  }
}

/// Several tables, but fewer than parts.
TEST(SelectionParts, AsManyTablesAsTakeTheMemoryOfTheLabels) {
  const Extents extents{64, 50, 33};
  for (const SizeType largest : {4000u, 5000u, 20000u, 60000u}) {
    const auto labels = labelsUpTo<uint32>(largest, 7, 64 * 50 * 33);
    for (const SizeType parts : {1u, 2u, 7u, 33u}) {
      expectSizes<uint32>(labels, parts, {}, extents);
    }
  }
}

TEST(SelectionParts, SizesInEveryLayout) {
  for (const Layout& layout : someLayouts()) {
    expectSizes<uint32>(labelsUpTo<uint32>(5000, 3), 4, layout);
    expectSizes<uint8>(labelsUpTo<uint8>(200, 4), 4, layout);
  }
}

/// The first, some or the last slice holds a label that no table of a part has room for.
TEST(SelectionParts, ALargeLabelInAnySlice) {
  for (const SizeType slice : {0u, 1u, 20u, 40u}) {
    std::vector<uint32> labels = labelsUpTo<uint32>(300, 8);
    labels[slice * 37 * 5 + 100] = 1u << 20;
    for (const SizeType parts : {1u, 2u, 5u, 41u}) {
      expectSizes<uint32>(labels, parts);
    }
  }
}

TEST(SelectionParts, TheCopyOfAllParts) {
  const std::vector<uint8> values = mixedValues<uint8>(oddSize);
  const std::vector<uint16> labels = labelsUpTo<uint16>(500, 12);
  std::map<uint16, uint64> sizes;
  for (const uint16 label : labels) {
    ++sizes[label];
  }
  std::vector<uint8> expected = values;
  for (std::size_t i = 0; i < oddSize; ++i) {
    if (sizes[labels[i]] < 20) {
      expected[i] = 99;
    }
  }
  for (const SizeType parts : {1u, 2u, 5u, 33u}) {
    for (const bool isInPlace : {false, true}) {
      const TestVolume<uint8> input(oddExtents, regionLayout), apart(oddExtents, regionLayout);
      const TestVolume<uint16> label(oddExtents);
      const TestVolume<uint8>& output = isInPlace ? input : apart;
      input.fill(values);
      label.fill(labels);
      Impl::Unstoppable self;
      Impl::SelectionRun run(self, 4, parts, oddExtents[2]);
      const Tavi::Volume<uint16>& labelSource = *label.volume();
      const Tavi::Volume<uint8>& source = *input.volume();
      const auto counted = Impl::ObjectMeasurement<uint16>(run, Impl::viewOf(labelSource)).run();
      const Impl::SelectedCopy<uint8, uint16> copy(counted, {20, true}, Impl::viewOf(labelSource), Impl::viewOf(source),
                                                   Impl::viewOf(*output.volume()), 99);
      EXPECT_TRUE(copy.run(run));
      EXPECT_EQ(self.getProgress().getProgress(), 1.0);
      expectSameVoxels(output.voxels(), expected);
      output.expectUntouchedOutside();
    }
  }
}

TEST(SelectionPartsAbort, AtAnyStepEndsThePasses) {
  const TestVolume<uint32> label(oddExtents);
  const TestVolume<uint8> input(oddExtents);
  const Tavi::Volume<uint32>& labelSource = *label.volume();
  const Tavi::Volume<uint8>& source = *input.volume();
  for (const SizeType largest : {200u, 90000u}) {  // with and without the search for the largest label
    label.fill(labelsUpTo<uint32>(largest, 12));
    for (int step = 0; step < 123; step += 3) {
      const TestVolume<uint8> output(oddExtents, regionLayout);
      Impl::Unstoppable self;
      Impl::SelectionRun run(self, 3, 5, oddExtents[2]);
      std::atomic<bool> ended{false};
      std::thread other([&] {
        while (!ended && self.getProgress().getProgress() < static_cast<double>(step) / 123.0) {
          std::this_thread::yield();
        }
        self.abort();
      });
      const auto sizes = Impl::ObjectMeasurement<uint32>(run, Impl::viewOf(labelSource)).run();
      if (sizes.size() == 0) {
        EXPECT_LE(self.getProgress().getProgress(), 2.0 / 3.0);
      } else {
        EXPECT_EQ(sizes.size(), largest + 1);
        const Impl::SelectedCopy<uint8, uint32> copy(sizes, {20, true}, Impl::viewOf(labelSource), Impl::viewOf(source),
                                                     Impl::viewOf(*output.volume()), 9);
        const bool isDone = copy.run(run);
        EXPECT_EQ(isDone, self.getProgress().getProgress() == 1.0);
      }
      ended = true;
      other.join();
      output.expectUntouchedOutside();
    }
  }
}

}  // namespace
}  // namespace NORV::Tests
