#pragma once

#include <Tavi/Dimension.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/Orientation.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/RegionOfInterest.hpp>

#include <list>
#include <string>

namespace NORV::Tavi {

/// A volume of voxels of any type, seen through its current region and orientation. Extents, steps and offsets count
/// voxels, not bytes.
class TAVI_EXPORT IVolume {
public:
  virtual std::string getVoxelType() const = 0;
  virtual std::string getType() const = 0;
  virtual Dimension<SizeType> getDimension() const = 0;
  virtual SizeType getDimPrim() const = 0;
  virtual SizeType getDimSec() const = 0;
  virtual SizeType getDimTert() const = 0;
  virtual int64 getStepVoxel() const = 0;
  virtual int64 getStepLine() const = 0;
  virtual int64 getStepSlice() const = 0;
  virtual SizeType getSize() const = 0;
  virtual Orientation getDefaultOrientation() const = 0;
  virtual Dimension<SizeType> getAllocatedDimension() const = 0;
  virtual SizeType getAllocatedDimPrim() const = 0;
  virtual SizeType getAllocatedDimSec() const = 0;
  virtual SizeType getAllocatedDimTert() const = 0;
  virtual std::list<RegionOfInterest> getMemoryRegions() const = 0;
  virtual std::list<RegionOfInterest> getRoiStack() const = 0;
  /// Narrows the view to a region of it; throws OutOfRange where the region leaves the view.
  virtual void setRoi(const RegionOfInterest& region) = 0;
  virtual RegionOfInterest getRoi() const = 0;
  /// Shows the whole stored volume again.
  virtual void resetRoi() = 0;
  /// Takes the last region back; the bottom one stays.
  virtual void popRoi() = 0;
  /// Narrows the view to one slice; throws OutOfRange for an index past the end.
  virtual void setRoiToSlice(SizeType index) = 0;
  /// Gives the volume other extents. Content and regions are lost, unless the extents are those already stored.
  virtual void resize(const Dimension<SizeType>& dimension) = 0;
  virtual void setOrientation(const Orientation& orientation) = 0;
  virtual Orientation getOrientation() const = 0;
  virtual Position<SizeType> getRoiOrigin() const = 0;
  /// The offset of a voxel of the view in the data; throws InvalidArg for a position outside.
  virtual int64 getOffset(const Position<SizeType>& position) const = 0;
  virtual ~IVolume() = default;
  virtual SizeType getRoiSize() const = 0;

protected:
  IVolume() = default;
  IVolume(const IVolume&) = default;
  IVolume& operator=(const IVolume&) = default;
};

}  // namespace NORV::Tavi
