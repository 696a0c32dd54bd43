#pragma once

#include <Tavi/View.hpp>

namespace NORV::TaviOperators::Impl {

using Tavi::denseView;
using Tavi::mayOverlap;
using Tavi::View;
using Tavi::viewOf;

/// The view of a volume that is only read.
template <class Volume>
auto inputViewOf(const Volume& volume) {
  return viewOf(volume);
}

}  // namespace NORV::TaviOperators::Impl
