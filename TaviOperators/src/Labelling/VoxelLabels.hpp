#pragma once

#include <Impl/Loops/Neighbours.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/Exceptions.hpp>

#include <Labelling/LabelTable.hpp>

#include <algorithm>
#include <array>

namespace NORV::TaviOperators::Impl {

/// Raw labels voxel by voxel, from those of the neighbours that were visited before. It needs no memory but the table,
/// and it reads a voxel of the input right before it writes the label at that place.
template <Neighbours set, class L>
class VoxelLabels {
public:
  /// `overflow` is where labels run out.
  VoxelLabels(const View<L>& labels, LabelTable<L>& table, const Exceptions::Origin& overflow)
      : _labels(labels),
        _table(table),
        _overflow(overflow) {}

  /// Throws NumericalOverflow if that takes one label more than the type has.
  void labelRow(SizeType sec, SizeType tert, const auto& isForeground) {
    for (SizeType prim = 0; prim < _labels.dimPrim; ++prim) {
      L& label = _labels.at(prim, sec, tert);
      label = isForeground(prim, sec, tert) ? labelOf(prim, sec, tert) : L(0);
    }
  }

private:
  L labelOf(SizeType prim, SizeType sec, SizeType tert) {
    _found = 0;
    gather(prim, sec, tert);
    if (_found == 0) {
      if (_table.room() == 0) {
        throw Exceptions::NumericalOverflow(_overflow);
      }
      _table.reserve(1);
      const L label = _table.forest().create();
      _table.setCount(label);
      return label;
    }
    if (_found == 1) {
      return _list[0];
    }
    LabelForest<L> forest = _table.forest();
    L smallest = forest.root(_list[0]);
    for (SizeType i = 1; i < _found; ++i) {
      smallest = std::min(smallest, forest.root(_list[i]));
    }
    for (SizeType i = 0; i < _found; ++i) {
      forest.redirect(_list[i], smallest);
    }
    return smallest;
  }

  void gather(SizeType prim, SizeType sec, SizeType tert) {
    if constexpr (set == Neighbours::faces) {
      if (tert > 0) {
        add(prim, sec, tert - 1);
      }
      if (sec > 0) {
        add(prim, sec - 1, tert);
      }
    } else {
      if (tert > 0) {
        for (SizeType row = sec - (sec > 0 ? 1 : 0); row <= sec + 1 && row < _labels.dimSec; ++row) {
          addThree(prim, row, tert - 1);
        }
      }
      if (sec > 0) {
        addThree(prim, sec - 1, tert);
      }
    }
    if (prim > 0) {
      add(prim - 1, sec, tert);
    }
  }

  void addThree(SizeType prim, SizeType sec, SizeType tert) {
    for (SizeType x = prim - (prim > 0 ? 1 : 0); x <= prim + 1 && x < _labels.dimPrim; ++x) {
      add(x, sec, tert);
    }
  }

  void add(SizeType prim, SizeType sec, SizeType tert) {
    const L label = _labels.at(prim, sec, tert);
    const auto end = _list.begin() + static_cast<std::ptrdiff_t>(_found);
    if (label != 0 && std::find(_list.begin(), end, label) == end) {
      _list[_found++] = label;
    }
  }

  const View<L> _labels;
  LabelTable<L>& _table;
  const Exceptions::Origin _overflow;
  std::array<L, 13> _list{};  // different labels of visited neighbours
  SizeType _found = 0;
};

}  // namespace NORV::TaviOperators::Impl
