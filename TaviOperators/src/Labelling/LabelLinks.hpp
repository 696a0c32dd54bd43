#pragma once

#include <Impl/Loops/Neighbours.hpp>
#include <Tavi/Types.hpp>

#include <array>
#include <cstddef>

/// Where the label of a row's voxel must be compared with that of a neighbour, for 64 voxels at a time and from bits
/// alone. Neighbours that are known to belong together, because they touch each other or the voxel before, are compared
/// once (as the decision tree of K. Wu, E. Otoo, K. Suzuki: Optimizing two-pass connected-component labeling
/// algorithms, Pattern Analysis and Applications 12, 2009, in three dimensions).
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The rows next to one in scan order; `same` is the row in question.
struct NearRows {
  enum Row : uint8 { same, before, below, belowBefore, belowBehind, count };
  template <class Pointer>
  using Each = std::array<Pointer, count>;
};

/// The foreground of a row at 64 places, and that of the places one less and one more.
struct BitWindow {
  uint64 low, mid, high;

  explicit BitWindow(const uint64* word)
      : low(word[0] << 1 | word[-1] >> 63),
        mid(word[0]),
        high(word[0] >> 1 | word[1] << 63) {}
  BitWindow(uint64 atLow, uint64 atMid, uint64 atHigh) : low(atLow), mid(atMid), high(atHigh) {}
  BitWindow operator|(const BitWindow& other) const { return {low | other.low, mid | other.mid, high | other.high}; }
  uint64 any() const { return low | mid | high; }
};

/// A neighbour: its row, and how far away it lies along the row.
struct Link {
  NearRows::Row row;
  int8 shift;
};

/// Which of the links hold for a place, one bit each.
template <std::size_t count>
uint64 linksAt(const std::array<uint64, count>& at, SizeType place) {
  uint64 found = 0;
  for (std::size_t i = 0; i < count; ++i) {
    found |= (at[i] >> place & 1) << i;
  }
  return found;
}

template <Neighbours set>
struct LabelLinks;

template <>
struct LabelLinks<Neighbours::faces> {
  static constexpr std::array<Link, 2> links{{{NearRows::before, 0}, {NearRows::below, 0}}};
  /// Those that a place behind the start of a run may have.
  static constexpr std::array<SizeType, 2> insideRuns{0, 1};

  uint64 starts;  // of runs
  uint64 fresh;   // starts without a neighbour
  std::array<uint64, 2> at;

  LabelLinks(const NearRows::Each<const uint64*>& rows, SizeType word) {
    const BitWindow row(rows[NearRows::same] + word), p(rows[NearRows::before] + word), c(rows[NearRows::below] + word);
    const uint64 q = rows[NearRows::belowBefore][word];
    starts = row.mid & ~row.low;
    fresh = starts & ~p.mid & ~c.mid;
    at[0] = row.mid & p.mid & ~(row.low & p.low);
    at[1] = row.mid & c.mid & ~(row.low & c.low) & ~(p.mid & q);
  }
  uint64 found(SizeType place) const { return linksAt(at, place); }
};

template <>
struct LabelLinks<Neighbours::all> {
  static constexpr std::array<Link, 12> links{{{NearRows::below, 0},
                                               {NearRows::below, -1},
                                               {NearRows::below, 1},
                                               {NearRows::before, 0},
                                               {NearRows::before, -1},
                                               {NearRows::before, 1},
                                               {NearRows::belowBefore, 0},
                                               {NearRows::belowBefore, -1},
                                               {NearRows::belowBefore, 1},
                                               {NearRows::belowBehind, 0},
                                               {NearRows::belowBehind, -1},
                                               {NearRows::belowBehind, 1}}};
  static constexpr std::array<SizeType, 4> insideRuns{2, 5, 8, 11};

  uint64 starts;  // of runs
  uint64 fresh;   // starts without a neighbour
  std::array<uint64, 12> at;

  LabelLinks(const NearRows::Each<const uint64*>& rows, SizeType word) {
    const BitWindow row(rows[NearRows::same] + word), p(rows[NearRows::before] + word), c(rows[NearRows::below] + word),
        q(rows[NearRows::belowBefore] + word), s(rows[NearRows::belowBehind] + word);
    starts = row.mid & ~row.low;
    fresh = starts & ~(c | p | q | s).any();
    // Inside a run only the places ahead are new, and what touches a neighbour behind or level is known.
    const uint64 inside = row.mid & row.low;
    const uint64 level = c.mid | p.mid | q.mid;
    at[2] = inside & c.high & ~(level | s.mid);
    at[5] = inside & p.high & ~(level | c.high);
    at[8] = inside & q.high & ~(level | c.high | p.high);
    at[11] = inside & s.high & ~(s.mid | c.mid | c.high);
    linkStarts(0, c, BitWindow(0, 0, 0));
    linkStarts(3, p, c);
    linkStarts(6, q, c | p);
    linkStarts(9, s, c);
  }
  uint64 found(SizeType place) const { return linksAt(at, place); }

private:
  /// `touching` are the neighbours of rows that touch this one, which are linked already.
  void linkStarts(std::size_t first, const BitWindow& row, const BitWindow& touching) {
    const uint64 apart = starts & ~row.mid;
    at[first] = starts & row.mid & ~touching.any();
    at[first + 1] = apart & row.low & ~(touching.low | touching.mid);
    if (first == 0) {
      at[2] |= apart & row.high;
    } else {
      at[first + 2] |= apart & row.high & ~(touching.mid | touching.high);
    }
  }
};

}  // namespace NORV::TaviOperators::Impl
