#pragma once

#include <Tavi/Types.hpp>

#include <Rank/SelectionNetwork.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

/// Comparator networks that merge two sorted lists, for as many pairs of lists at once as a vector has lanes.
///
/// K. E. Batcher: Sorting networks and their applications. AFIPS Spring Joint Computer Conference (1968); for lists of
/// any length in D. E. Knuth, The Art of Computer Programming, volume 3, section 5.3.4.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Where a step of a network finds a value: in one of the two lists, which are not changed, or in the result.
struct WirePlace {
  enum List : uint32 { first, second, result };
  List list;
  uint32 rank;
};

/// Writes the smaller and the larger one of two values to the result. A copy has the same place and the same rank
/// twice.
struct MergeStep {
  WirePlace a, b;
  uint32 low, high;          ///< where in the result
  bool needsLow, needsHigh;  ///< of both; what is not needed may be written, too
};

/// The ranks [begin, end).
struct RankRange {
  SizeType begin, end;
};

/// Builds the network that merges two lists, without what the needed ranks do not depend on. Values stand in the
/// result where they belong at the end.
class MergeNetworkBuilder {
  using Wires = std::vector<uint16>;

public:
  static constexpr std::vector<MergeStep> build(std::size_t first, std::size_t second, RankRange needed) {
    MergeNetworkBuilder builder;
    Wires a(first), b(second);
    for (std::size_t i = 0; i < first + second; ++i) {
      (i < first ? a[i] : b[i - first]) = static_cast<uint16>(i);
    }
    const Wires sorted = builder.merge(a, b);
    std::vector<bool> isNeeded(sorted.size());
    for (SizeType rank = needed.begin; rank < needed.end; ++rank) {
      isNeeded[sorted[rank]] = true;
    }
    markNeeded(builder._comparators, isNeeded);
    return builder.place(first, sorted, needed);
  }

private:
  constexpr Wires merge(const Wires& a, const Wires& b) {
    if (a.empty() || b.empty()) {
      return a.empty() ? b : a;
    }
    if (a.size() == 1 && b.size() == 1) {
      compare(a[0], b[0]);
      return {a[0], b[0]};
    }
    const Wires even = merge(everySecond(a, 0), everySecond(b, 0)), odd = merge(everySecond(a, 1), everySecond(b, 1));
    Wires sorted{even[0]};
    for (std::size_t i = 0; i < std::max(odd.size(), even.size() - 1); ++i) {
      const bool hasOdd = i < odd.size(), hasEven = i + 1 < even.size();
      if (hasOdd && hasEven) {
        compare(odd[i], even[i + 1]);
      }
      if (hasOdd) {
        sorted.push_back(odd[i]);
      }
      if (hasEven) {
        sorted.push_back(even[i + 1]);
      }
    }
    return sorted;
  }

  static constexpr Wires everySecond(const Wires& wires, std::size_t begin) {
    Wires chosen;
    for (std::size_t i = begin; i < wires.size(); i += 2) {
      chosen.push_back(wires[i]);
    }
    return chosen;
  }

  constexpr void compare(uint16 low, uint16 high) { _comparators.push_back({low, high}); }

  /// Values move from the lists to the result when they are compared for the first time.
  constexpr std::vector<MergeStep> place(std::size_t first, const Wires& sorted, RankRange needed) const {
    std::vector<uint32> rankOf(sorted.size());
    std::vector<WirePlace> places(sorted.size());
    for (std::size_t i = 0; i < sorted.size(); ++i) {
      rankOf[sorted[i]] = static_cast<uint32>(i);
      places[i] = i < first ? WirePlace{WirePlace::first, static_cast<uint32>(i)}
                            : WirePlace{WirePlace::second, static_cast<uint32>(i - first)};
    }
    std::vector<MergeStep> steps;
    for (const Comparator& it : _comparators) {
      if (it.needsLow || it.needsHigh) {
        steps.push_back({places[it.low], places[it.high], rankOf[it.low], rankOf[it.high], it.needsLow, it.needsHigh});
        places[it.low] = {WirePlace::result, rankOf[it.low]};
        places[it.high] = {WirePlace::result, rankOf[it.high]};
      }
    }
    for (SizeType rank = needed.begin; rank < needed.end; ++rank) {
      const WirePlace& at = places[sorted[rank]];
      if (at.list != WirePlace::result) {
        steps.push_back({at, at, static_cast<uint32>(rank), static_cast<uint32>(rank), true, false});
      }
    }
    return steps;
  }

