#pragma once

#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/CountVoxels.hpp>

#include <vector>

namespace NORV::TaviOperators::Impl {

using Tavi::Histogram::VoxelCounter;

/// How often each value occurs in a view of 8- or 16-bit voxels, at the index of its bits taken as unsigned; in
/// parallel over slices. After an abort the counts mean nothing. Extra memory: a VoxelCounter per thread.
template <class T>
std::vector<uint64> countVoxels(OperatorBase& self, int threads, Steps steps, const View<const T>& view) {
  const View<const T> stored = inStorageOrder(view);
  constexpr double nanosecondsPerVoxel = 0.5;
  const LoopTime time = LoopTime::of(view.size(), nanosecondsPerVoxel);
  PerThread<VoxelCounter<T>> counters(
      threads, stored.dimTert, [] { return VoxelCounter<T>(); }, time);
  forEachPartOf(
      self, threads, stored.dimTert, view.dimTert, steps,
      [&](SizeType tert) { counters.mine().countSlice(stored, tert); }, Schedule::fixed, time);
  std::vector<uint64> counts(VoxelCounter<T>::bins);
  for (SizeType thread = 0; thread < counters.size(); ++thread) {
    counters[thread].addTo(counts.data());
  }
  return counts;
}

}  // namespace NORV::TaviOperators::Impl
