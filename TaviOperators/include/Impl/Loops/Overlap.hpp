#pragma once

#include <Impl/Loops/View.hpp>

namespace NORV::TaviOperators::Impl {

/// How the memory of two views of equal extents lies to each other: they share no voxel, each voxel of one is the voxel
/// of the other at its place, or they overlap in another way.
enum class Memory { apart, same, shared };

template <class A, class B>
Memory memoryOf(const View<A>& a, const View<B>& b) {
  const bool isSame = sizeof(A) == sizeof(B) && static_cast<const void*>(a.data) == static_cast<const void*>(b.data) &&
                      a.stridePrim == b.stridePrim && a.strideSec == b.strideSec && a.strideTert == b.strideTert;
  return !mayOverlap(a, b) ? Memory::apart : isSame ? Memory::same : Memory::shared;
}

}  // namespace NORV::TaviOperators::Impl
