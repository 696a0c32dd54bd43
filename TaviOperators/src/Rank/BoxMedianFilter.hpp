#pragma once

#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>

#include <Rank/BoxMedianPlan.hpp>
#include <Rank/BoxMedians.hpp>
#include <Rank/KeyLanes.hpp>
#include <Rank/StructuringElement.hpp>
#include <Rank/VoxelBytes.hpp>

namespace NORV::TaviOperators::Impl {

/// The lower medians under a box whose neighbouring positions share what they can.
template <class T>
struct BoxMedianFilter {
  using Key = KeyOf<T>;

  /// `from` and `to` are the positions of the anchor at which the element lies inside the volume. Returns false where
  /// this takes more than `steps` per voxel; then nothing was done.
  static bool run(OperatorBase& self, int threads, const View<const T>& from, const View<T>& to,
                  const StructuringElement& element, double steps) {
    const std::array<SizeType, 3> extents{element.extent(0), element.extent(1), element.extent(2)};
    if (extents[0] < 2 || element.count > largestBox || !BoxMedians<Key>::canRun(to.dimPrim, extents[0])) {
      return false;
    }
    const BoxMedianPlan plan(extents);
    if (BoxMedians<Key>::stepsPerVoxel(plan) >= steps) {
      return false;
    }
    View<const T> first = from;
    first.data += element.low[0] * from.stridePrim + element.low[1] * from.strideSec + element.low[2] * from.strideTert;
    using Medians = BoxMedians<Key>;
    PerThread<Medians> medians(threads, to.dimTert, [&] {
      return Medians(plan, KeyBits<Key>::template of<T>(), bytesOf(first), bytesOf(to));
    });
    forEachSlice(self, threads, to.dimTert, Steps::counted, [&medians](SizeType tert) { medians.mine()(tert); });
    return true;
  }

private:
  static constexpr SizeType largestBox = 512;  // voxels; the lists of more leave the cache
};

}  // namespace NORV::TaviOperators::Impl
