#pragma once

#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// How many slices are added in one go, so that the planes of sums are read and written less often.
inline constexpr SizeType slicesAtOnce = 8;

template <class In>
using RowsOf = std::array<const In*, slicesAtOnce>;

/// What the voxels of few slices are added up in: exact, and in the order of the slices for floating point.
template <class In, class Sum>
using GroupSum = std::conditional_t<std::is_integral_v<In> && sizeof(In) <= 2, int32, Sum>;

/// Adds the voxels of `Slices` dense rows to their sums, row after row.
template <SizeType Slices, class In, class Sum>
void addRows(const RowsOf<In>& rows, Sum* __restrict sums, SizeType count) {
  using Group = GroupSum<In, Sum>;
  RowsOf<In> from = rows;  // which no store can change
  for (SizeType i = 0; i < count; ++i) {
    if constexpr (std::is_integral_v<In>) {
      Group group = 0;
      for (SizeType slice = 0; slice < Slices; ++slice) {
        group += static_cast<Group>(from[slice][i]);
      }
      sums[i] += static_cast<Sum>(group);
    } else {
      Sum sum = sums[i];
      for (SizeType slice = 0; slice < Slices; ++slice) {
        sum += static_cast<Sum>(from[slice][i]);
      }
      sums[i] = sum;
    }
  }
}

/// Only the value 255 of a mask selects a voxel.
inline constexpr uint8 maskThreshold = 254;

/// As `addRows`, for the voxels that a mask selects, and counts these.
template <SizeType Slices, class In, class Sum>
void addSelected(const RowsOf<In>& rows, const RowsOf<uint8>& maskRows, Sum* __restrict sums, int32* __restrict counts,
                 SizeType count) {
  const RowsOf<In> from = rows;
  const RowsOf<uint8> mask = maskRows;
  for (SizeType i = 0; i < count; ++i) {
    Sum sum = sums[i];
    int32 selected = counts[i];
    for (SizeType slice = 0; slice < Slices; ++slice) {
      const bool isSelected = mask[slice][i] > maskThreshold;
      const auto voxel = static_cast<Sum>(from[slice][i]);
      sum += isSelected ? voxel : Sum(0);  // a sum is never -0, so that adding zero changes nothing
      selected += isSelected ? 1 : 0;
    }
    sums[i] = sum;
    counts[i] = selected;
  }
}

/// The sums and, with a mask, the counts of the columns over some slices.
template <class In, class Sum>
class ColumnPlanes {
public:
  ColumnPlanes() = default;
  ColumnPlanes(const View<const In>& input, bool isMasked)
      : _sums(input.dimPrim * input.dimSec),
        _counts(isMasked ? input.dimPrim * input.dimSec : 0) {}

  Sum sum(SizeType pixel) const { return _sums[pixel]; }
  int64 count(SizeType pixel) const { return _counts[pixel]; }

  /// Adds up to `slicesAtOnce` slices from `tert` on; `mask` is empty if there is none.
  void add(const View<const In>& input, const View<const uint8>& mask, SizeType tert, SizeType slices) {
    const bool isMasked = mask.data != nullptr;
    if (!input.hasDenseRows() || (isMasked && !mask.hasDenseRows())) {
      addVoxels(input, mask, tert, slices);
      return;
    }
    const bool areSlicesDense = input.hasDenseSlices() && (!isMasked || mask.hasDenseSlices());
    const SizeType rows = areSlicesDense ? 1 : input.dimSec;
    const SizeType length = areSlicesDense ? input.dimPrim * input.dimSec : input.dimPrim;
    for (SizeType sec = 0; sec < rows; ++sec) {
      for (SizeType done = 0; done < slices;) {
        const SizeType left = slices - done;
        const SizeType step = left >= slicesAtOnce ? slicesAtOnce : left >= 2 ? 2 : 1;
        RowsOf<In> from{};
        RowsOf<uint8> selection{};
        for (SizeType i = 0; i < step; ++i) {
          from[i] = input.row(sec, tert + done + i);
          selection[i] = isMasked ? mask.row(sec, tert + done + i) : nullptr;
        }
        addDense(from, selection, step, sec * input.dimPrim, length);
        done += step;
      }
    }
  }

private:
  void addDense(const RowsOf<In>& from, const RowsOf<uint8>& mask, SizeType slices, SizeType pixel, SizeType count) {
    const auto add = [&](auto constant) {
      if (mask[0] != nullptr) {
        addSelected<constant()>(from, mask, _sums.data() + pixel, _counts.data() + pixel, count);
      } else {
        addRows<constant()>(from, _sums.data() + pixel, count);
      }
    };
    if (slices == slicesAtOnce) {
      add(std::integral_constant<SizeType, slicesAtOnce>());
    } else if (slices == 2) {
      add(std::integral_constant<SizeType, 2>());
    } else {
      add(std::integral_constant<SizeType, 1>());
    }
  }

