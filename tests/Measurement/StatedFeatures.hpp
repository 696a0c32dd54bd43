#pragma once

#include "support/Volumes.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// The plain restatement of the standard features: voxel after voxel, and whole formulas.
namespace NORV::Tests {

using Tavi::SizeType;

/// A record as plain values.
template <class L, class T>
struct StatedFeatures {
  L label{};
  uint64 size = 0;
  std::array<uint64, 3> position{}, extents{};
  std::array<float64, 3> geometricCenter{}, centerOfGravity{};
  bool centerOfGravityIsValid = true;
  T minimum{}, maximum{};
  float64 mean = 0, variance = 0, fillFactor = 0, aspectRatio = 0, diameter = 0;
};

/// What is gathered of a label.
template <class T>
struct StatedSums {
  uint64 count = 0;
  std::array<uint64, 3> low, high{}, sum{};
  std::array<float64, 3> weighted{};
  bool valid = true;
  T minimum = std::numeric_limits<T>::max(), maximum = std::numeric_limits<T>::min();
  float64 values = 0, squares = 0;

  StatedSums() { low.fill(~uint64{0}); }
};

inline float64 statedDiameter(const std::array<uint64, 3>& e) {
  const auto ratio = [](uint64 a, uint64 b) {
    return static_cast<float64>(std::min(a, b)) / static_cast<float64>(std::max(a, b));
  };
  std::vector<std::pair<float64, int>> pairs{{ratio(e[0], e[1]), 1}, {ratio(e[0], e[2]), 2}, {ratio(e[1], e[2]), 3}};
  std::stable_sort(pairs.begin(), pairs.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  switch (pairs.back().second) {
    case 1:
      return 0.5 * static_cast<float64>(e[0] + e[1]);
    case 2:
      return 0.5 * static_cast<float64>(e[0] + e[2]);
    default:
      return 0.5 * static_cast<float64>(e[1] + e[2]);
  }
}

template <class L, class T>
StatedFeatures<L, T> statedRecord(L label, const StatedSums<T>& sums) {
  StatedFeatures<L, T> record;
  const auto count = static_cast<float64>(sums.count);
  record.label = label;
  record.size = sums.count;
  record.position = sums.low;
  for (unsigned i = 0; i < 3; ++i) {
    record.extents[i] = sums.high[i] - sums.low[i] + 1;
    record.geometricCenter[i] = static_cast<float64>(sums.sum[i]) / count;
    record.centerOfGravity[i] =
        sums.values > 0 && sums.valid ? sums.weighted[i] / sums.values : std::numeric_limits<float64>::quiet_NaN();
  }
  record.centerOfGravityIsValid = sums.values > 0 ? sums.valid : false;
  record.minimum = sums.minimum;
  record.maximum = sums.maximum;
  record.mean = sums.values / count;
  if (sums.count > 1) {
    record.variance = (sums.squares - sums.values * sums.values / count) / static_cast<float64>(sums.count - 1);
  }
  const auto& e = record.extents;
  record.fillFactor = count / static_cast<float64>(e[0] * e[1] * e[2]);
  std::array<uint64, 3> sorted = e;
  std::sort(sorted.begin(), sorted.end());
  record.aspectRatio = static_cast<float64>(sorted[1]) / static_cast<float64>(sorted[2]);
  record.diameter = statedDiameter(e);
  return record;
}

/// The records of one thread, by label.
template <class L, class T>
std::vector<StatedFeatures<L, T>> statedFeatures(const std::vector<L>& labels, const std::vector<T>& values,
                                                 const Extents& extents, L from, L to) {
  std::map<L, StatedSums<T>> table;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    if (labels[i] < from || labels[i] > to) {
      continue;
    }
    StatedSums<T>& sums = table[labels[i]];
    const std::array<uint64, 3> place{i % extents[0], i / extents[0] % extents[1], i / (extents[0] * extents[1])};
    const T value = values[i];
    const auto real = static_cast<float64>(value);
    ++sums.count;
    for (unsigned axis = 0; axis < 3; ++axis) {
      sums.low[axis] = std::min(sums.low[axis], place[axis]);
      sums.high[axis] = std::max(sums.high[axis], place[axis]);
      sums.sum[axis] += place[axis];
      if (value > T(0)) {
        sums.weighted[axis] += static_cast<float64>(place[axis]) * real;
      }
    }
    sums.valid = sums.valid && !(value < T(0));
    sums.minimum = value < sums.minimum ? value : sums.minimum;
    sums.maximum = value > sums.maximum ? value : sums.maximum;
    sums.values += real;
    sums.squares += real * real;
  }
  std::vector<StatedFeatures<L, T>> records;
  for (const auto& [label, sums] : table) {
    records.push_back(statedRecord(label, sums));
  }
  return records;
}

/// The same bits; one NaN is as good as another.
inline void expectSameNumber(float64 actual, float64 expected, const char* what) {
  EXPECT_TRUE((std::isnan(actual) && std::isnan(expected)) || isSameValue(actual, expected))
      << what << " is " << actual << ", expected " << expected;
}

/// `Record` is a record of the library.
template <class Record, class L, class T>
void expectSameFeatures(const Record& actual, const StatedFeatures<L, T>& expected) {
  const testing::ScopedTrace trace(__FILE__, __LINE__, "label " + std::to_string(expected.label));
  EXPECT_EQ(+actual.label.value(), +expected.label);
  EXPECT_EQ(actual.size.value(), expected.size);
  const auto box = actual.roi.value();
  EXPECT_EQ(box.getOrigin(),
            Tavi::Position<SizeType>(expected.position[0], expected.position[1], expected.position[2]));
  EXPECT_EQ(box.getDimension(),
            Tavi::Dimension<SizeType>(expected.extents[0], expected.extents[1], expected.extents[2]));
  const auto triple = [](const Tavi::Triple<float64>& t) { return std::array{t.prim, t.sec, t.tert}; };
  for (unsigned i = 0; i < 3; ++i) {
    expectSameNumber(triple(actual.geometricCenter)[i], expected.geometricCenter[i], "geometricCenter");
    expectSameNumber(triple(actual.centerOfGravity)[i], expected.centerOfGravity[i], "centerOfGravity");
  }
  EXPECT_EQ(actual.centerOfGravityIsValid.value(), expected.centerOfGravityIsValid);
  EXPECT_TRUE(isSameValue(actual.minimum.value(), expected.minimum)) << +actual.minimum.value();
  EXPECT_TRUE(isSameValue(actual.maximum.value(), expected.maximum)) << +actual.maximum.value();
  expectSameNumber(actual.mean, expected.mean, "mean");
  expectSameNumber(actual.variance, expected.variance, "variance");
  expectSameNumber(actual.fillFactor, expected.fillFactor, "fillFactor");
  expectSameNumber(actual.aspectRatio, expected.aspectRatio, "aspectRatio");
  expectSameNumber(actual.diameter, expected.diameter, "diameter");
}

}  // namespace NORV::Tests
