#include "Neighbourhoods.hpp"
#include "support/Volumes.hpp"

#include <SlidingMaskOffsets.hpp>

#include <set>
#include <utility>
#include <vector>

namespace NORV::Tests {
namespace {

using namespace Neighbourhoods;
using TaviOperators::SlidingMaskOffsets;

SlidingMaskOffsets compile(const TestVolume<uint16>& volume, const Element& element) {
  return SlidingMaskOffsets(TaviOperators::Impl::viewOf(*volume.volume()),
                            TaviOperators::Impl::inputViewOf(std::as_const(*element.mask().volume())),
                            Tavi::Position<SizeType>(element.anchor[0], element.anchor[1], element.anchor[2]));
}

TEST(SlidingMaskOffsets, AStepAlongARowRemovesAndAddsWhatTheElementLosesAndGains) {
  for (const Layout& layout : someLayouts()) {
    SCOPED_TRACE(layout.name());
    const TestVolume<uint16> volume({12, 9, 8}, layout);
    const int64 step = &volume.at({1, 0, 0}) - &volume.at({0, 0, 0});
    for (const Element& element : elements()) {
      const SlidingMaskOffsets offsets = compile(volume, element);
      ASSERT_EQ(offsets.allOffsets.size(), offsets.count);
      ASSERT_EQ(offsets.addOffsets.size(), offsets.edgeCount);
      ASSERT_EQ(offsets.removeOffsets.size(), offsets.edgeCount);
      std::multiset<int64> here(offsets.allOffsets.begin(), offsets.allOffsets.end()), next;
      for (const int64 offset : offsets.allOffsets) {
        next.insert(offset + step);
      }
      for (SizeType i = 0; i < offsets.edgeCount; ++i) {
        EXPECT_EQ(here.erase(offsets.removeOffsets[i] + step), 1u);  // both lists count from the new position
        here.insert(offsets.addOffsets[i] + step);
      }
      EXPECT_EQ(here, next);
    }
  }
}

TEST(SlidingMaskOffsets, TheInteriorHoldsTheAnchorAndTheWholeElement) {
  const TestVolume<uint16> volume({12, 9, 8});
  const SlidingMaskOffsets offsets = compile(volume, fullBox({3, 5, 1}, {0, 4, 3}));
  EXPECT_EQ(offsets.interior.size, (Tavi::Dimension<SizeType>(10, 5, 5)));
  EXPECT_EQ(offsets.interior.origin, (Tavi::Position<SizeType>(0, 4, 3)));
}

TEST(SlidingMaskOffsets, AnElementThatDoesNotFitHasAnEmptyInterior) {
  const TestVolume<uint16> volume({3, 3, 3});
  const SlidingMaskOffsets offsets = compile(volume, fullBox({4, 1, 1}, {0, 0, 0}));
  EXPECT_EQ(offsets.count, 4u);
  EXPECT_EQ(offsets.interior.size.prim * offsets.interior.size.sec * offsets.interior.size.tert, 0u);
}

}  // namespace
}  // namespace NORV::Tests
