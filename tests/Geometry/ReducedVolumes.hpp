#pragma once

#include "support/Operators.hpp"
#include "support/Volumes.hpp"

#include <Tavi/Triple.hpp>
#include <Tavi/Volume.hpp>

#include <cmath>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

/// What the tests of the operators that shrink a volume share.
namespace NORV::Tests::Reduced {

using Tavi::Dimension;
using Tavi::Volume;
using Tavi::VolumePtr;

inline const std::vector<SizeType>& manyThreads() {
  static const std::vector<SizeType> counts{1, 2, 5, 33};
  return counts;
}

/// Calls `body` for each of the types but float64.
template <class Body>
void forEachBinnedType(const Body& body) {
  forEachVoxelType([&]<class T>() {
    if constexpr (!std::is_same_v<T, float64>) {
      body.template operator()<T>();
    }
  });
}

/// The index of a voxel in a vector, prim fastest.
inline std::size_t indexOf(const Extents& extents, SizeType x, SizeType y, SizeType z) {
  return x + extents[0] * (y + extents[1] * z);
}
inline SizeType countOf(const Extents& extents) { return extents[0] * extents[1] * extents[2]; }

/// The language's conversion of a mean, which its type holds.
template <class T>
T narrowed(double value) {
  return static_cast<T>(value);
}

/// Values of which any sum is defined: all integers, and numbers with many digits. No -0, which no sum is.
template <class T>
std::vector<T> plainValues(std::size_t count, unsigned seed = 1) {
  std::vector<T> values = mixedValues<T>(count, seed);
  if constexpr (std::is_floating_point_v<T>) {
    for (std::size_t i = 0; i < count; ++i) {
      const bool isUsual = std::isfinite(values[i]) && std::abs(values[i]) < T(1e9);
      values[i] = isUsual && values[i] != T(0) ? values[i] / T(3) : T(1) / T(i + 7);
    }
  }
  return values;
}

/// The same bits, but that one NaN is as good as another.
template <class T>
void expectSameNumbers(const std::vector<T>& actual, const std::vector<T>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  int shown = 0;
  for (std::size_t i = 0; i < actual.size() && shown < 3; ++i) {
    if (!isSameValue(actual[i], expected[i]) && (actual[i] == actual[i] || expected[i] == expected[i])) {
      ADD_FAILURE() << "voxel " << i << " is " << +actual[i] << ", expected " << +expected[i];
      ++shown;
    }
  }
}

/// A volume over memory that another one may see, too.
template <class T>
VolumePtr<T> volumeAt(T* memory, const Extents& extents) {
  return VolumePtr<T>(new Volume<T>(Dimension<SizeType>(extents[0], extents[1], extents[2]), memory, {}));
}

/// Runs until an abort from another thread came in time; returns whether there was one. `run` says whether its run was
/// aborted.
inline bool abortSometime(IOperator& op, const std::function<bool()>& run) {
  for (int attempt = 0; attempt < 50; ++attempt) {
    std::atomic<bool> ended{false};
    std::thread other([&] {
      while (!ended) {
        op.abort();
      }
    });
    const bool isAborted = run();
    ended = true;
    other.join();
    if (isAborted) {
      return true;
    }
  }
  return false;
}

}  // namespace NORV::Tests::Reduced
