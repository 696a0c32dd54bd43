#include "support/NaiveView.hpp"

#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/DenseOutput.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/TransformVoxels.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <vector>

namespace {

using namespace NORV;
using namespace NORV::TaviOperators;
using Impl::View;
using Tests::Codes;
using Tests::Extents;

/// A view of given extents, and the memory around it.
template <class T>
class Block {
public:
  Block(const Extents& extents, const Codes& codes, SizeType margin) {
    SizeType stored[3], strides[3];
    for (unsigned i = 0; i < 3; ++i) {
      stored[codes[i] / 2u] = extents[i] + 2 * margin;
    }
    strides[0] = 1;
    strides[1] = stored[0];
    strides[2] = stored[0] * stored[1];
    _memory.resize(stored[0] * stored[1] * stored[2]);
    int64 first = static_cast<int64>(margin * (strides[0] + strides[1] + strides[2])), signedStrides[3];
    for (unsigned i = 0; i < 3; ++i) {
      const auto stride = static_cast<int64>(strides[codes[i] / 2u]);
      const bool isReversed = codes[i] % 2u != 0;
      first += isReversed ? stride * (static_cast<int64>(extents[i]) - 1) : 0;
      signedStrides[i] = isReversed ? -stride : stride;
    }
    _view = {_memory.data() + first, extents[0],       extents[1],      extents[2],
             signedStrides[0],       signedStrides[1], signedStrides[2]};
  }

