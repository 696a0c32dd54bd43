#pragma once

#include <Impl/Loops/View.hpp>

#include <type_traits>

namespace NORV::TaviOperators::Impl {

/// How the memory of two views of equal extents overlaps: not at all; each voxel of one is the voxel of the other at
/// its position; or in any other way.
enum class Aliasing { none, identical, partial };

template <class A, class B>
Aliasing aliasingOf(const View<A>& a, const View<B>& b) {
  const auto sameAxis = [](Tavi::SizeType extent, int64 strideA, int64 strideB) {
    return extent <= 1 || strideA == strideB;
  };
  const bool isSame = std::is_same_v<std::remove_const_t<A>, std::remove_const_t<B>> &&
                      static_cast<const void*>(a.data) == static_cast<const void*>(b.data) &&
                      sameAxis(a.dimPrim, a.stridePrim, b.stridePrim) && sameAxis(a.dimSec, a.strideSec, b.strideSec) &&
                      sameAxis(a.dimTert, a.strideTert, b.strideTert);
  return !mayOverlap(a, b) ? Aliasing::none : isSame ? Aliasing::identical : Aliasing::partial;
}

}  // namespace NORV::TaviOperators::Impl