  void addVoxels(const View<const In>& input, const View<const uint8>& mask, SizeType tert, SizeType slices) {
    const bool isMasked = mask.data != nullptr;
    for (SizeType z = tert; z < tert + slices; ++z) {
      for (SizeType sec = 0, pixel = 0; sec < input.dimSec; ++sec) {
        for (SizeType prim = 0; prim < input.dimPrim; ++prim, ++pixel) {
          if (!isMasked) {
            _sums[pixel] += static_cast<Sum>(input.at(prim, sec, z));
          } else if (mask.at(prim, sec, z) > maskThreshold) {
            _sums[pixel] += static_cast<Sum>(input.at(prim, sec, z));
            ++_counts[pixel];
          }
        }
      }
    }
  }

  std::vector<Sum> _sums;
  std::vector<int32> _counts;
};

/// The sum of each column and the number of its voxels that are selected. Each thread adds up the slices that a static
/// schedule gives it, and their sums are added in the order of the threads.
template <class In, class Sum>
class ColumnSums {
public:
  using Total = std::conditional_t<std::is_integral_v<In>, int64, double>;

  ColumnSums(OperatorBase& self, int threads, const View<const In>& input, const View<const uint8>& mask)
      : _dimTert(input.dimTert),
        _isMasked(mask.data != nullptr),
        _parts(static_cast<SizeType>(teamSize(threads, input.dimTert))) {
    const SizeType parts = _parts.size(), size = input.dimTert / parts, larger = input.dimTert % parts;
    forEachSlice(self, threads, parts, Steps::silent, [&](SizeType part) {
      const SizeType begin = part * size + std::min(part, larger), end = begin + size + (part < larger ? 1 : 0);
      ColumnPlanes<In, Sum> planes(input, _isMasked);
      for (SizeType tert = begin; tert < end && !self.isAborted(); tert += slicesAtOnce) {
        const SizeType slices = std::min(slicesAtOnce, end - tert);
        planes.add(input, mask, tert, slices);
        for (SizeType i = 0; i < slices; ++i) {
          self.advance();
        }
      }
      _parts[part] = std::move(planes);
    });
  }

  Total sum(SizeType pixel) const {
    Total total = static_cast<Total>(_parts.front().sum(pixel));
    for (SizeType part = 1; part < _parts.size(); ++part) {
      total += static_cast<Total>(_parts[part].sum(pixel));
    }
    return total;
  }
  int64 count(SizeType pixel) const {
    int64 total = _isMasked ? 0 : static_cast<int64>(_dimTert);
    for (SizeType part = 0; part < _parts.size() && _isMasked; ++part) {
      total += _parts[part].count(pixel);
    }
    return total;
  }

private:
  SizeType _dimTert;
  bool _isMasked;
  std::vector<ColumnPlanes<In, Sum>> _parts;
};

/// Whether 32 bits hold the sums of columns of that length.
template <class In>
bool columnsFit32Bits(SizeType length) {
  if constexpr (std::is_integral_v<In> && sizeof(In) <= 2) {
    return length <= static_cast<SizeType>(std::numeric_limits<int32>::max()) >> (8 * sizeof(In));
  } else {
    return false;
  }
}

}  // namespace NORV::TaviOperators::Impl
