#pragma once

#include <Tavi/CheckedCast.hpp>
#include <Tavi/Types.hpp>

#include <omp.h>

#include <algorithm>
#include <limits>

namespace NORV::TaviOperators::Impl {

/// "inputNumberOfThreads" as the runtime takes it: below 1 all threads that it offers. Throws `std::overflow_error`
/// where 32 bits do not hold the count.
template <class Count>
int threadCount(Count asked) {
  const int32 count = Tavi::checkedCast<int32>(asked);
  return count < 1 ? omp_get_max_threads() : count;
}

/// About how long a loop takes on one thread; by default so long that a team of threads pays.
struct LoopTime {
  double nanoseconds = std::numeric_limits<double>::infinity();

  static LoopTime of(Tavi::SizeType voxels, double nanosecondsPerVoxel) {
    return {static_cast<double>(voxels) * nanosecondsPerVoxel};
  }
  /// To begin and to end a team takes some microseconds, and much longer where other processes use the processors.
  bool paysForATeam() const { return nanoseconds >= 10e3; }
};

/// How many threads a loop over `slices` uses at the most. A runtime that cannot start a thread ends the process, so an
/// absurd count stays a number.
inline int teamSize(int threads, Tavi::SizeType slices, LoopTime time = {}) {
  if (!time.paysForATeam()) {
    return 1;
  }
  static const int bound = std::max(256, 4 * omp_get_num_procs());  // a call of the system
  const auto useful = static_cast<int>(std::min<Tavi::SizeType>(slices, static_cast<Tavi::SizeType>(bound)));
  return std::max(1, std::min(threads, useful));
}

}  // namespace NORV::TaviOperators::Impl
