#pragma once

#include <Impl/Loops/View.hpp>

#include <type_traits>

/// Rules that look at bits do the same on signed and on unsigned integers. They are compiled for the unsigned ones
/// only, through which signed ones may be accessed.
namespace NORV::TaviOperators::Impl {

template <class T>
struct UnsignedOf {
  using type = std::make_unsigned_t<T>;
};
template <class T>
requires std::is_floating_point_v<T>
struct UnsignedOf<T> {
  using type = T;
};
/// The unsigned integer of the size of an integer; any other type stays.
template <class T>
using BitsOf = typename UnsignedOf<T>::type;

/// The same voxels as `To`, which differs from their type at most in sign and const.
template <class To, class T>
View<To> viewAs(const View<T>& view) {
  static_assert(std::is_same_v<BitsOf<std::remove_const_t<To>>, BitsOf<std::remove_const_t<T>>>);
  return {reinterpret_cast<To*>(view.data),
          view.dimPrim,
          view.dimSec,
          view.dimTert,
          view.stridePrim,
          view.strideSec,
          view.strideTert};
}

}  // namespace NORV::TaviOperators::Impl
