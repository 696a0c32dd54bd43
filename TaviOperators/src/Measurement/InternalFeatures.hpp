#pragma once

#include <Features.hpp>
#include <Tavi/Types.hpp>

#include <Measurement/RunSums.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

namespace NORV::TaviOperators::StandardFeaturesCalculation {

using Tavi::SizeType;

/// Lengths of a bounding box.
using BoxExtents = std::array<uint64, 3>;

/// The middle extent divided by the largest.
inline float64 aspectRatioOf(BoxExtents extents) {
  std::sort(extents.begin(), extents.end());
  return static_cast<float64>(extents[1]) / static_cast<float64>(extents[2]);
}

/// The mean of the two extents whose ratio is next to 1; of equal ratios the later pair counts.
inline float64 diameterOf(const BoxExtents& extents) {
  float64 nearest = 0.0, mean = 0.0;
  for (const auto& [first, second] : {std::array{0u, 1u}, std::array{0u, 2u}, std::array{1u, 2u}}) {
    const auto a = static_cast<float64>(extents[first]), b = static_cast<float64>(extents[second]);
    const float64 ratio = std::min(a, b) / std::max(a, b);
    if (ratio >= nearest) {
      nearest = ratio;
      mean = 0.5 * (a + b);
    }
  }
  return mean;
}

/// What is gathered of one label while the voxels go by.
template <class T>
struct InternalFeatures {
  using Places = std::array<uint64, 3>;  // along prim, sec and tert

  static constexpr uint64 far = std::numeric_limits<uint64>::max();

  uint64 count = 0;
  Places minimumPlace{far, far, far};
  Places maximumPlace{};
  Places sumOfPlaces{};
  std::array<float64, 3> weightedSum{};  // of places, each times its value
  bool isCenterValid = true;
  T minimum = std::numeric_limits<T>::max();
  T maximum = std::numeric_limits<T>::min();  // for floating point the smallest positive normal number
  float64 sum = 0.0;
  float64 sumOfSquares = 0.0;

  /// The places of `voxels` voxels of a row from `first` on.
  void addPlaces(const Places& first, uint64 voxels) {
    const Places last{first[0] + voxels - 1, first[1], first[2]};
    count += voxels;
    for (std::size_t i = 0; i < 3; ++i) {
      minimumPlace[i] = std::min(minimumPlace[i], first[i]);
      maximumPlace[i] = std::max(maximumPlace[i], last[i]);
      sumOfPlaces[i] += voxels * first[i];
    }
    sumOfPlaces[0] += voxels * (voxels - 1) / 2;
  }

  /// The values of these voxels, with the sums that adding them one after the other gives.
  void addValues(const Places& first, const T* values, uint64 voxels) {
    constexpr uint64 few = 8;
    if (voxels < few) {
      addOneByOne(first, values, voxels);
      return;
    }
    if constexpr (std::is_integral_v<T> && sizeof(T) <= 2) {
      if (addSums(first, Impl::RunSums<T>(values, voxels))) {
        return;
      }
    }
    InternalFeatures all = *this;  // which no compiler has to store after each voxel
    all.addOneByOne(first, values, voxels);
    *this = all;
  }

  void merge(const InternalFeatures& other) {
    count += other.count;
    for (std::size_t i = 0; i < 3; ++i) {
      minimumPlace[i] = std::min(minimumPlace[i], other.minimumPlace[i]);
      maximumPlace[i] = std::max(maximumPlace[i], other.maximumPlace[i]);
      sumOfPlaces[i] += other.sumOfPlaces[i];
      weightedSum[i] += other.weightedSum[i];
    }
    isCenterValid = isCenterValid && other.isCenterValid;
    minimum = std::min(minimum, other.minimum);
    maximum = std::max(maximum, other.maximum);
    sum += other.sum;
    sumOfSquares += other.sumOfSquares;
  }

  /// The record of a label that occurs.
  template <class L>
  void store(L label, Features<L, T, float64>& features) const {
    const auto voxels = static_cast<float64>(count);
    BoxExtents extents;
    for (std::size_t i = 0; i < 3; ++i) {
      extents[i] = maximumPlace[i] - minimumPlace[i] + 1;
    }
    const auto mean = [](const auto& sums, float64 by) {
      return Tavi::Triple<float64>(static_cast<float64>(sums[0]) / by, static_cast<float64>(sums[1]) / by,
                                   static_cast<float64>(sums[2]) / by);
    };
    constexpr float64 nan = std::numeric_limits<float64>::quiet_NaN();
    const bool hasCenter = sum > 0.0 && isCenterValid;

    features.label = label;
    features.size = count;
    features.roi = Tavi::RegionOfInterest(Tavi::Dimension<SizeType>(extents[0], extents[1], extents[2]),
                                          Tavi::Position<SizeType>(minimumPlace[0], minimumPlace[1], minimumPlace[2]));
    features.geometricCenter = mean(sumOfPlaces, voxels);
    features.centerOfGravity = hasCenter ? mean(weightedSum, sum) : Tavi::Triple<float64>(nan, nan, nan);
    features.centerOfGravityIsValid = hasCenter;
    features.minimum = minimum;
    features.maximum = maximum;
    features.mean = sum / voxels;
    features.variance = count > 1 ? (sumOfSquares - sum * sum / voxels) / (voxels - 1.0) : 0.0;
    features.fillFactor = voxels / static_cast<float64>(extents[0] * extents[1] * extents[2]);
    features.aspectRatio = aspectRatioOf(extents);
    features.diameter = diameterOf(extents);
  }

private:
  /// Adds all values at once where double precision holds all sums on the way exactly, so that their order does not
  /// matter. Otherwise changes nothing and returns false.
  bool addSums(const Places& first, const Impl::RunSums<T>& run) {
    constexpr float64 exact = 9007199254740992.0;  // 2^53
    const std::array weighted{weightedSum[0] + static_cast<float64>(first[0] * run.positive + run.placed),
                              weightedSum[1] + static_cast<float64>(first[1] * run.positive),
                              weightedSum[2] + static_cast<float64>(first[2] * run.positive)};
    const float64 squares = sumOfSquares + static_cast<float64>(run.squares);  // never less than the sum of values
    if (!(weighted[0] < exact && weighted[1] < exact && weighted[2] < exact && squares < exact)) {
      return false;
    }
    weightedSum = weighted;
    sumOfSquares = squares;
    sum += static_cast<float64>(run.sum);
    minimum = std::min(minimum, run.minimum);
    maximum = std::max(maximum, run.maximum);
    isCenterValid = isCenterValid && !(run.minimum < T(0));
    return true;
  }

  /// Sums of floating-point numbers depend on their order.
  void addOneByOne(const Places& first, const T* values, uint64 voxels) {
    const auto sec = static_cast<float64>(first[1]), tert = static_cast<float64>(first[2]);
    for (uint64 i = 0; i < voxels; ++i) {
      const T value = values[i];
      const auto real = static_cast<float64>(value);
      if (value > T(0)) {
        weightedSum[0] += static_cast<float64>(first[0] + i) * real;
        weightedSum[1] += sec * real;
        weightedSum[2] += tert * real;
      } else if (value < T(0)) {
        isCenterValid = false;
      }
      minimum = value < minimum ? value : minimum;
      maximum = value > maximum ? value : maximum;
      sum += real;
      sumOfSquares += real * real;
    }
  }
};

}  // namespace NORV::TaviOperators::StandardFeaturesCalculation
