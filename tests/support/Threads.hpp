#pragma once

#include <gtest/gtest.h>
#include <omp.h>

#include <string>

namespace NORV::Tests {

/// Calls `body()` while the runtime offers 1, 2, 3, 5 and 33 threads.
template <class Body>
void forEachThreadCount(const Body& body) {
  const int before = omp_get_max_threads();
  for (const int threads : {1, 2, 3, 5, 33}) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, std::to_string(threads) + " threads");
    omp_set_num_threads(threads);
    body();
  }
  omp_set_num_threads(before);
}

}  // namespace NORV::Tests
