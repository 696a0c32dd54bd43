#pragma once

#include <Impl/Loops/View.hpp>

#include <Distance/DistanceRows.hpp>

#include <type_traits>

namespace NORV::TaviOperators::Impl {

/// The passes of a distance transform over the voxels of one view, all in place.
template <Neighbours set, class T>
class DistancePasses {
public:
  DistancePasses(const View<T>& steps, T start) : _steps(steps), _along(std::min(T(0), start), std::max(T(0), start)) {}

  /// Writes the distances along the rows of a slice. The sources may stand in the same voxels.
  void measureRows(RowSources sources, SizeType tert) const {
    for (SizeType sec = 0; sec < _steps.dimSec; ++sec) {
      sources.beginRow(sec, tert);
      _along.write(sources, _steps.row(sec, tert), _steps.stridePrim);
    }
  }

  /// Takes steps from the row before a row: of the slice itself, and of those of the slice before.
  void forward(SizeType sec, SizeType tert) const { lower(sec, tert, -1); }
  /// Takes steps from the rows behind a row.
  void backward(SizeType sec, SizeType tert) const { lower(sec, tert, 1); }

private:
  void lower(SizeType sec, SizeType tert, int64 step) const {
    const bool hasRow = step < 0 ? sec > 0 : sec + 1 < _steps.dimSec;
    const bool hasSlice = step < 0 ? tert > 0 : tert + 1 < _steps.dimTert;
    if (!hasRow && !hasSlice) {
      return;
    }
    T* const row = _steps.row(sec, tert);
    const T* const beside = row + step * _steps.strideSec;
    const T* const straight = row + step * _steps.strideTert;
    NeighbourRows<T> rows;
    rows[0] = hasRow ? beside : straight;
    rows[1] = hasSlice ? straight : beside;
    rows[2] = hasSlice && sec > 0 ? straight - _steps.strideSec : rows[1];
    rows[3] = hasSlice && sec + 1 < _steps.dimSec ? straight + _steps.strideSec : rows[1];
    if (_steps.stridePrim == 1) {
      takeSteps<set>(row, rows, std::integral_constant<int64, 1>(), _steps.dimPrim);
    } else {
      takeSteps<set>(row, rows, _steps.stridePrim, _steps.dimPrim);
    }
  }

  const View<T> _steps;
  AlongRow<T> _along;
};

}  // namespace NORV::TaviOperators::Impl
