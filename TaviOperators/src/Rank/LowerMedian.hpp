#pragma once

#include <Tavi/Types.hpp>

#include <Rank/KeyLanes.hpp>
#include <Rank/SelectionNetwork.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// The lower median of `count` voxels for as many neighbouring places at once as a vector has lanes: the voxel of rank
/// (count - 1) / 2 from 0. All ways give the same voxels.
///
/// - Up to 27 voxels go through a network whose wires are registers. One that is too large for them is filled up with
///   as many lowest and highest values as leave the median where it is.
/// - More go through a network whose wires are memory, which takes about count * log(count)^2 / 4 steps.
/// - Where that is slower, the bits of the median are found one after the other by counting the voxels below a bound,
///   one pass over all voxels for each bit. The shorter the voxels, the earlier that is.
template <class Key>
class LowerMedian {
  using Lanes = KeyLanes<Key>;
  using V = typename Lanes::V;

public:
  static constexpr SizeType lanes = Lanes::count;
  /// From more voxels on, bits are searched. See benchmarks/Morphology.cpp.
  static constexpr SizeType largestNetwork = sizeof(Key) == 1   ? 27
                                             : sizeof(Key) == 2 ? 110
                                             : sizeof(Key) == 4 ? 400
                                                                : 512;

  explicit LowerMedian(SizeType count) : _count(count) {
    if (count <= registerSizes.back()) {
      std::size_t size = 0;
      while (registerSizes[size] < count) {
        ++size;
      }
      _way = registerWays[size];
    } else if (count <= largestNetwork) {
      _way = &inMemory;
      for (const Comparator& comparator : makeMedianNetwork(count)) {
        _steps.push_back({comparator.low, comparator.high});
      }
    } else {
      _way = count <= largestCounter ? &byBits : &byBitsOfMany;
    }
  }

  SizeType count() const { return _count; }
  /// How many keys the working memory must hold, aligned to a vector.
  SizeType scratchSize() const { return _way == &inMemory ? _count * lanes : 0; }

  /// Voxel i of the first place stands at `first + offsets[i]`, in bytes; those of the next places follow it. Writes
  /// one vector to `output`.
  void operator()(const std::byte* first, const int64* offsets, const KeyBits<Key>& bits, Key* scratch,
                  std::byte* output) const {
    Lanes::storeVoxels(_way(*this, first, offsets, bits, scratch), bits, output);
  }

private:
  using Way = V (*)(const LowerMedian&, const std::byte*, const int64*, const KeyBits<Key>&, Key*);

  struct Step {
    uint16 low, high;
  };

  static constexpr Key lowest = std::numeric_limits<Key>::min(), highest = std::numeric_limits<Key>::max();
  static constexpr auto largestCounter = static_cast<uint64>(std::numeric_limits<Key>::max());

  static constexpr std::array<SizeType, 8> registerSizes{1, 3, 5, 7, 9, 15, 19, 27};

  /// `previous` voxels at the least are more than a smaller network takes.
  template <std::size_t size, std::size_t previous>
  static V inRegisters(const LowerMedian& self, const std::byte* first, const int64* offsets, const KeyBits<Key>& bits,
                       Key*) {
    const SizeType count = self._count;
    const SizeType endOfLowest = count + lowerMedianOf(size) - lowerMedianOf(count);
    V wires[size];
    const auto loadWire = [&]<std::size_t i>() {
      if (i <= previous || i < count) {
        wires[i] = Lanes::loadVoxels(first + offsets[i], bits);
      } else {
        wires[i] = Lanes::set(i < endOfLowest ? lowest : highest);
      }
    };
    static constexpr auto network = makeMedianNetwork<size>();
    const auto compare = [&]<std::size_t i>() {
      constexpr Comparator comparator = network[i];
      [[maybe_unused]] const V low = wires[comparator.low], high = wires[comparator.high];
      if constexpr (comparator.needsLow) {
        wires[comparator.low] = Lanes::min(low, high);
      }
      if constexpr (comparator.needsHigh) {
        wires[comparator.high] = Lanes::max(low, high);
      }
    };
    [&]<std::size_t... i>(std::index_sequence<i...>) { (loadWire.template operator()<i>(), ...); }
    (std::make_index_sequence<size>());
    [&]<std::size_t... i>(std::index_sequence<i...>) { (compare.template operator()<i>(), ...); }
    (std::make_index_sequence<network.size()>());
    return wires[lowerMedianOf(size)];
  }

