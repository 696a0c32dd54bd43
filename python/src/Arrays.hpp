#pragma once

#include <Host.hpp>

#include <array>
#include <optional>
#include <string>

/// Arrays of NumPy as volumes, and volumes as arrays, over the same memory. Arrays are indexed [z, y, x].
namespace NORV::TaviPython {

/// A block in memory whose view through a region and an orientation is the array. In storage order: fastest axis first.
struct Layout {
  std::array<SizeType, 3> allocated{};
  std::array<SizeType, 3> region{};    ///< extents of the region, which begins at the first voxel of the block
  std::array<uint8, 3> orientation{};  ///< direction codes of prim, sec and tert
  std::ptrdiff_t lowest = 0;           ///< bytes from the array's first element to the one with the lowest address
};

/// The layout for extents and steps along prim, sec and tert; nothing where no dense block has such a view.
std::optional<Layout> findLayout(const std::array<SizeType, 3>& extents, const std::array<std::ptrdiff_t, 3>& steps,
                                 std::ptrdiff_t voxelBytes);

/// "uint16" for an array of one of the eight voxel types, empty for any other.
std::string voxelTypeOf(const py::array& array);
/// Throws TypeError, which names the conversion, for other types and for the other byte order.
void requireVoxelType(const py::array& array, const Where& where);

/// Throws TypeError for what is no array, ValueError for other than three axes and for extents of which some are 0.
py::array requireArray(py::handle value, const Where& where);

/// Whether a volume is made of the array without a copy.
bool sharesMemory(const py::array& array);

struct ArrayVolume {
  SmartPointer<IVolume> volume;
  py::array array;  ///< what the volume lies over: the given one, or its copy
  bool copied = false;
};
/// The volume over the array, or over a copy where the array's steps are no view of a dense block. It keeps the array
/// alive.
ArrayVolume volumeOver(const py::array& array, const Where& where);

/// The same for a volume that is written to. A region of a larger block is copied, too: an operator that gives its
/// result the extents of the block would write outside of the array.
ArrayVolume targetOver(const py::array& array, const Where& where);

/// The array over the view of a volume, which it keeps alive.
py::object arrayOf(const SmartPointer<IVolume>& volume);

/// The address of the first voxel of the view; empty for an empty volume.
const void* firstVoxel(const SmartPointer<IVolume>& volume);

}  // namespace NORV::TaviPython
