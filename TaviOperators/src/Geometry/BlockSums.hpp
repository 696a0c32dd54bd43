#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <Vectors/PlainConversion.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
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
      sum = static_cast<Sum>(sum + static_cast<Sum>(voxel[static_cast<int64>(x) * stride]));
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

/// The mean of a block, cut toward zero for integers: the quotient in double precision, in a quicker way where the
/// count is a power of two.
template <class T>
class BlockMean {
public:
  explicit BlockMean(const BlockSize& block) : _count(block.count()) {
    int exponent = 0;
    _isPower = std::frexp(_count, &exponent) == 0.5;
    _shift = exponent - 1;
  }

  template <class Sum>
  void row(const Sum* sums, T* output, int64 stride, SizeType count) const {
    if constexpr (std::is_integral_v<Sum>) {
      if (_isPower) {
        const auto rest = static_cast<Sum>((int64{1} << _shift) - 1);
        write(sums, output, stride, count, [rest, shift = _shift](Sum sum) {
          const auto negative = static_cast<Sum>(sum < 0 ? rest : 0);
          return static_cast<T>(static_cast<Sum>(sum + negative) >> shift);
        });
        return;
      }
    }
    const double reciprocal = 1.0 / _count;
    if (_isPower) {  // both are exact but for the last rounding
      write(sums, output, stride, count,
            [=](Sum sum) { return convertPlainly<T>(static_cast<double>(sum) * reciprocal); });
    } else {
      write(sums, output, stride, count,
            [divisor = _count](Sum sum) { return convertPlainly<T>(static_cast<double>(sum) / divisor); });
    }
  }

private:
  template <class Sum, class Rule>
  static void write(const Sum* __restrict sums, T* __restrict output, int64 stride, SizeType count, const Rule& rule) {
    if (stride == 1) {
      for (SizeType i = 0; i < count; ++i) {
        output[i] = rule(sums[i]);
      }
    } else {
      for (SizeType i = 0; i < count; ++i) {
        output[static_cast<int64>(i) * stride] = rule(sums[i]);
      }
    }
  }

  double _count;
  bool _isPower;
  int _shift;
};

/// Calls `body(first, second)` for the rows of a block row, two at a time; the last one may stand alone.
template <class T, class Body>
void forEachRowPair(const View<const T>& input, SizeType sec, SizeType tert, const BlockSize& block, const Body& body) {
  const T* waiting = nullptr;
  for (SizeType z = tert * block.tert; z < (tert + 1) * block.tert; ++z) {
    for (SizeType y = sec * block.sec; y < (sec + 1) * block.sec; ++y) {
      const T* const row = input.row(y, z);
      if (waiting != nullptr) {
        body(waiting, row);
        waiting = nullptr;
      } else {
        waiting = row;
      }
    }
  }
  if (waiting != nullptr) {
    body(waiting, nullptr);
  }
}

/// The longest row of voxels whose sums are kept at once.
inline constexpr SizeType columnsAtOnce = 2048;

/// Adds up the columns of each block. Pairs of 16 bits are added as halves of a word: compilers generate slow code for
/// every other element.
template <class Sum, class Column>
void addColumns(const Column* columns, SizeType length, Sum* sums, SizeType count) {
  if constexpr (sizeof(Column) == 2) {
    if (length == 2) {
      for (SizeType i = 0; i < count; ++i) {
        int32 word = 0;
        std::memcpy(&word, columns + 2 * i, sizeof(word));
        sums[i] = static_cast<Column>(word) + (word >> 16);
      }
      return;
    }
  }
  addBlockRow(columns, length, 1, sums, count);
}

