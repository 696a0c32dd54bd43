#pragma once

#include <Common.hpp>
#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>

#include <optional>
#include <string>
#include <utility>

/// Volumes whose voxel type is known at run time only.
namespace NORV::TaviTool {

/// Throws UsageError for a name that is no voxel type.
SmartPointer<IVolume> makeVolume(const std::string& voxelType, const Dimension<SizeType>& dimension);

/// The number as a `Data` of the voxel type of the volume; it must fit.
SmartPointer<IComposite> greyValue(const SmartPointer<IVolume>& volume, double value);

/// Calls `body(Tavi::View<T>)` with the view of the volume.
template <class Body>
void withVoxels(const SmartPointer<IVolume>& volume, Body&& body) {
  const auto tryOne = [&]<class T>(T) {
    const Tavi::VolumePtr<T> typed(volume);
    if (typed != nullptr) {
      body(Tavi::viewOf(*typed));
    }
    return typed != nullptr;
  };
  const auto tryEach = [&]<class... T>(T... types) { return (tryOne(types) || ...); };
  if (!tryEach(int8(), uint8(), int16(), uint16(), int32(), uint32(), float32(), float64())) {
    throw Failure("a volume of the class " + volume->getType() + " cannot be looked into");
  }
}

/// Sets all voxels of a volume that lies dense in memory to 0.
void clear(const SmartPointer<IVolume>& volume);

/// Bytes of one voxel.
SizeType voxelBytes(const std::string& voxelType);
SizeType voxelBytes(const IVolume& volume);
/// Bytes of all voxels of the view.
double sizeInBytes(const IVolume& volume);

/// The arithmetic mean; NaN if a voxel is NaN or the volume is empty.
double meanOf(const SmartPointer<IVolume>& volume);

/// The values below which the given shares of the voxels lie, from a sample evenly spread over the volume. NaNs are
/// left out.
std::pair<double, double> quantilesOf(const SmartPointer<IVolume>& volume, double low, double high);

/// Whether both have the same voxel type, extents and bytes.
bool sameVoxels(const SmartPointer<IVolume>& a, const SmartPointer<IVolume>& b);

}  // namespace NORV::TaviTool
