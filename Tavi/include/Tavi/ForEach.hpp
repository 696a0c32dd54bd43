#pragma once

#include <Tavi/Exceptions.hpp>
#include <Tavi/Export.hpp>
#include <Tavi/Progress.hpp>
#include <Tavi/View.hpp>
#include <Tavi/Volume.hpp>

#include <atomic>
#include <tuple>

namespace NORV::Tavi::Iterating {

/// Base of per-voxel functors. A functor has a call operator on one or two voxel references; it is copied per worker.
/// It may also have `void row(first, second, count)` on pointers to rows that lie densely in memory, which then serves
/// for such rows and must do the same.
class TAVI_EXPORT Functor {
public:
  virtual ~Functor() = default;
};

namespace Impl {

template <class Functor, class... T>
void walkSlice(Functor& functor, SizeType tert, const View<T>&... views) {
  const auto& view = std::get<0>(std::tie(views...));
  if constexpr (requires { functor.row(views.data..., SizeType{}); }) {
    if ((views.hasDenseSlices() && ...)) {
      functor.row(views.row(0, tert)..., view.dimPrim * view.dimSec);
      return;
    }
    if ((views.hasDenseRows() && ...)) {
      for (SizeType sec = 0; sec < view.dimSec; ++sec) {
        functor.row(views.row(sec, tert)..., view.dimPrim);
      }
      return;
    }
  }
  for (SizeType sec = 0; sec < view.dimSec; ++sec) {
    std::tuple<T*...> voxels(views.row(sec, tert)...);
    const std::tuple<decltype(views.stridePrim)...> steps(views.stridePrim...);
    for (SizeType prim = 0; prim < view.dimPrim; ++prim) {
      std::apply([&functor](T*&... voxel) { functor(*voxel...); }, voxels);
      std::apply([&steps](T*&... voxel) { std::apply([&](const auto&... step) { ((voxel += step), ...); }, steps); },
                 voxels);
    }
  }
}

}  // namespace Impl

/// The serial walk over all voxels of one volume or of two of like size.
class ForEach {
public:
  /// Throws InvalidArg unless all views have the extents of the first.
  template <class First, class... Others>
  static void checkDimensions(const First& first, const Others&... others) {
    const Dimension<SizeType> dimension = first->getDimension();
    if (!((others->getDimension() == dimension) && ...)) {
      throw Exceptions::InvalidArg("NORV::Tavi::Iterating::ForEach::checkDimensions",
                                   "At least two volumes have divering Dimensions");
    }
  }

  /// Calls `*functor` on every voxel, or pair of voxels, in memory order of the view. After each slice `*aborted` ends
  /// the walk; otherwise `*progress` rises to just below 0.99, and to 1 at the end. `FunctorPtr` is any kind of
  /// pointer, `Flag` a bool or an atomic one.
  template <class FunctorPtr, class T, class Alloc, class Flag>
  static void apply(const FunctorPtr& functor, const SmartPointer<Volume<T, Alloc>>& volume, Progress* progress,
                    const Flag* aborted) {
    walk(*functor, progress, aborted, viewOf(*volume));
  }
  template <class FunctorPtr, class T1, class Alloc1, class T2, class Alloc2, class Flag>
  static void apply(const FunctorPtr& functor, const SmartPointer<Volume<T1, Alloc1>>& volume1,
                    const SmartPointer<Volume<T2, Alloc2>>& volume2, Progress* progress, const Flag* aborted) {
    checkDimensions(volume1, volume2);
    walk(*functor, progress, aborted, viewOf(*volume1), viewOf(*volume2));
  }

private:
  template <class Flag>
  static bool isSet(const Flag& flag) {
    if constexpr (requires { flag.load(std::memory_order_relaxed); }) {
      return flag.load(std::memory_order_relaxed);
    } else {
      return flag;
    }
  }

  template <class Functor, class Flag, class... T>
  static void walk(Functor& functor, Progress* progress, const Flag* aborted, const View<T>&... views) {
    const SizeType slices = std::get<0>(std::tie(views...)).dimTert;
    const double step = 0.99 / static_cast<double>(slices);
    double done = 0.0;
    for (SizeType tert = 0; tert < slices; ++tert) {
      Impl::walkSlice(functor, tert, views...);
      if (isSet(*aborted)) {
        return;
      }
      done += step;
      progress->setProgress(done);
    }
    progress->setProgress(1.0);
  }
};

}  // namespace NORV::Tavi::Iterating
