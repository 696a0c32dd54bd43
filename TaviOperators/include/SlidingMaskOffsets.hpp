#pragma once

#include <Impl/Loops/Box.hpp>
#include <Impl/Loops/View.hpp>
#include <Parameter.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <vector>

namespace NORV::TaviOperators {

/// A structuring element compiled for a walk along the rows of one volume: what enters and what leaves it with each
/// step in prim. Entries stand in mask order (tert outermost, prim innermost). Nothing is refused: where the element
/// does not fit into the volume, the interior box is empty.
///
/// Extra memory: 8 bytes per voxel of the element and 16 bytes per run along prim. Threads may share it.
struct SlidingMaskOffsets {
  std::vector<int64> allOffsets;     ///< of each voxel of the element from the anchor
  std::vector<int64> addOffsets;     ///< of the last voxel of each run
  std::vector<int64> removeOffsets;  ///< of the voxel before the first one of each run
  SizeType count = 0;                ///< of the voxels of the element, also where the interior is empty
  SizeType edgeCount = 0;
  Position<SizeType> anchor;
  Dimension<SizeType> dimension;  ///< of the volume
  int64 stepPrim, stridePrim, strideSec, strideTert;
  Impl::Box interior;  ///< all positions of the anchor at which it and the whole element lie inside the volume

  template <class T>
  SlidingMaskOffsets(const Impl::View<T>& volume, const Impl::View<const uint8>& mask,
                     const Position<SizeType>& maskAnchor)
      : anchor(maskAnchor),
        dimension(volume.dimPrim, volume.dimSec, volume.dimTert),
        stepPrim(volume.stridePrim),
        stridePrim(volume.stridePrim),
        strideSec(volume.strideSec),
        strideTert(volume.strideTert) {
    compile(mask);
  }

private:
  /// What one axis leaves of the volume for the anchor.
  struct Margins {
    SizeType below = 0, above = 0;

    void widen(SizeType coordinate, SizeType origin) {
      if (coordinate < origin) {
        below = std::max(below, origin - coordinate);
      } else {
        above = std::max(above, coordinate - origin);
      }
    }
    bool leaveRoomIn(SizeType extent) const { return below < extent && above < extent - below; }
    SizeType room(SizeType extent) const { return extent - below - above; }
  };

  /// Calls `voxel(prim, sec, tert)` for each voxel of the element and `run(first, last, sec, tert)` after each run.
  template <class Voxel, class Run>
  static void walk(const Impl::View<const uint8>& mask, const Voxel& voxel, const Run& run) {
    for (SizeType tert = 0; tert < mask.dimTert; ++tert) {
      for (SizeType sec = 0; sec < mask.dimSec; ++sec) {
        SizeType first = 0;
        bool isOpen = false;
        for (SizeType prim = 0; prim < mask.dimPrim; ++prim) {
          if (mask.at(prim, sec, tert) != 0) {
            first = isOpen ? first : prim;
            isOpen = true;
            voxel(prim, sec, tert);
          } else if (isOpen) {
            isOpen = false;
            run(first, prim - 1, sec, tert);
          }
        }
        if (isOpen) {
          run(first, mask.dimPrim - 1, sec, tert);
        }
      }
    }
  }

  void compile(const Impl::View<const uint8>& mask) {
    Margins prims, secs, terts;
    walk(
        mask,
        [&](SizeType prim, SizeType sec, SizeType tert) {
          prims.widen(prim, anchor.prim);
          secs.widen(sec, anchor.sec);
          terts.widen(tert, anchor.tert);
          ++count;
        },
        [&](SizeType, SizeType, SizeType, SizeType) { ++edgeCount; });
    if (!prims.leaveRoomIn(dimension.prim) || !secs.leaveRoomIn(dimension.sec) || !terts.leaveRoomIn(dimension.tert)) {
      return;
    }
    interior = {{prims.room(dimension.prim), secs.room(dimension.sec), terts.room(dimension.tert)},
                {prims.below, secs.below, terts.below}};
    allOffsets.reserve(count);
    addOffsets.reserve(edgeCount);
    removeOffsets.reserve(edgeCount);
    walk(
        mask, [&](SizeType prim, SizeType sec, SizeType tert) { allOffsets.push_back(offset(prim, sec, tert)); },
        [&](SizeType first, SizeType last, SizeType sec, SizeType tert) {
          addOffsets.push_back(offset(last, sec, tert));
          removeOffsets.push_back(offset(first, sec, tert) - stepPrim);
        });
  }

  int64 offset(SizeType prim, SizeType sec, SizeType tert) const {
    return static_cast<int64>(prim - anchor.prim) * stridePrim + static_cast<int64>(sec - anchor.sec) * strideSec +
           static_cast<int64>(tert - anchor.tert) * strideTert;
  }
};

}  // namespace NORV::TaviOperators
