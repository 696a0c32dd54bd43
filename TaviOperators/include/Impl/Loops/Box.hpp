#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Dimension.hpp>
#include <Tavi/Position.hpp>
#include <Tavi/Types.hpp>

namespace NORV::TaviOperators::Impl {

/// A box of positions of a view.
struct Box {
  Tavi::Dimension<Tavi::SizeType> size;
  Tavi::Position<Tavi::SizeType> origin;
};

/// The part of a view inside a box; any empty box gives an empty view.
template <class T>
View<T> cropped(View<T> view, const Box& box) {
  view.dimPrim = box.size.prim;
  view.dimSec = box.size.sec;
  view.dimTert = box.size.tert;
  if (view.size() != 0) {
    view.data = &view.at(box.origin.prim, box.origin.sec, box.origin.tert);
  }
  return view;
}

}  // namespace NORV::TaviOperators::Impl
