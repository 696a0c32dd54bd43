#pragma once

#include <Tavi/Dimension.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace NORV::Tavi {

/// The view of a volume as plain numbers, for loops: the first voxel, extents and signed strides in voxels. It keeps
/// nothing alive.
template <class T>
struct View {
  T* data = nullptr;
  SizeType dimPrim = 0, dimSec = 0, dimTert = 0;
  int64 stridePrim = 0, strideSec = 0, strideTert = 0;

  T* row(SizeType sec, SizeType tert) const {
    return data + static_cast<int64>(sec) * strideSec + static_cast<int64>(tert) * strideTert;
  }
  T& at(SizeType prim, SizeType sec, SizeType tert) const {
    return row(sec, tert)[static_cast<int64>(prim) * stridePrim];
  }
  SizeType size() const { return dimPrim * dimSec * dimTert; }

  bool hasDenseRows() const { return stridePrim == 1; }
  bool hasDenseSlices() const { return hasDenseRows() && (dimSec == 1 || strideSec == static_cast<int64>(dimPrim)); }
  bool isDense() const {
    return hasDenseSlices() && (dimTert == 1 || strideTert == static_cast<int64>(dimPrim * dimSec));
  }

  /// The addresses of the first byte in use and the one behind the last.
  std::pair<std::uintptr_t, std::uintptr_t> addresses() const {
    if (size() == 0) {
      return {0, 0};
    }
    int64 low = 0, high = 0;
    const auto reach = [&](int64 stride, SizeType dim) {
      const int64 far = stride * (static_cast<int64>(dim) - 1);
      low += std::min<int64>(far, 0);
      high += std::max<int64>(far, 0);
    };
    reach(stridePrim, dimPrim);
    reach(strideSec, dimSec);
    reach(strideTert, dimTert);
    return {reinterpret_cast<std::uintptr_t>(data + low), reinterpret_cast<std::uintptr_t>(data + high + 1)};
  }
};

/// The view of any volume whose class is known. Its voxels are const if the volume is.
template <class Volume>
auto viewOf(Volume& volume) {
  using Voxel = std::remove_pointer_t<decltype(volume.getData())>;
  const auto& iteration = volume.getIterationData();
  Voxel* const data = volume.getData();
  // The first voxel of an empty view lies outside of every block.
  return View<Voxel>{volume.getSize() == 0 ? data : data + iteration.startOffset,
                     iteration.dimPrim,
                     iteration.dimSec,
                     iteration.dimTert,
                     iteration.stridePrim,
                     iteration.strideSec,
                     iteration.strideTert};
}

/// The view of voxels that lie one after the other, primary axis first.
template <class T>
View<T> denseView(T* data, const Dimension<SizeType>& extents) {
  return {data,
          extents.prim,
          extents.sec,
          extents.tert,
          1,
          static_cast<int64>(extents.prim),
          static_cast<int64>(extents.prim * extents.sec)};
}

/// Whether two views may share a voxel.
template <class A, class B>
bool mayOverlap(const View<A>& a, const View<B>& b) {
  const auto [firstA, endA] = a.addresses();
  const auto [firstB, endB] = b.addresses();
  return firstA < endB && firstB < endA;
}

}  // namespace NORV::Tavi