/// The means of all blocks in one row of them, for dense rows and sums that `Column` holds exactly, so that any order
/// of addition gives them: rows are added up first, voxels of a row last.
template <class Column, class T>
void averageColumns(const View<const T>& input, SizeType sec, SizeType tert, const BlockSize& block,
                    const View<T>& output) {
  using Sum = std::conditional_t<std::is_integral_v<Column>, int32, Column>;
  alignas(64) std::array<Column, columnsAtOnce> columns;
  alignas(64) std::array<Sum, columnsAtOnce> sums;
  const SizeType most = columnsAtOnce / block.prim;
  const BlockMean<T> mean(block);
  T* const to = output.row(sec, tert);
  for (SizeType begin = 0; begin < output.dimPrim; begin += most) {
    const SizeType blocks = std::min(most, output.dimPrim - begin), length = blocks * block.prim;
    const SizeType offset = begin * block.prim;
    std::fill_n(columns.begin(), length, Column(0));
    forEachRowPair(input, sec, tert, block, [&](const T* first, const T* second) {
      if (second == nullptr) {
        for (SizeType i = 0; i < length; ++i) {
          columns[i] = static_cast<Column>(columns[i] + static_cast<Column>(first[offset + i]));
        }
      } else {
        for (SizeType i = 0; i < length; ++i) {
          const auto both =
              static_cast<Column>(static_cast<Column>(first[offset + i]) + static_cast<Column>(second[offset + i]));
          columns[i] = static_cast<Column>(columns[i] + both);
        }
      }
    });
    std::fill_n(sums.begin(), blocks, Sum(0));
    addColumns(columns.data(), block.prim, sums.data(), blocks);
    mean.row(sums.data(), to + static_cast<int64>(begin) * output.stridePrim, output.stridePrim, blocks);
  }
}

/// The same in the order of the voxels: slices outermost, then rows, then voxels. Sums in double precision are rounded
/// in this order.
template <class Sum, class T>
void averageRows(const View<const T>& input, SizeType sec, SizeType tert, const BlockSize& block,
                 const View<T>& output) {
  constexpr SizeType most = 512;
  std::array<Sum, most> sums;
  const BlockMean<T> mean(block);
  T* const to = output.row(sec, tert);
  for (SizeType begin = 0; begin < output.dimPrim; begin += most) {
    const SizeType blocks = std::min(most, output.dimPrim - begin);
    std::fill_n(sums.begin(), blocks, Sum(0));
    for (SizeType z = tert * block.tert; z < (tert + 1) * block.tert; ++z) {
      for (SizeType y = sec * block.sec; y < (sec + 1) * block.sec; ++y) {
        const T* const row = input.row(y, z) + static_cast<int64>(begin * block.prim) * input.stridePrim;
        addBlockRow(row, block.prim, input.stridePrim, sums.data(), blocks);
      }
    }
    mean.row(sums.data(), to + static_cast<int64>(begin) * output.stridePrim, output.stridePrim, blocks);
  }
}

/// Whether `Sum` holds the sum of any block exactly.
template <class Sum, class T>
bool holdsSums(const BlockSize& block) {
  if constexpr (std::is_integral_v<T>) {
    constexpr double largest = std::max(static_cast<double>(std::numeric_limits<T>::max()),
                                        -static_cast<double>(std::numeric_limits<T>::lowest()));
    constexpr double most = std::is_integral_v<Sum> ? static_cast<double>(std::numeric_limits<Sum>::max())
                                                    : 1.0 / std::numeric_limits<Sum>::epsilon();
    return block.count() * largest <= most;
  } else {
    return false;
  }
}

template <class T>
using AverageBlockRow = void (*)(const View<const T>&, SizeType, SizeType, const BlockSize&, const View<T>&);

/// The quickest way to the means of a row of blocks, as measured.
template <class T>
AverageBlockRow<T> chooseAverage(const View<const T>& input, const BlockSize& block) {
  if constexpr (std::is_integral_v<T>) {
    const bool areShort = block.prim == 1 || (block.prim == 2 && sizeof(T) == 1), areLong = block.prim > 4;
    if (input.hasDenseRows() && block.prim <= columnsAtOnce && (areShort || areLong)) {
      if constexpr (sizeof(T) == 1) {
        if (holdsSums<int16, T>(block)) {
          return averageColumns<int16, T>;
        }
      }
      if constexpr (sizeof(T) <= 2) {
        if (holdsSums<int32, T>(block)) {
          return averageColumns<int32, T>;
        }
      }
      if (holdsSums<double, T>(block)) {
        return averageColumns<double, T>;
      }
    }
    if constexpr (sizeof(T) <= 2) {
      if (holdsSums<int32, T>(block)) {
        return averageRows<int32, T>;
      }
    }
  }
  return averageRows<double, T>;
}

}  // namespace NORV::TaviOperators::Impl
