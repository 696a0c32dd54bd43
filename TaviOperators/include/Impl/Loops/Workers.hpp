#pragma once

#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Loops/SliceLoop.hpp>

#include <algorithm>
#include <atomic>

namespace NORV::TaviOperators::Impl {

/// How many threads are to share a volume of that many voxels in at most so many parts: one for each `least` voxels, as
/// starting a thread does not pay for less. It bounds the parts of a loop, not the thread count of the process.
inline SizeType workersFor(int threads, SizeType parts, SizeType voxels, SizeType least) {
  return std::clamp<SizeType>(voxels / least, 1, static_cast<SizeType>(teamSize(threads, parts)));
}

/// Runs `body(part, slice)` for all slices, in parallel over `parts` slabs of them and in order within a slab. The
/// slices left after an abort are skipped. Returns whether all have been run.
template <class Body>
bool forEachSliceInParts(OperatorBase& self, int threads, SizeType parts, SizeType slices, const Body& body) {
  std::atomic<SizeType> done{0};
  forEachSlice(
      self, threads, parts, Steps::silent,
      [&](SizeType part) {
        const SizeType begin = slices * part / parts, end = slices * (part + 1) / parts;
        SizeType slice = begin;
        for (; slice < end && !self.isAborted(); ++slice) {
          body(part, slice);
        }
        done.fetch_add(slice - begin, std::memory_order_relaxed);
      },
      Schedule::dynamic);
  return done == slices;
}

}  // namespace NORV::TaviOperators::Impl
