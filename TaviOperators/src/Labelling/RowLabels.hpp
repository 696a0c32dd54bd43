#pragma once

#include <Impl/Loops/View.hpp>

#include <Labelling/ForegroundBits.hpp>
#include <Labelling/LabelLinks.hpp>
#include <Labelling/LabelTable.hpp>
#include <Labelling/ReplacedLabels.hpp>

#include <algorithm>
#include <bit>
#include <type_traits>

namespace NORV::TaviOperators::Impl {

template <class Act>
void forEachBit(uint64 word, const Act& act) {
  for (; word != 0; word &= word - 1) {
    act(static_cast<SizeType>(std::countr_zero(word)));
  }
}

/// Raw labels row by row from bits: as many as a scan voxel by voxel makes, and in the same order. Slices before a
/// given one count as background, so the slices from it on can be labelled on their own.
template <Neighbours set, class L>
class RowLabels {
  using Links = LabelLinks<set>;
  using Bits = NearRows::Each<const uint64*>;
  using Dense = std::integral_constant<int64, 1>;

public:
  /// The bits of a row and of those before it must be set before it is labelled.
  RowLabels(const View<L>& labels, const BitRows& bits, SizeType firstSlice = 0)
      : _labels(labels),
        _bits(bits),
        _firstSlice(firstSlice) {}

  /// How many labels of its own a row needs.
  [[gnu::noinline]] SizeType countFresh(SizeType sec, SizeType tert) const { return countFresh(rowsAround(sec, tert)); }
  /// At most so many.
  SizeType mostFresh() const { return (_labels.dimPrim + 1) / 2; }

  /// Labels a row; the forest must have entries for the fresh labels.
  [[gnu::noinline]] void labelRow(LabelForest<L>& forest, SizeType sec, SizeType tert) const {
    const Bits rows = rowsAround(sec, tert);
    if (_labels.hasDenseRows()) {
      writeRow(forest, rows, sec, tert, Dense());
    } else {
      writeRow(forest, rows, sec, tert, _labels.stridePrim);
    }
  }
  /// Calls `unite(label, other)` where a row touches the slice before the first one.
  template <class Unite>
  void joinRow(SizeType sec, const Unite& unite) const {
    Bits rows = rowsAround(sec, _firstSlice, _firstSlice - 1);
    rows[NearRows::before] = _bits.none();
    const int64 stride = _labels.stridePrim;
    const auto offsets = rowOffsets();
    for (SizeType word = 0; word < _bits.words(); ++word) {
      const uint64 foreground = rows[NearRows::same][word];
      if (foreground == 0) {
        continue;
      }
      const Links links(rows, word);
      const L* const row = _labels.row(sec, _firstSlice) + oneVoxel(64 * word, stride);
      const auto uniteLink = [&](SizeType i, SizeType place) {
        const L* const at = row + oneVoxel(place, stride);
        unite(*at, at[offsets[Links::links[i].row] + Links::links[i].shift * stride]);
      };
      forEachBit(links.starts & ~links.fresh,
                 [&](SizeType place) { forEachBit(links.found(place), [&](SizeType i) { uniteLink(i, place); }); });
      for (const SizeType i : Links::insideRuns) {
        forEachBit(links.at[i] & foreground & ~links.starts, [&](SizeType place) { uniteLink(i, place); });
      }
    }
  }
  /// Replaces the labels of a row by what the table holds for them.
  [[gnu::noinline]] void replaceRow(const LabelTable<L>& table, SizeType sec, SizeType tert) const {
    if (_labels.hasDenseRows()) {
      replaceRow(table, sec, tert, Dense());
    } else {
      replaceRow(table, sec, tert, _labels.stridePrim);
    }
  }

private:
  Bits rowsAround(SizeType sec, SizeType tert) const { return rowsAround(sec, tert, _firstSlice); }
  /// As they are from a first slice on.
  Bits rowsAround(SizeType sec, SizeType tert, SizeType first) const {
    const auto rowIf = [this](bool exists, SizeType y, SizeType z) { return exists ? _bits.row(y, z) : _bits.none(); };
    Bits rows{};
    rows[NearRows::same] = _bits.row(sec, tert);
    rows[NearRows::before] = rowIf(sec > 0, sec - 1, tert);
    rows[NearRows::below] = rowIf(tert > first, sec, tert - 1);
    rows[NearRows::belowBefore] = rowIf(tert > first && sec > 0, sec - 1, tert - 1);
    rows[NearRows::belowBehind] = rowIf(tert > first && sec + 1 < _labels.dimSec, sec + 1, tert - 1);
    return rows;
  }

