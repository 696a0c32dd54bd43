#pragma once

#include <Impl/Loops/View.hpp>

#include <cstddef>
#include <type_traits>

namespace NORV::TaviOperators::Impl {

/// A view of voxels of any type as bytes: strides count bytes, extents still voxels.
template <class T>
auto bytesOf(const View<T>& view) {
  using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;
  constexpr auto size = static_cast<int64>(sizeof(T));
  return View<Byte>{reinterpret_cast<Byte*>(view.data),
                    view.dimPrim,
                    view.dimSec,
                    view.dimTert,
                    view.stridePrim * size,
                    view.strideSec * size,
                    view.strideTert * size};
}

}  // namespace NORV::TaviOperators::Impl
