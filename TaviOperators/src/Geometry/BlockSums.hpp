#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <Vectors/PlainConversion.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>

namespace NORV::TaviOperators::Impl {

/// The extents of a block of voxels.
struct BlockSize {
  SizeType prim, sec, tert;

  double count() const { return static_cast<double>(prim) * static_cast<double>(sec) * static_cast<double>(tert); }
};

/// Adds to each sum the next `length` voxels of a row, one after the other. `length` is a number or a constant of that
/// value; for small constants compilers generate vector code over the sums, each of which keeps its order.
template <class Sum, class T, class Length>
void addBlocks(const T* row, Length length, int64 stride, Sum* sums, SizeType count) {
  for (SizeType i = 0; i < count; ++i) {
    const T* voxel = row + static_cast<int64>(i * length) * stride;
    Sum sum = sums[i];
    for (SizeType x = 0; x < length; ++x) {
      sum += static_cast<Sum>(voxel[static_cast<int64>(x) * stride]);
    }
    sums[i] = sum;
  }
}

template <class Sum, class T>
void addBlockRow(const T* row, SizeType length, int64 stride, Sum* sums, SizeType count) {
  using One = std::integral_constant<int64, 1>;
  const auto add = [&](auto constant) { addBlocks(row, constant, One::value, sums, count); };
  if (stride != 1) {
    addBlocks<Sum, T, SizeType>(row, length, stride, sums, count);
  } else if (length == 1) {
    add(std::integral_constant<SizeType, 1>());
  } else if (length == 2) {
    add(std::integral_constant<SizeType, 2>());
  } else if (length == 3) {
    add(std::integral_constant<SizeType, 3>());
  } else if (length == 4) {
    add(std::integral_constant<SizeType, 4>());
  } else {
    addBlocks<Sum, T, SizeType>(row, length, 1, sums, count);
  }
}

/// The means of all blocks in one row of them, whose sums are added up in `Sum`: slices outermost, then rows, then
/// voxels. `first` is the first voxel of the first block.
template <class Sum, class T>
void averageBlocks(const View<const T>& input, SizeType sec, SizeType tert, const BlockSize& block,
                   const View<T>& output) {
  constexpr SizeType most = 512;
  std::array<Sum, most> sums;
  T* const to = output.row(sec, tert);
  const double count = block.count();
  for (SizeType begin = 0; begin < output.dimPrim; begin += most) {
    const SizeType blocks = std::min(most, output.dimPrim - begin);
    std::fill_n(sums.begin(), blocks, Sum(0));
    for (SizeType z = tert * block.tert; z < (tert + 1) * block.tert; ++z) {
      for (SizeType y = sec * block.sec; y < (sec + 1) * block.sec; ++y) {
        const T* const row = input.row(y, z) + static_cast<int64>(begin * block.prim) * input.stridePrim;
        addBlockRow(row, block.prim, input.stridePrim, sums.data(), blocks);
      }
    }
    for (SizeType i = 0; i < blocks; ++i) {
      to[static_cast<int64>(begin + i) * output.stridePrim] = convertPlainly<T>(static_cast<double>(sums[i]) / count);
    }
  }
}

/// Whether 32 bits hold the sum of any block, so that it is exact and the order of addition does not matter.
template <class T>
bool sumsFit32Bits(const BlockSize& block) {
  if constexpr (std::is_integral_v<T> && sizeof(T) <= 2) {
    const double largest = std::max(static_cast<double>(std::numeric_limits<T>::max()),
                                    -static_cast<double>(std::numeric_limits<T>::lowest()));
    return block.count() * largest <= static_cast<double>(std::numeric_limits<int32>::max());
  } else {
    return false;
  }
}

}  // namespace NORV::TaviOperators::Impl