  /// How far away the rows are. Rows that do not exist have no bits, so their labels are never read.
  NearRows::Each<int64> rowOffsets() const {
    const int64 before = -_labels.strideSec, below = -_labels.strideTert;
    return {0, before, below, below + before, below - before};
  }

  SizeType countFresh(const Bits& rows) const {
    SizeType fresh = 0;
    for (SizeType word = 0; word < _bits.words(); ++word) {
      if (rows[NearRows::same][word] != 0) {
        fresh += static_cast<SizeType>(std::popcount(Links(rows, word).fresh));
      }
    }
    return fresh;
  }

  template <class Stride>
  void writeRow(LabelForest<L>& forest, const Bits& rows, SizeType sec, SizeType tert, Stride stride) const {
    L* const row = _labels.row(sec, tert);
    for (SizeType prim = 0; prim < _labels.dimPrim; ++prim) {
      row[oneVoxel(prim, stride)] = 0;
    }
    const auto offsets = rowOffsets();
    for (SizeType word = 0; word < _bits.words(); ++word) {
      const uint64 foreground = rows[NearRows::same][word];
      if (foreground != 0) {
        writeWord(forest, foreground, Links(rows, word), row + oneVoxel(64 * word, stride), offsets, stride);
      }
    }
  }

  /// The labels of 64 places, which are 0 before.
  template <class Stride>
  void writeWord(LabelForest<L>& forest, uint64 foreground, const Links& links, L* row,
                 const NearRows::Each<int64>& offsets, Stride stride) const {
    const auto at = [row, stride](SizeType place) -> L& { return row[oneVoxel(place, stride)]; };
    const auto near = [&](SizeType i, SizeType place) {
      const Link link = Links::links[i];
      return row[oneVoxel(place, stride) + offsets[link.row] + link.shift * oneVoxel(1, stride)];
    };
    forEachBit(links.fresh, [&](SizeType place) { at(place) = forest.create(); });
    forEachBit(links.starts & ~links.fresh, [&](SizeType place) {
      uint64 found = links.found(place);
      const L label = forest.entries()[near(static_cast<SizeType>(std::countr_zero(found)), place)];
      at(place) = label;
      for (found &= found - 1; found != 0; found &= found - 1) {
        forest.unite(label, near(static_cast<SizeType>(std::countr_zero(found)), place));
      }
    });
    const uint64 inside = foreground & ~links.starts;
    if (inside != 0) {
      spread(inside, row, stride);
      for (const SizeType i : Links::insideRuns) {
        forEachBit(links.at[i] & inside, [&](SizeType place) { forest.unite(at(place), near(i, place)); });
      }
    }
  }

  /// Gives the places inside runs the label of the voxel before the first of them.
  template <class Stride>
  static void spread(uint64 inside, L* row, Stride stride) {
    while (inside != 0) {
      const auto begin = static_cast<SizeType>(std::countr_zero(inside));
      const auto end = begin + static_cast<SizeType>(std::countr_one(inside >> begin));
      const L label = row[oneVoxel(begin, stride) - oneVoxel(1, stride)];
      for (SizeType place = begin; place < end; ++place) {
        row[oneVoxel(place, stride)] = label;
      }
      inside = end < 64 ? inside & ~uint64{0} << end : 0;
    }
  }

  template <class Stride>
  void replaceRow(const LabelTable<L>& table, SizeType sec, SizeType tert, Stride stride) const {
    L* const row = _labels.row(sec, tert);
    const uint64* const bits = _bits.row(sec, tert);
    for (SizeType word = 0; word < _bits.words(); ++word) {
      if (bits[word] != 0) {
        replaceLabels(table, row + oneVoxel(64 * word, stride), stride,
                      std::min<SizeType>(64, _labels.dimPrim - 64 * word));
      }
    }
  }

  const View<L> _labels;
  const BitRows& _bits;
  const SizeType _firstSlice;
};

}  // namespace NORV::TaviOperators::Impl
