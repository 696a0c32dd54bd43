#pragma once

#include <Impl/ForegroundBits.hpp>
#include <Impl/LabelLinks.hpp>
#include <Impl/LabelTable.hpp>
#include <Impl/View.hpp>

#include <bit>
#include <type_traits>

namespace NORV::TaviOperators::Impl {

template <class Act>
void forEachBit(uint64 word, const Act& act) {
  for (; word != 0; word &= word - 1) {
    act(static_cast<SizeType>(std::countr_zero(word)));
  }
}

inline constexpr int64 oneVoxel(SizeType place, std::integral_constant<int64, 1>) { return static_cast<int64>(place); }
inline constexpr int64 oneVoxel(SizeType place, int64 stride) { return static_cast<int64>(place) * stride; }

/// Raw labels row by row from bits: as many as a scan voxel by voxel makes, and in the same order.
template <Neighbours set, class L>
class RowLabels {
  using Links = LabelLinks<set>;
  using Bits = NearRows::Each<const uint64*>;

public:
  RowLabels(const View<L>& labels, LabelTable<L>& table)
      : _labels(labels),
        _table(table),
        _bits(labels.dimPrim, labels.dimSec, labels.dimTert) {}

  /// The bits of a row, which are to be set before it is labelled.
  uint64* bits(SizeType sec, SizeType tert) { return _bits.row(tert * _labels.dimSec + sec); }

  /// Whether the type has labels enough for the row. Without, nothing is done.
  [[gnu::noinline]] bool labelRow(SizeType sec, SizeType tert) {
    const Bits rows = rowsAround(sec, tert);
    SizeType created = 0;
    for (SizeType word = 0; word < _bits.words(); ++word) {
      if (rows[NearRows::same][word] != 0) {
        created += static_cast<SizeType>(std::popcount(Links(rows, word).fresh));
      }
    }
    if (created > _table.room()) {
      return false;
    }
    if (_labels.hasDenseRows()) {
      writeRow(rows, sec, tert, std::integral_constant<int64, 1>());
    } else {
      writeRow(rows, sec, tert, _labels.stridePrim);
    }
    return true;
  }

private:
  Bits rowsAround(SizeType sec, SizeType tert) {
    const SizeType index = tert * _labels.dimSec + sec;
    const auto rowIf = [this](bool exists, SizeType at) { return exists ? _bits.row(at) : _bits.none(); };
    const SizeType below = index - _labels.dimSec;
    Bits rows{};
    rows[NearRows::same] = _bits.row(index);
    rows[NearRows::before] = rowIf(sec > 0, index - 1);
    rows[NearRows::below] = rowIf(tert > 0, below);
    rows[NearRows::belowBefore] = rowIf(tert > 0 && sec > 0, below - 1);
    rows[NearRows::belowBehind] = rowIf(tert > 0 && sec + 1 < _labels.dimSec, below + 1);
    return rows;
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
    for (SizeType word = 0; word < _bits.words(); ++word) {
      const uint64 foreground = rows[NearRows::same][word];
      if (foreground != 0) {
        writeWord(foreground, Links(rows, word), row + oneVoxel(64 * word, stride), offsets, stride);
      }
    }
  }

  template <class Stride>
  void writeWord(uint64 foreground, Links links, L* row, const NearRows::Each<int64>& offsets, Stride stride) {
    const auto at = [row, stride](SizeType place) -> L& { return row[oneVoxel(place, stride)]; };
    forEachBit(links.fresh, [&](SizeType place) { at(place) = _table.create(); });
    uint64 waiting = links.starts & ~links.fresh;
    const auto near = [&](SizeType i, SizeType place) {
      const Link link = Links::links[i];
      return row[oneVoxel(place, stride) + offsets[link.row] + link.shift * oneVoxel(1, stride)];
    };
    for (SizeType i = 0; i < Links::links.size(); ++i) {
      const uint64 taken = links.at[i] & waiting;
      waiting &= ~taken;
      links.at[i] &= ~taken;
      forEachBit(taken, [&](SizeType place) { at(place) = _table.entries()[near(i, place)]; });
    }
    forEachBit(foreground & ~links.starts,
               [&](SizeType place) { at(place) = row[oneVoxel(place, stride) - oneVoxel(1, stride)]; });
    for (SizeType i = 0; i < Links::links.size(); ++i) {
      forEachBit(links.at[i], [&](SizeType place) { _table.unite(at(place), near(i, place)); });
    }
  }

  const View<L> _labels;
  LabelTable<L>& _table;
  BitRows _bits;
};

}  // namespace NORV::TaviOperators::Impl
