#pragma once

#include <SlidingMaskOffsets.hpp>
#include <Tavi/Types.hpp>

#include <limits>
#include <type_traits>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// Counts the voxels under a structuring element per grey value and finds the one of a given rank. A step of the
/// element moves the rank by little, so each search starts at the last value found; a second table of blocks of grey
/// values crosses the gaps.
///
/// Memory: 2 KiB for voxels of 8 bits, 514 KiB for 16 bits.
template <class T>
class RankCounts {
  static_assert(std::is_integral_v<T> && sizeof(T) <= 2);
  static constexpr uint32 bins = uint32{1} << (8 * sizeof(T));
  static constexpr uint32 block = uint32{1} << (4 * sizeof(T));

public:
  RankCounts() : _counts(bins), _blocks(bins / block) {}

  void add(T voxel) {
    const uint32 bin = binOf(voxel);
    ++_counts[bin];
    ++_blocks[bin / block];
    _below += bin < _bin ? 1u : 0u;
  }
  void remove(T voxel) {
    const uint32 bin = binOf(voxel);
    --_counts[bin];
    --_blocks[bin / block];
    _below -= bin < _bin ? 1u : 0u;
  }

  /// The voxel of this rank, 0 for the lowest. There must be more voxels than that.
  T find(uint64 rank) {
    if (_below > rank) {
      stepDown(rank);
    } else {
      stepUp(rank);
    }
    return voxelOf(_bin);
  }

private:
  // In the order of the grey values, negative ones first.
  static constexpr uint32 bias = std::is_signed_v<T> ? bins / 2 : 0;
  static uint32 binOf(T voxel) { return (static_cast<uint32>(voxel) + bias) % bins; }
  static T voxelOf(uint32 bin) { return static_cast<T>(static_cast<int32>(bin) - static_cast<int32>(bias)); }

  void stepUp(uint64 rank) {
    while (_below + _counts[_bin] <= rank) {
      _below += _counts[_bin++];
      if (_bin % block == 0) {
        while (_below + _blocks[_bin / block] <= rank) {
          _below += _blocks[_bin / block];
          _bin += block;
        }
      }
    }
  }
  void stepDown(uint64 rank) {
    while (_below > rank) {
      if (_bin % block == 0) {
        while (_below - _blocks[_bin / block - 1] > rank) {
          _bin -= block;
          _below -= _blocks[_bin / block];
        }
      }
      _below -= _counts[--_bin];
    }
  }

  std::vector<uint64> _counts;  // per grey value
  std::vector<uint64> _blocks;  // per block of grey values
  uint32 _bin = 0;              // of the voxel found last
  uint64 _below = 0;            // voxels in the bins before it
};

/// One row of ranks. The table is empty before and after: what is left of the element is taken back voxel by voxel, as
/// that is less than a large table has counters.
template <class T>
[[gnu::noinline]] void rankRow(RankCounts<T>& counts, const SlidingMaskOffsets& offsets, uint64 rank, const T* input,
                               int64 inputStride, T* output, int64 outputStride, SizeType length) {
  if (length == 0) {
    return;
  }
  for (const int64 offset : offsets.allOffsets) {
    counts.add(input[offset]);
  }
  *output = counts.find(rank);
  for (SizeType i = 1; i < length; ++i) {
    input += inputStride;
    output += outputStride;
    for (SizeType edge = 0; edge < offsets.edgeCount; ++edge) {
      counts.remove(input[offsets.removeOffsets[edge]]);
      counts.add(input[offsets.addOffsets[edge]]);
    }
    *output = counts.find(rank);
  }
  for (const int64 offset : offsets.allOffsets) {
    counts.remove(input[offset]);
  }
}

}  // namespace NORV::TaviOperators::Impl
