#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Impl/Loops/FillVoxels.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/StreamingStore.hpp>

#include <cstring>
#include <numeric>
#include <string>
#include <vector>

namespace NORV::Tests {
namespace {

namespace Impl = TaviOperators::Impl;
using Impl::inputViewOf;
using Impl::Steps;
using Impl::viewOf;
using Tavi::Volume;
using Tavi::VolumePtr;

class Transforming final : public TaviOperators::Operator<Transforming> {
public:
  std::string getType() const override { return "NORV::Tests::Transforming"; }
  void apply(SmartPointer<IComposite>) override { beginApply(); }
};

struct Mix {
  int32 operator()(uint8 a, int16 b) const { return 1000 * a + b; }
};

/// Brings a way of its own for rows, which leaves a mark.
struct MarkedRow {
  uint8 operator()(uint8 x) const { return static_cast<uint8>(x + 1); }
  void row(const uint8* from, uint8* to, SizeType count) const {
    for (SizeType i = 0; i < count; ++i) {
      to[i] = static_cast<uint8>(from[i] + 101);
    }
  }
};

TEST(TransformVoxels, TakesSeveralInputsOfDifferentTypesAndLayouts) {
  const Extents extents{5, 3, 4};
  std::size_t turn = 0;
  for (const Layout& layout : allLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<uint8> a(extents, layout);
    const TestVolume<int16> b(extents, allLayouts()[turn * 5 % 96]);
    const TestVolume<int32> output(extents, allLayouts()[turn++ * 7 % 96]);
    a.fill(mixedValues<uint8>(60));
    b.fill(mixedValues<int16>(60));
    Transforming op;
    Impl::transformVoxels(op, 2, Steps::silent, Mix(), viewOf(*output.volume()), inputViewOf(*a.volume()),
                          inputViewOf(*b.volume()));
    std::vector<int32> expected;
    for (std::size_t i = 0; i < 60; ++i) {
      expected.push_back(1000 * a.voxels()[i] + b.voxels()[i]);
    }
    expectSameVoxels(output.voxels(), expected);
    output.expectUntouchedOutside();
  }
}

TEST(TransformVoxels, ARowOfTheRuleServesRowsThatAreDenseInMemory) {
  const TestVolume<uint8> dense({5, 3, 4}), reversed({5, 3, 4}, {{1, 2, 4}});
  dense.fill({10});
  reversed.fill({10});
  Transforming op;
  Impl::transformVoxels(op, 1, Steps::silent, MarkedRow(), viewOf(*dense.volume()), inputViewOf(*dense.volume()));
  expectSameVoxels(dense.voxels(), std::vector<uint8>(60, 111));
  Impl::transformVoxels(op, 1, Steps::silent, MarkedRow(), viewOf(*reversed.volume()), inputViewOf(*reversed.volume()));
  expectSameVoxels(reversed.voxels(), std::vector<uint8>(60, 111));
}

TEST(TransformVoxels, CountsSlicesWhereAsked) {
  const TestVolume<uint8> volume({5, 3, 4});
  Transforming op;
  op.setTotal(8);
  Impl::fillVoxels(op, 2, viewOf(*volume.volume()), uint8{5});
  EXPECT_EQ(op.getProgress().getProgress(), 0.0);
  Impl::transformVoxels(op, 2, Steps::counted, MarkedRow(), viewOf(*volume.volume()), inputViewOf(*volume.volume()));
  EXPECT_EQ(op.getProgress().getProgress(), 0.5);
}

/// A host's memory may begin anywhere, even between two voxels' natural places.
TEST(TransformVoxels, MemoryOfAHostAtAnyAddressIsFilledToTheVoxel) {
  const SizeType prim = 2500, sec = 3, tert = Tavi::Streaming::threshold / (prim * sec * 4) + 2;
  const SizeType count = prim * sec * tert;
  std::vector<std::byte> memory(count * sizeof(uint32) + 256);
  for (const std::size_t begin : {std::size_t{64}, std::size_t{68}, std::size_t{124}}) {
    std::fill(memory.begin(), memory.end(), std::byte{0x55});
    const VolumePtr<uint32> volume(new Volume<uint32>(Tavi::Dimension<SizeType>(prim, sec, tert),
                                                      reinterpret_cast<uint32*>(memory.data() + begin), {}));
    Transforming op;
    Impl::fillVoxels(op, 2, viewOf(*volume), uint32{0xa1b2c3d4});
    SizeType wrong = 0;
    for (SizeType i = 0; i < count; ++i) {
      wrong += volume->getData()[i] != 0xa1b2c3d4 ? 1u : 0u;
    }
    EXPECT_EQ(wrong, 0u);
    for (std::size_t i = 0; i < begin; ++i) {
      ASSERT_EQ(memory[i], std::byte{0x55});
    }
    for (std::size_t i = begin + count * sizeof(uint32); i < memory.size(); ++i) {
      ASSERT_EQ(memory[i], std::byte{0x55});
    }
  }
}

TEST(StreamingStore, CopiesAnyNumberOfBytesFromAnyAddressToAnyAddress) {
  std::vector<std::byte> source(1000);
  for (std::size_t i = 0; i < source.size(); ++i) {
    source[i] = static_cast<std::byte>(i * 7 + 1);
  }
  for (std::size_t from = 0; from < 70; from += 7) {
    for (std::size_t to = 0; to < 70; to += 3) {
      for (const std::size_t bytes : {0u, 1u, 63u, 64u, 65u, 127u, 128u, 200u, 777u}) {
        std::vector<std::byte> target(1000, std::byte{0});
        Tavi::Streaming::copy(target.data() + to, source.data() + from, bytes);
        Tavi::Streaming::finish();
        std::vector<std::byte> expected(1000, std::byte{0});
        std::copy_n(source.begin() + static_cast<std::ptrdiff_t>(from), bytes,
                    expected.begin() + static_cast<std::ptrdiff_t>(to));
        ASSERT_TRUE(target == expected) << from << " " << to << " " << bytes;
      }
    }
  }
}

TEST(View, KnowsItsAddressesAndWhatItSharesWithOthers) {
  for (const Layout& layout : allLayouts()) {
    const TestVolume<uint16> volume({3, 2, 4}, layout);
    const auto view = viewOf(*volume.volume());
    std::uintptr_t low = ~std::uintptr_t{0}, high = 0;
    for (SizeType tert = 0; tert < 4; ++tert) {
      for (SizeType sec = 0; sec < 2; ++sec) {
        for (SizeType prim = 0; prim < 3; ++prim) {
          EXPECT_EQ(&view.at(prim, sec, tert), &volume.at({prim, sec, tert}));
          low = std::min(low, reinterpret_cast<std::uintptr_t>(&volume.at({prim, sec, tert})));
          high = std::max(high, reinterpret_cast<std::uintptr_t>(&volume.at({prim, sec, tert})));
        }
      }
    }
    EXPECT_EQ(view.addresses(), std::make_pair(low, high + sizeof(uint16)));
    EXPECT_TRUE(mayOverlap(view, view));
    EXPECT_FALSE(mayOverlap(view, viewOf(*TestVolume<uint16>({3, 2, 4}).volume())));
  }
  const Tavi::View<uint8> empty;
  EXPECT_FALSE(mayOverlap(empty, empty));
}

}  // namespace
}  // namespace NORV::Tests