  const View<T>& view() const { return _view; }
  View<const T> input() const {
    return {_view.data,       _view.dimPrim,   _view.dimSec,    _view.dimTert,
            _view.stridePrim, _view.strideSec, _view.strideTert};
  }
  std::vector<T>& memory() { return _memory; }

private:
  std::vector<T> _memory;
  View<T> _view;
};

template <class T, class Act>
void forEachVoxel(const View<T>& view, const Act& act) {
  SizeType index = 0;
  for (SizeType z = 0; z < view.dimTert; ++z) {
    for (SizeType y = 0; y < view.dimSec; ++y) {
      for (SizeType x = 0; x < view.dimPrim; ++x) {
        act(view.at(x, y, z), index++);
      }
    }
  }
}

template <class T>
T numbered(SizeType index) {
  return static_cast<T>(index * 2654435761u >> 5);
}

template <class T>
Block<T> makeInput(const Extents& extents, const Codes& codes, SizeType margin) {
  Block<T> block(extents, codes, margin);
  forEachVoxel(block.view(), [](T& voxel, SizeType index) { voxel = numbered<T>(index); });
  return block;
}

/// Writes one more than the input, and compares; no voxel around the view may change.
template <class In, class Out>
void expectTransformed(const Extents& extents, const Codes& from, const Codes& to, SizeType margin, int threads) {
  const Block<In> input = makeInput<In>(extents, from, margin);
  Block<Out> output(extents, to, margin), expected(extents, to, margin);
  forEachVoxel(expected.view(), [](Out& voxel, SizeType i) { voxel = static_cast<Out>(numbered<In>(i) + 1); });
  Impl::Unstoppable self;
  Impl::transformVoxels(
      self, threads, Impl::Steps::silent, [](In value) { return static_cast<Out>(value + 1); }, output.view(),
      input.input());
  ASSERT_TRUE(output.memory() == expected.memory())
      << "from " << +from[0] << +from[1] << +from[2] << " to " << +to[0] << +to[1] << +to[2] << ", extents "
      << extents[0] << "x" << extents[1] << "x" << extents[2] << ", bytes " << sizeof(In) << " to " << sizeof(Out);
}

template <class In, class Out>
void expectTransformedInAllViews(const Extents& extents, bool isEachPair) {
  int turn = 0;
  const auto codes = Tests::allOrientations();
  for (std::size_t i = 0; i < codes.size(); ++i) {
    for (std::size_t j = 0; j < codes.size(); j += isEachPair ? 1 : 7) {
      expectTransformed<In, Out>(extents, codes[i], codes[(i + j) % codes.size()], turn % 3 == 0 ? 0 : 3, turn % 3 + 1);
      if (testing::Test::HasFatalFailure()) {
        return;
      }
      ++turn;
    }
  }
}

TEST(TransformVoxels, AllPairsOfViewsForAllSizesOfVoxels) {
  const Extents extents{19, 5, 37};
  expectTransformedInAllViews<uint8, uint8>(extents, true);
  expectTransformedInAllViews<uint16, uint16>(extents, false);
  expectTransformedInAllViews<uint32, uint32>(extents, false);
  expectTransformedInAllViews<uint64, uint64>(extents, false);
  expectTransformedInAllViews<uint8, uint64>(extents, false);
  expectTransformedInAllViews<uint64, uint8>(extents, false);
}

TEST(TransformVoxels, ThinVolumes) {
  for (const Extents& extents : {Extents{1, 18, 33}, Extents{33, 1, 18}, Extents{18, 33, 1}, Extents{1, 1, 20},
                                 Extents{1, 20, 1}, Extents{20, 1, 1}, Extents{1, 1, 1}, Extents{2, 3, 1}}) {
    expectTransformedInAllViews<uint8, uint8>(extents, false);
    expectTransformedInAllViews<uint32, uint32>(extents, false);
  }
}

TEST(TransformVoxels, MoreThanOneTile) {
  for (const Codes& codes : {Codes{2, 0, 4}, Codes{4, 2, 0}, Codes{3, 1, 5}, Codes{5, 3, 0}, Codes{1, 2, 4},
                             Codes{2, 4, 1}, Codes{5, 0, 3}}) {
    for (const SizeType margin : {0u, 3u}) {
      expectTransformed<uint8, uint8>({260, 3, 517}, {0, 2, 4}, codes, margin, 2);
      expectTransformed<uint16, uint16>({517, 140, 3}, {0, 2, 4}, codes, margin, 2);
      expectTransformed<uint32, uint32>({131, 260, 2}, codes, {0, 2, 4}, margin, 2);
      expectTransformed<uint64, uint64>({70, 2, 261}, codes, {0, 2, 4}, margin, 2);
      expectTransformed<uint8, uint8>({1030, 3, 5}, codes, {0, 2, 4}, margin, 1);
    }
  }
}

/// Stored past the cache.
TEST(TransformVoxels, LargeOutputs) {
  for (const Codes& codes : {Codes{4, 2, 0}, Codes{3, 0, 4}, Codes{1, 2, 4}}) {
    expectTransformed<uint8, uint8>({301, 221, 263}, {0, 2, 4}, codes, 0, 2);
    expectTransformed<uint32, uint32>({263, 121, 141}, codes, {0, 2, 4}, 1, 2);
  }
}

/// Three views that are dense along three axes.
TEST(TransformVoxels, TwoInputsThatLieDifferently) {
  const Extents extents{35, 21, 18};
  const auto codes = Tests::allOrientations();
  for (std::size_t i = 0; i < codes.size(); ++i) {
    const Block<uint8> first = makeInput<uint8>(extents, codes[(5 * i + 8) % codes.size()], 1);
    const Block<uint16> second = makeInput<uint16>(extents, codes[(11 * i + 31) % codes.size()], 0);
    Block<uint32> output(extents, codes[i], 2), expected(extents, codes[i], 2);
    forEachVoxel(expected.view(),
                 [](uint32& voxel, SizeType index) { voxel = 3u * numbered<uint8>(index) + numbered<uint16>(index); });
    Impl::Unstoppable self;
    Impl::transformVoxels(
        self, 3, Impl::Steps::silent, [](uint8 a, uint16 b) { return 3u * a + b; }, output.view(), first.input(),
        second.input());
    ASSERT_TRUE(output.memory() == expected.memory()) << "orientation " << i;
  }
}

/// Input and output share their memory, seen along different axes.
TEST(TransformVoxels, InputsThatOverlapTheOutput) {
  const auto codes = Tests::allOrientations();
  const Extents cube{17, 17, 17};
  for (std::size_t i = 0; i < codes.size(); ++i) {
    for (const std::size_t j : {i, (i + 1) % 48, (7 * i + 20) % 48}) {
      Block<uint16> block = makeInput<uint16>(cube, codes[i], 0), as = Block<uint16>(cube, codes[j], 0);
      View<uint16> output = as.view();
      output.data = block.memory().data() + (as.view().data - as.memory().data());
      forEachVoxel(as.view(), [](uint16& v, SizeType index) { v = static_cast<uint16>(numbered<uint16>(index) + 1); });
      Impl::Unstoppable self;
      Impl::transformVoxels(
          self, 2, Impl::Steps::silent, [](uint16 value) { return static_cast<uint16>(value + 1); }, output,
          block.input());
      ASSERT_TRUE(block.memory() == as.memory()) << i << " " << j;
    }
  }
}

class Counting final : public OperatorBase {
public:
  void apply(SmartPointer<IComposite>) override { beginApply(); }
};

/// Each slice of the view counts, whatever the parts of the loop are.
TEST(TransformVoxels, StepsAreSlicesOfTheView) {
  for (const Codes& codes : Tests::allOrientations()) {
    for (const Extents& extents : {Extents{40, 21, 5}, Extents{5, 21, 40}}) {
      const Block<uint8> input = makeInput<uint8>(extents, {0, 2, 4}, 0);
      const Block<uint8> output(extents, codes, 0);
      Counting self;
      self.apply({});
      self.setTotal(extents[2] + 1);
      Impl::transformVoxels(
          self, 2, Impl::Steps::counted, [](uint8 value) { return value; }, output.view(), input.input());
      const auto slices = static_cast<double>(extents[2]);
      EXPECT_EQ(self.getProgress().getProgress(), slices / (slices + 1));
    }
  }
}

TEST(TransformVoxels, FillsOnlyTheView) {
  for (const Codes& codes : Tests::allOrientations()) {
    Block<uint16> block({5, 19, 3}, codes, 2), expected({5, 19, 3}, codes, 2);
    forEachVoxel(expected.view(), [](uint16& voxel, SizeType) { voxel = 7; });
    Impl::Unstoppable self;
    Impl::transformVoxels(
        self, 2, Impl::Steps::silent, [] { return uint16{7}; }, block.view());
    EXPECT_TRUE(block.memory() == expected.memory());
  }
}

TEST(DenseRows, InputsAndOutputsAreTheSameVoxels) {
  const Extents extents{19, 35, 6};
  for (const Codes& codes : Tests::allOrientations()) {
    const Block<uint32> input = makeInput<uint32>(extents, codes, 1);
    Impl::Unstoppable self;
    const Impl::KeptInput<uint32> kept(self, 2, input.input(), Impl::RowLayout::dense);
    EXPECT_TRUE(kept.view().hasDenseRows());
    forEachVoxel(kept.view(), [](uint32 voxel, SizeType index) { ASSERT_EQ(voxel, numbered<uint32>(index)); });

    Block<uint32> output(extents, codes, 1);
    const Impl::DenseOutput<uint32> dense(output.view());
    EXPECT_TRUE(dense.view().hasDenseRows());
    EXPECT_EQ(dense.isOutput(), output.view().hasDenseRows());
    forEachVoxel(dense.view(), [](uint32& voxel, SizeType index) { voxel = numbered<uint32>(index); });
    dense.store(2);
    EXPECT_TRUE(output.memory() == makeInput<uint32>(extents, codes, 1).memory());
  }
}

TEST(AxisOrders, AreUndoneByTheirInverse) {
  for (const Codes& codes : Tests::allOrientations()) {
    const Block<uint8> block({5, 7, 3}, codes, 1);
    const auto order = Impl::storageOrder(block.view());
    const auto stored = arranged(block.view(), order), shown = arranged(stored, inverse(order));
    EXPECT_EQ(stored.stridePrim, 1);
    EXPECT_LT(stored.strideSec, stored.strideTert);
    EXPECT_GT(stored.strideSec, 0);
    EXPECT_EQ(shown.data, block.view().data);
    EXPECT_EQ(Impl::axisStrides(shown), Impl::axisStrides(block.view()));
    EXPECT_EQ(Impl::axisExtents(shown), Impl::axisExtents(block.view()));
  }
}

}  // namespace
