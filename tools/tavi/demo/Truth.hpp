#pragma once

#include <Alignment.hpp>
#include <Analysis.hpp>
#include <Common.hpp>
#include <Phantom.hpp>

#include <array>
#include <string>
#include <vector>

namespace NORV::TaviTool {

/// What was measured of one kind of blob, beside what is true of them.
class Comparison {
public:
  /// Looks for each blob among the rows of the table whose labels are `first` to `last`: it is the object whose centre
  /// lies inside of it.
  Comparison(std::string kind, const std::vector<Blob>& blobs, const FeatureTable& table, SizeType first,
             SizeType last);

  /// Every blob is found once, nothing else is, and all lie where they should and have the size they should.
  bool holds() const;
  /// "40 of 40 pores, 12345 voxels where 12400 are true (-0.4 %), ..."
  std::string text() const;
  Json json() const;

  /// The true number of voxels of the blob that a row of the table is; 0 if it is none.
  SizeType trueVoxels(std::size_t row) const { return row < _trueVoxels.size() ? _trueVoxels[row] : 0; }

private:
  std::string _kind;
  std::size_t _blobs = 0, _found = 0, _others = 0;
  std::size_t _pairs = 0, _separated = 0;
  SizeType _voxels = 0, _true = 0;
  double _farthest = 0.0;  // of the centres
  double _worst = 0.0;     // of the sizes, in voxels of the surface
  std::vector<SizeType> _trueVoxels;
};

/// The principal axes that were found, beside the known ones.
class AxesComparison {
public:
  /// Axes have no sense, so opposite ones are equal. `size` is that of the aligned part.
  AxesComparison(const std::array<Direction, 3>& truth, const PrincipalAxes& found, const Dimension<SizeType>& size);

  /// The axes are within 0.1 degrees and the extents of the box within 3 voxels.
  bool holds() const;
  std::string text() const;
  Json json() const;

private:
  double _angle = 0.0;  // degrees between the worst pair
  Dimension<SizeType> _box, _trueBox;
};

}  // namespace NORV::TaviTool
