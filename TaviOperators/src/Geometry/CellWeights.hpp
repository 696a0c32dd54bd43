#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The voxels of one axis that each cell covers, and which part of each.
class CellWeights {
public:
  struct Cell {
    SizeType first, count;  ///< voxels
    SizeType weights;       ///< where those of its voxels begin
  };

  /// `voxels` along the axis are shared out to `cells`; both above 0.
  CellWeights(SizeType voxels, SizeType cells)
      : _ratio(static_cast<double>(voxels) / static_cast<double>(cells)),
        _voxels(voxels) {
    _cells.reserve(cells);
    _weights.reserve(voxels + 2 * cells);
    for (SizeType index = 0; index < cells; ++index) {
      addCell(index);
    }
  }

  /// The length of a cell in voxels.
  double ratio() const { return _ratio; }
  bool isWhole() const { return std::floor(_ratio) == _ratio; }
  const Cell& operator[](SizeType index) const { return _cells[index]; }
  const double* weightsOf(const Cell& cell) const { return _weights.data() + cell.weights; }

private:
  void addCell(SizeType index) {
    const SizeType at = _weights.size();
    if (_ratio == 1.0) {
      _cells.push_back({index, 1, at});
      _weights.push_back(1.0);
      return;
    }
    const double begin = static_cast<double>(index) * _ratio, end = static_cast<double>(index + 1) * _ratio;
    const bool beginsWhole = std::fmod(begin, 1.0) == 0.0, endsWhole = std::fmod(end, 1.0) == 0.0;
    // The end of the last cell may be rounded to a place behind the last voxel.
    const SizeType first = std::min(static_cast<SizeType>(begin), _voxels - 1);
    const SizeType last = static_cast<SizeType>(std::ceil(end)) - 1;
    const SizeType kept = std::clamp(last, first, _voxels - 1);
    _cells.push_back({first, kept - first + 1, at});
    if (first == last) {
      _weights.push_back(end - begin);
      return;
    }
    _weights.push_back(beginsWhole ? 1.0 : std::ceil(begin) - begin);
    _weights.resize(at + kept - first + 1, 1.0);
    if (kept == last && !endsWhole) {
      _weights.back() = end - std::floor(end);
    }
  }

  double _ratio;
  SizeType _voxels;
  std::vector<Cell> _cells;
  std::vector<double> _weights;
};

}  // namespace NORV::TaviOperators::Impl
