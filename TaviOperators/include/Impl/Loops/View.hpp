#pragma once

#include <Tavi/View.hpp>

namespace NORV::TaviOperators::Impl {

using Tavi::denseView;
using Tavi::mayOverlap;
using Tavi::View;
using Tavi::viewOf;

/// The same voxels, only to be read.
template <class T>
View<const T> readOnly(const View<T>& view) {
  return {view.data, view.dimPrim, view.dimSec, view.dimTert, view.stridePrim, view.strideSec, view.strideTert};
}

/// The view of a volume that is only read.
template <class Volume>
auto inputViewOf(const Volume& volume) {
  return viewOf(volume);
}

}  // namespace NORV::TaviOperators::Impl