  static V inMemory(const LowerMedian& self, const std::byte* first, const int64* offsets, const KeyBits<Key>& bits,
                    Key* wires) {
    for (SizeType i = 0; i < self._count; ++i) {
      Lanes::store(Lanes::loadVoxels(first + offsets[i], bits), wires + i * lanes);
    }
    for (const Step& step : self._steps) {
      Key* const lowWire = wires + step.low * lanes;
      Key* const highWire = wires + step.high * lanes;
      const V low = Lanes::load(lowWire), high = Lanes::load(highWire);
      Lanes::store(Lanes::min(low, high), lowWire);
      Lanes::store(Lanes::max(low, high), highWire);
    }
    return Lanes::load(wires + lowerMedianOf(self._count) * lanes);
  }

  /// The largest bound below which lie as many voxels as the rank at the most. `keep(bound, otherwise)` counts them and
  /// takes `bound` in the lanes where it is one.
  template <class Keep>
  static V searchBits(const Keep& keep) {
    V median = Lanes::set(lowest);
    for (int bit = 8 * int{sizeof(Key)} - 1; bit >= 0; --bit) {
      median = keep(Lanes::invert(median, Lanes::set(static_cast<Key>(uint64{1} << bit))), median);
    }
    return median;
  }

  /// How many of the voxels [begin, end) lie below a bound.
  static V countBelow(V bound, const std::byte* first, const int64* offsets, SizeType begin, SizeType end,
                      const KeyBits<Key>& bits) {
    V even = Lanes::set(0), odd = even;  // two counters, as each addition waits for the one before it
    SizeType i = begin;
    for (; i + 1 < end; i += 2) {
      even = Lanes::countLess(even, Lanes::loadVoxels(first + offsets[i], bits), bound);
      odd = Lanes::countLess(odd, Lanes::loadVoxels(first + offsets[i + 1], bits), bound);
    }
    if (i < end) {
      even = Lanes::countLess(even, Lanes::loadVoxels(first + offsets[i], bits), bound);
    }
    return Lanes::add(even, odd);
  }

  static V byBits(const LowerMedian& self, const std::byte* first, const int64* offsets, const KeyBits<Key>& bits,
                  Key*) {
    const V count = Lanes::set(static_cast<Key>(lowerMedianOf(self._count) + 1));
    return searchBits([&](V bound, V otherwise) {
      return Lanes::ifLess(countBelow(bound, first, offsets, 0, self._count, bits), count, bound, otherwise);
    });
  }

  /// As `byBits`, with sums for which the lanes are too narrow.
  static V byBitsOfMany(const LowerMedian& self, const std::byte* first, const int64* offsets, const KeyBits<Key>& bits,
                        Key*) {
    return searchBits([&](V bound, V otherwise) {
      std::array<uint64, lanes> sums{};
      alignas(64) std::array<Key, lanes> part, chosen, others;
      for (SizeType begin = 0; begin < self._count;) {
        const SizeType end = begin + std::min<SizeType>(self._count - begin, largestCounter);
        Lanes::store(countBelow(bound, first, offsets, begin, end, bits), part.data());
        for (SizeType lane = 0; lane < lanes; ++lane) {
          sums[lane] += static_cast<uint64>(part[lane]);
        }
        begin = end;
      }
      Lanes::store(bound, chosen.data());
      Lanes::store(otherwise, others.data());
      for (SizeType lane = 0; lane < lanes; ++lane) {
        chosen[lane] = sums[lane] <= lowerMedianOf(self._count) ? chosen[lane] : others[lane];
      }
      return Lanes::load(chosen.data());
    });
  }

  static constexpr std::array<Way, registerSizes.size()> registerWays = [] {
    std::array<Way, registerSizes.size()> ways{};
    [&]<std::size_t... i>(std::index_sequence<i...>) {
      ((ways[i] = &inRegisters < registerSizes[i], i == 0 ? 0 : registerSizes[i == 0 ? 0 : i - 1] >), ...);
    }
    (std::make_index_sequence<registerSizes.size()>());
    return ways;
  }();

  SizeType _count;
  Way _way;
  std::vector<Step> _steps;
};

}  // namespace NORV::TaviOperators::Impl
