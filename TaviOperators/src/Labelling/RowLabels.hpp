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

/// Raw labels row by row from bits: as many as a scan voxel by voxel makes, and in the same order.
template <Neighbours set, class L>
class RowLabels {
  using Links = LabelLinks<set>;
  using Bits = NearRows::Each<const uint64*>;
  using Dense = std::integral_constant<int64, 1>;

public:
  RowLabels(const View<L>& labels, LabelTable<L>& table)
      : _labels(labels),
        _table(table),
        _bits(labels.dimPrim, labels.dimSec, labels.dimTert),
        _filled(_bits.words() * labels.dimSec * labels.dimTert) {}

  /// The bits of a row, which are to be set before it is labelled.
  uint64* bits(SizeType sec, SizeType tert) { return _bits.row(sec, tert); }

  /// Whether the type has labels enough for the row. Without, nothing is done.
  [[gnu::noinline]] bool labelRow(SizeType sec, SizeType tert) {
    const Bits rows = rowsAround(sec, tert);
    if (_labels.dimPrim / 2 >= _table.room() && countFresh(rows) > _table.room()) {
      return false;
    }
    if (_labels.hasDenseRows()) {
      writeRow(rows, sec, tert, Dense());
    } else {
      writeRow(rows, sec, tert, _labels.stridePrim);
    }
    return true;
  }
  /// Replaces the labels of a row by what the table holds for them.
  [[gnu::noinline]] void replaceRow(SizeType sec, SizeType tert) const {
    if (_labels.hasDenseRows()) {
      replaceRow(sec, tert, Dense());
    } else {
      replaceRow(sec, tert, _labels.stridePrim);
    }
  }

private:
  SizeType firstWord(SizeType sec, SizeType tert) const { return (tert * _labels.dimSec + sec) * _bits.words(); }

  Bits rowsAround(SizeType sec, SizeType tert) {
    const auto rowIf = [this](bool exists, SizeType y, SizeType z) { return exists ? _bits.row(y, z) : _bits.none(); };
    Bits rows{};
    rows[NearRows::same] = _bits.row(sec, tert);
    rows[NearRows::before] = rowIf(sec > 0, sec - 1, tert);
    rows[NearRows::below] = rowIf(tert > 0, sec, tert - 1);
    rows[NearRows::belowBefore] = rowIf(tert > 0 && sec > 0, sec - 1, tert - 1);
    rows[NearRows::belowBehind] = rowIf(tert > 0 && sec + 1 < _labels.dimSec, sec + 1, tert - 1);
    return rows;
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
  void writeRow(const Bits& rows, SizeType sec, SizeType tert, Stride stride) {
    L* const row = _labels.row(sec, tert);
    for (SizeType prim = 0; prim < _labels.dimPrim; ++prim) {
      row[oneVoxel(prim, stride)] = 0;
    }
    // Rows that do not exist have no bits, so their labels are never read.
    const int64 before = -_labels.strideSec, below = -_labels.strideTert;
    const NearRows::Each<int64> offsets{0, before, below, below + before, below - before};
    const SizeType index = firstWord(sec, tert);
    for (SizeType word = 0; word < _bits.words(); ++word) {
      const uint64 foreground = rows[NearRows::same][word];
      if (foreground != 0) {
        writeWord(foreground, Links(rows, word), row + oneVoxel(64 * word, stride), offsets, stride);
        _filled.add(index + word);
      }
    }
  }

  /// The labels of 64 places, which are 0 before.
  template <class Stride>
  void writeWord(uint64 foreground, const Links& links, L* row, const NearRows::Each<int64>& offsets, Stride stride) {
    const auto at = [row, stride](SizeType place) -> L& { return row[oneVoxel(place, stride)]; };
    const auto near = [&](SizeType i, SizeType place) {
      const Link link = Links::links[i];
      return row[oneVoxel(place, stride) + offsets[link.row] + link.shift * oneVoxel(1, stride)];
    };
    forEachBit(links.fresh, [&](SizeType place) { at(place) = _table.create(); });
    forEachBit(links.starts & ~links.fresh, [&](SizeType place) {
      uint64 found = links.found(place);
      const L label = _table.entries()[near(static_cast<SizeType>(std::countr_zero(found)), place)];
      at(place) = label;
      for (found &= found - 1; found != 0; found &= found - 1) {
        _table.unite(label, near(static_cast<SizeType>(std::countr_zero(found)), place));
      }
    });
    const uint64 inside = foreground & ~links.starts;
    if (inside != 0) {
      spread(inside, row, stride);
      for (const SizeType i : Links::insideRuns) {
        forEachBit(links.at[i] & inside, [&](SizeType place) { _table.unite(at(place), near(i, place)); });
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
  void replaceRow(SizeType sec, SizeType tert, Stride stride) const {
    L* const row = _labels.row(sec, tert);
    const SizeType index = firstWord(sec, tert);
    for (SizeType first = 0; first < _bits.words(); first += 64) {
      forEachBit(_filled.piece(index + first, std::min<SizeType>(64, _bits.words() - first)), [&](SizeType i) {
        const SizeType word = first + i;
        replaceLabels(_table, row + oneVoxel(64 * word, stride), stride,
                      std::min<SizeType>(64, _labels.dimPrim - 64 * word));
      });
    }
  }

  const View<L> _labels;
  LabelTable<L>& _table;
  BitRows _bits;
  FilledWords _filled;
};

}  // namespace NORV::TaviOperators::Impl
