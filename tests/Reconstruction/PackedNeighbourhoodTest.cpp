#include "Reconstruction/StatedThinning.hpp"

#include <Reconstruction/PackedNeighbourhood.hpp>
#include <gtest/gtest.h>

#include <bit>
#include <random>

namespace NORV::Tests {
namespace {

namespace Packed = TaviOperators::Impl;

/// `neighbours` has a bit for each of the 26, without the centre.
void expectAsStated(uint32 neighbours) {
  StatedThinning::Neighbours list{};
  Packed::Neighbourhood packed = 0;
  for (unsigned i = 0; i < 26; ++i) {
    list[i] = static_cast<int>(neighbours >> i & 1);
    packed |= (neighbours >> i & 1) << Packed::bitOfNeighbour(i);
  }
  ASSERT_EQ(Packed::isEndPoint(packed), StatedThinning::isEndPoint(list)) << neighbours;
  ASSERT_EQ(Packed::EulerChange::of(packed), StatedThinning::eulerSum(list)) << neighbours;
  ASSERT_EQ(Packed::isSimple(packed), StatedThinning::isSimple(list)) << neighbours;
}

TEST(PackedNeighbourhood, RandomOnesOfAllDensitiesAreAsStated) {
  std::mt19937 random(7);
  for (int i = 0; i < 400000; ++i) {
    const auto any = static_cast<uint32>(random()) & 0x3FFFFFF;
    expectAsStated(any);
    expectAsStated(any & static_cast<uint32>(random()));
    expectAsStated(any & static_cast<uint32>(random()) & static_cast<uint32>(random()));
    expectAsStated(any | (static_cast<uint32>(random()) & 0x3FFFFFF));
  }
}

TEST(PackedNeighbourhood, AllOfFewNeighboursOrFewGapsAreAsStated) {
  int count = 0;
  for (uint32 first = 0; first < 26; ++first) {
    for (uint32 second = first; second < 26; ++second) {
      for (uint32 third = second; third < 26; ++third) {
        const uint32 some = 1u << first | 1u << second | 1u << third;
        expectAsStated(some);
        expectAsStated(~some & 0x3FFFFFF);
        ++count;
      }
    }
  }
  EXPECT_EQ(count, 3276);
  expectAsStated(0);
  expectAsStated(0x3FFFFFF);
}

TEST(PackedNeighbourhood, AllInTwoAdjacentSlicesAreAsStated) {
  for (uint32 some = 0; some < 1u << 17; ++some) {
    expectAsStated(some);
    if (some % 4 == 0) {
      expectAsStated(some << 9);
    }
  }
}

}  // namespace
}  // namespace NORV::Tests
