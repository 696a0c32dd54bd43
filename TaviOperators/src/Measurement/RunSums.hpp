#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <limits>
#include <type_traits>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Whole numbers that a run of 8- or 16-bit values adds up to.
template <class T>
struct RunSums {
  static_assert(std::is_integral_v<T> && sizeof(T) <= 2);

  T minimum = std::numeric_limits<T>::max();
  T maximum = std::numeric_limits<T>::min();
  int64 sum = 0;
  uint64 squares = 0;
  uint64 positive = 0;  ///< of the values above 0
  uint64 placed = 0;    ///< of these, each times its place in the run

  RunSums(const T* values, SizeType count) {
    for (SizeType first = 0; first < count; first += piece) {
      addPiece(values + first, std::min(piece, count - first), first);
    }
  }

private:
  static constexpr SizeType piece = 256;  // short enough for sums of 32 bits

  void addPiece(const T* values, SizeType count, SizeType first) {
    using Squares = std::conditional_t<sizeof(T) == 1, uint32, uint64>;
    int32 ofValues = 0;
    uint32 ofPositive = 0, ofPlaced = 0;
    Squares ofSquares = 0;
    for (uint32 i = 0; i < static_cast<uint32>(count); ++i) {
      const int32 value = values[i];
      const auto magnitude = static_cast<uint32>(value < 0 ? -value : value);
      const uint32 weight = value < 0 ? 0 : magnitude;
      ofValues += value;
      ofSquares += static_cast<Squares>(magnitude * magnitude);
      ofPositive += weight;
      ofPlaced += i * weight;
      minimum = values[i] < minimum ? values[i] : minimum;
      maximum = values[i] > maximum ? values[i] : maximum;
    }
    sum += ofValues;
    squares += ofSquares;
    positive += ofPositive;
    placed += ofPlaced + first * ofPositive;
  }
};

}  // namespace NORV::TaviOperators::Impl
