#pragma once

#include <Analysis.hpp>
#include <Common.hpp>
#include <Phantom.hpp>

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
  SizeType _voxels = 0, _true = 0;
  double _farthest = 0.0;  // of the centres
  double _worst = 0.0;     // of the sizes, in voxels of the surface
  std::vector<SizeType> _trueVoxels;
};

}  // namespace NORV::TaviTool
