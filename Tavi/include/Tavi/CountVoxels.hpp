#pragma once

#include <Tavi/Types.hpp>
#include <Tavi/View.hpp>

#include <algorithm>
#include <bit>
#include <cstring>
#include <type_traits>
#include <vector>

namespace NORV::Tavi::Histogram {

/// Counts 8- or 16-bit voxels, one thread's share of them. Neighbouring voxels are often equal, and an increment that
/// follows another of the same counter waits until that one is stored: so they go to different partial tables in turn,
/// and a run of one value is counted in one step. 16-bit voxels that seldom repeat, as noise, go to one table, so that
/// less of the cache is in use.
///
/// Extra memory: 4 KiB for 8 bits, 512 KiB for 16 bits; twice as much from 2^31 voxels on. Counts are of 64 bits.
template <class T>
class VoxelCounter {
  static_assert(std::is_integral_v<T> && sizeof(T) <= 2);
  using Unsigned = std::make_unsigned_t<T>;

public:
  static constexpr SizeType bins = SizeType{1} << (8 * sizeof(T));

  /// The bin of a value: that of its bits taken as unsigned.
  static constexpr SizeType bin(T value) { return static_cast<Unsigned>(value); }

  VoxelCounter() : _partial(lanes * bins) {}

  void count(T value) {
    ++_partial[lane(_pending) + bin(value)];
    if (++_pending == pendingLimit) {
      makeRoom();
    }
  }

  void countRow(const T* row, SizeType size) {
    while (size > 0) {
      const SizeType piece = std::min(size, pendingLimit - _pending);
      countPiece(row, piece);
      row += piece;
      size -= piece;
      _pending += piece;
      if (_pending == pendingLimit) {
        makeRoom();
      }
    }
  }

  /// One slice of a view.
  template <class Voxel>
  void countSlice(const View<Voxel>& view, SizeType tert) {
    if (view.hasDenseSlices()) {
      countRow(view.row(0, tert), view.dimPrim * view.dimSec);
      return;
    }
    for (SizeType sec = 0; sec < view.dimSec; ++sec) {
      const T* voxel = view.row(sec, tert);
      if (view.hasDenseRows()) {
        countRow(voxel, view.dimPrim);
        continue;
      }
      for (SizeType prim = 0; prim < view.dimPrim; ++prim, voxel += view.stridePrim) {
        count(*voxel);
      }
    }
  }

  bool isEmpty() const { return _pending == 0 && _flushed.empty(); }

  /// Adds the counts to a table of `bins` counters of any width.
  template <class Count>
  void addTo(Count* table) const {
    for (SizeType i = 0; i < bins; ++i) {
      table[i] = static_cast<Count>(table[i] + of(i));
    }
  }

private:
  static constexpr SizeType lanes = sizeof(T) == 1 ? 4 : 2;  // two tables of 16 bits leave room in the second cache
  static constexpr SizeType pendingLimit = SizeType{1} << 31;
  static constexpr SizeType voxelsPerWord = sizeof(uint64) / sizeof(T);
  static constexpr SizeType wordsPerBlock = 4;

  static constexpr SizeType lane(SizeType index) { return index % lanes * bins; }

  uint64 of(SizeType index) const {
    uint64 sum = _flushed.empty() ? 0 : _flushed[index];
    for (SizeType i = 0; i < lanes; ++i) {
      sum += _partial[i * bins + index];
    }
    return sum;
  }

  /// Empties the partial tables before one of their counters can overflow.
  void makeRoom() {
    std::vector<uint64> sums(bins);
    addTo(sums.data());
    _flushed.swap(sums);
    std::fill(_partial.begin(), _partial.end(), 0U);
    _pending = 0;
  }

  void countPiece(const T* row, SizeType size) {
    if (lanes > 1 && sizeof(T) > 1 && repeatsSeldom(row, size)) {
      countInTables<1>(row, size);
    } else {
      countInTables<lanes>(row, size);
    }
  }

  /// Whether one table will do, which leaves more of the cache to its counters. Looks at the first voxels only.
  static bool repeatsSeldom(const T* row, SizeType size) {
    constexpr SizeType pairs = 64, most = 4;
    if (size < 16 * pairs) {
      return false;
    }
    SizeType repeated = 0;
    for (SizeType i = 0; i < pairs; ++i) {
      repeated += SizeType{row[i] == row[i + 1]} + SizeType{row[i] == row[i + 2]};
    }
    return repeated <= most;
  }

  template <SizeType tables>
  [[gnu::noinline]] void countInTables(const T* row, SizeType size) {
    uint32* const table = _partial.data();
    SizeType done = 0;
    for (; size - done >= wordsPerBlock * voxelsPerWord; done += wordsPerBlock * voxelsPerWord) {
      uint64 words[wordsPerBlock];
      std::memcpy(words, row + done, sizeof words);
      const uint64 turned = std::rotl(words[0], 8 * static_cast<int>(sizeof(T)));
      if (((words[0] ^ turned) | (words[0] ^ words[1]) | (words[0] ^ words[2]) | (words[0] ^ words[3])) == 0) {
        table[static_cast<Unsigned>(words[0])] += static_cast<uint32>(wordsPerBlock * voxelsPerWord);
        continue;
      }
      for (const uint64 word : words) {
        countWord<tables>(table, word);
      }
    }
    for (; done < size; ++done) {
      ++table[done % tables * bins + bin(row[done])];
    }
  }

  template <SizeType tables>
  static void countWord(uint32* table, uint64 word) {
#pragma GCC unroll 8
    for (SizeType i = 0; i < voxelsPerWord; ++i) {
      ++table[i % tables * bins + static_cast<Unsigned>(word >> (8 * sizeof(T) * i))];
    }
  }

  std::vector<uint32> _partial;
  std::vector<uint64> _flushed;
  SizeType _pending = 0;
};

}  // namespace NORV::Tavi::Histogram
