#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace NORV::TaviOperators::Impl {

using Tavi::Position;
using Tavi::SizeType;

/// Three numbers along prim, sec and tert.
using Axes = std::array<int64, 3>;

/// The voxels of a structuring element in one row of it without a gap, relative to the anchor.
struct ElementRun {
  int64 begin, sec, tert;
  SizeType length;
};

/// A structuring element as runs in mask order (tert outermost, prim innermost), with the box that holds it.
struct StructuringElement {
  std::vector<ElementRun> runs;
  SizeType count = 0;                ///< of its voxels
  Axes low{0, 0, 0}, high{0, 0, 0};  ///< first and last coordinates of voxels; all 0 without any

  SizeType extent(std::size_t axis) const { return static_cast<SizeType>(high[axis] - low[axis] + 1); }

  bool isBox() const { return count == extent(0) * extent(1) * extent(2); }

  /// Reads the non-zero voxels of a mask; `anchor`, one of its positions, is the origin.
  StructuringElement(const View<const uint8>& mask, const Position<SizeType>& anchor) {
    for (SizeType tert = 0; tert < mask.dimTert; ++tert) {
      for (SizeType sec = 0; sec < mask.dimSec; ++sec) {
        bool isOpen = false;
        for (SizeType prim = 0; prim < mask.dimPrim; ++prim) {
          if (mask.at(prim, sec, tert) == 0) {
            isOpen = false;
            continue;
          }
          const Axes place{fromAnchor(prim, anchor.prim), fromAnchor(sec, anchor.sec), fromAnchor(tert, anchor.tert)};
          if (!isOpen) {
            isOpen = true;
            runs.push_back({place[0], place[1], place[2], 0});
          }
          ++runs.back().length;
          add(place);
        }
      }
    }
  }

  /// The offsets of its voxels from the anchor in a volume with the strides of a view, in mask order.
  template <class T>
  std::vector<int64> offsetsIn(const View<T>& volume) const {
    std::vector<int64> offsets;
    offsets.reserve(count);
    for (const ElementRun& run : runs) {
      for (SizeType i = 0; i < run.length; ++i) {
        offsets.push_back((run.begin + static_cast<int64>(i)) * volume.stridePrim + run.sec * volume.strideSec +
                          run.tert * volume.strideTert);
      }
    }
    return offsets;
  }

private:
  static int64 fromAnchor(SizeType coordinate, SizeType anchor) {
    return static_cast<int64>(coordinate) - static_cast<int64>(anchor);
  }
  void add(const Axes& place) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      low[axis] = count == 0 ? place[axis] : std::min(low[axis], place[axis]);
      high[axis] = count == 0 ? place[axis] : std::max(high[axis], place[axis]);
    }
    ++count;
  }
};

}  // namespace NORV::TaviOperators::Impl