  std::vector<Comparator> _comparators;
};

/// So that no step waits for the one just before it: results of vector instructions take some cycles to come back from
/// memory.
inline void arrangeInLayers(std::vector<MergeStep>& steps, std::size_t ranks) {
  std::vector<std::size_t> depthOfRank(ranks), depths;
  for (const MergeStep& it : steps) {
    const std::size_t depth = std::max(depthOfRank[it.low], depthOfRank[it.high]) + 1;
    depthOfRank[it.low] = depthOfRank[it.high] = depth;
    depths.push_back(depth);
  }
  std::vector<MergeStep> arranged;
  for (std::size_t depth = 1; arranged.size() < steps.size(); ++depth) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
      if (depths[i] == depth) {
        arranged.push_back(steps[i]);
      }
    }
  }
  steps = std::move(arranged);
}

/// The merge of lists of lengths that are known when the program is compiled, with wires that are registers.
template <class Lanes, std::size_t first, std::size_t second, std::size_t begin, std::size_t end>
class CompiledMerge {
  using V = typename Lanes::V;
  using Key = typename Lanes::Key;

  static constexpr auto steps = [] {
    constexpr std::size_t count = MergeNetworkBuilder::build(first, second, {begin, end}).size();
    std::array<MergeStep, count> all{};
    const auto built = MergeNetworkBuilder::build(first, second, {begin, end});
    std::copy(built.begin(), built.end(), all.begin());
    return all;
  }();
  /// The last step that writes a rank.
  static constexpr auto lastStep = [] {
    std::array<std::size_t, first + second> last{};
    for (std::size_t i = 0; i < steps.size(); ++i) {
      last[steps[i].low] = last[steps[i].high] = i;
    }
    return last;
  }();

public:
  /// Rows of all lists are `stride` keys apart.
  static void run(const Key* a, const Key* b, Key* result, SizeType stride, SizeType vectors) {
    for (SizeType i = 0; i < vectors; ++i, a += Lanes::count, b += Lanes::count, result += Lanes::count) {
      merge({a, b, result, stride}, std::make_index_sequence<steps.size()>());
    }
  }

private:
  struct Lists {
    const Key *a, *b;
    Key* result;
    SizeType stride;
  };

  template <std::size_t... i>
  static void merge(const Lists& lists, std::index_sequence<i...>) {
    V wires[first + second];
    (step<i>(lists, wires), ...);
  }

  template <std::size_t i>
  [[gnu::always_inline]] static inline void step(const Lists& lists, V* wires) {
    constexpr MergeStep it = steps[i];
    const V x = load<it.a.list, it.a.rank>(lists, wires), y = load<it.b.list, it.b.rank>(lists, wires);
    if constexpr (it.needsLow) {
      wires[it.low] = Lanes::min(x, y);
      store<i, it.low>(lists, wires);
    }
    if constexpr (it.needsHigh) {
      wires[it.high] = Lanes::max(x, y);
      store<i, it.high>(lists, wires);
    }
  }

  template <WirePlace::List list, uint32 rank>
  [[gnu::always_inline]] static inline V load(const Lists& lists, const V* wires) {
    if constexpr (list == WirePlace::first) {
      return Lanes::load(lists.a + rank * lists.stride);
    } else if constexpr (list == WirePlace::second) {
      return Lanes::loadUnaligned(lists.b + rank * lists.stride);
    } else {
      return wires[rank];
    }
  }

  template <std::size_t i, uint32 rank>
  [[gnu::always_inline]] static inline void store(const Lists& lists, const V* wires) {
    if constexpr (lastStep[rank] == i && rank >= begin && rank < end) {
      Lanes::store(wires[rank], lists.result + rank * lists.stride);
    }
  }
};

}  // namespace NORV::TaviOperators::Impl
