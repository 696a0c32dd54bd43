#pragma once

#include <Tavi/Types.hpp>

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

/// Comparator networks that bring the lower median of some values to a known wire: no branch depends on a value, so a
/// network serves as many sets of values at once as a vector has lanes.
///
/// K. E. Batcher: Sorting networks and their applications. AFIPS Spring Joint Computer Conference (1968); in the form
/// of D. E. Knuth, The Art of Computer Programming, volume 3, algorithm 5.2.2M, without what the median does not need.
namespace NORV::TaviOperators::Impl {

/// Leaves the smaller of two wires on the first, the larger on the second. Only what is needed afterwards counts.
struct Comparator {
  uint16 low = 0, high = 0;
  bool needsLow = false, needsHigh = false;
};

/// Calls `act(low, high)` for each comparator of a network that sorts `count` wires, at least one.
template <class Act>
constexpr void forEachSortingComparator(std::size_t count, const Act& act) {
  std::size_t top = 1;
  while (2 * top < count) {
    top *= 2;
  }
  for (std::size_t p = top; p > 0; p /= 2) {
    std::size_t r = 0, d = p;
    for (std::size_t q = top;; q /= 2) {
      for (std::size_t i = 0; i + d < count; ++i) {
        if ((i & p) == r) {
          act(i, i + d);
        }
      }
      if (q == p) {
        break;
      }
      d = q - p;
      r = p;
    }
  }
}

constexpr std::size_t lowerMedianOf(std::size_t count) { return (count - 1) / 2; }

/// Marks, from the last comparator to the first, what the needed wires depend on. `needed` holds a flag for each wire.
template <class Comparators, class Flags>
constexpr void markNeeded(Comparators& comparators, Flags& needed) {
  for (std::size_t i = comparators.size(); i-- > 0;) {
    auto& comparator = comparators[i];
    comparator.needsLow = needed[comparator.low];
    comparator.needsHigh = needed[comparator.high];
    if (comparator.needsLow || comparator.needsHigh) {
      needed[comparator.low] = needed[comparator.high] = true;
    }
  }
}

/// The network for a number of wires that is known when the program is compiled. Comparators that are not needed stay
/// in it, marked so.
template <std::size_t count>
constexpr auto makeMedianNetwork() {
  constexpr std::size_t size = [] {
    std::size_t all = 0;
    forEachSortingComparator(count, [&all](std::size_t, std::size_t) { ++all; });
    return all;
  }();
  std::array<Comparator, size> comparators{};
  std::size_t next = 0;
  forEachSortingComparator(count, [&](std::size_t low, std::size_t high) {
    comparators[next++] = {static_cast<uint16>(low), static_cast<uint16>(high)};
  });
  std::array<bool, count> needed{};
  needed[lowerMedianOf(count)] = true;
  markNeeded(comparators, needed);
  return comparators;
}

/// The same for any number of wires up to 65535, with the needed comparators only.
inline std::vector<Comparator> makeMedianNetwork(std::size_t count) {
  std::vector<Comparator> comparators;
  forEachSortingComparator(count, [&](std::size_t low, std::size_t high) {
    comparators.push_back({static_cast<uint16>(low), static_cast<uint16>(high)});
  });
  std::vector<bool> needed(count);
  needed[lowerMedianOf(count)] = true;
  markNeeded(comparators, needed);
  std::erase_if(comparators, [](const Comparator& it) { return !it.needsLow && !it.needsHigh; });
  return comparators;
}

}  // namespace NORV::TaviOperators::Impl
