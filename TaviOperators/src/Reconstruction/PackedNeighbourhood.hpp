#pragma once

#include <Tavi/Types.hpp>

#include <array>
#include <bit>
#include <cstddef>
#include <utility>

/// The neighbours of a voxel of a binary volume as one word, and the tests of thinning on it.
///
/// T. C. Lee, R. L. Kashyap, C. N. Chu: Building skeleton models via 3-D medial surface/axis thinning algorithms.
/// CVGIP: Graphical Models and Image Processing 56 (1994).
namespace NORV::TaviOperators::Impl {

/// One bit per voxel of the 3x3x3 box, tert outermost, then sec, then prim. The bit of the centre is 0.
using Neighbourhood = uint32;

inline constexpr unsigned centreBit = 13;

/// The bit of a neighbour that is numbered without the centre, from 0 to 25.
constexpr unsigned bitOfNeighbour(unsigned neighbour) { return neighbour < centreBit ? neighbour : neighbour + 1; }

/// Exactly one neighbour.
constexpr bool isEndPoint(Neighbourhood n) { return n != 0 && (n & (n - 1)) == 0; }

/// All voxels of the box that touch one of `voxels`, and these.
constexpr Neighbourhood dilate(Neighbourhood voxels) {
  // The first voxels of rows and of slices, with those behind the box, into which its last voxels are shifted.
  constexpr Neighbourhood all = 0x7FFFFFF, column = 0x9249249, row = 0x381C0E07;
  voxels |= (voxels << 1 & ~column) | (voxels >> 1 & ~(column << 2));
  voxels |= (voxels << 3 & ~row) | (voxels >> 3 & ~(row << 6));
  return (voxels | voxels << 9 | voxels >> 9) & all;
}

/// All voxels of the box that touch a voxel of it, and that voxel itself, by its bit.
inline constexpr std::array<Neighbourhood, 27> touching = [] {
  std::array<Neighbourhood, 27> voxels{};
  for (std::size_t bit = 0; bit < voxels.size(); ++bit) {
    voxels[bit] = dilate(Neighbourhood{1} << bit);
  }
  return voxels;
}();

/// Whether the neighbours are 26-connected without the centre; no neighbour is connected, too.
constexpr bool isSimple(Neighbourhood n) {
  if (n == 0) {
    return true;
  }
  // A neighbour with a common face touches 16 others, so the flood begins at one if there is one.
  constexpr Neighbourhood faces = 1 << 4 | 1 << 10 | 1 << 12 | 1 << 14 | 1 << 16 | 1 << 22;
  const Neighbourhood starts = (n & faces) != 0 ? n & faces : n;
  Neighbourhood reached = touching[static_cast<std::size_t>(std::countr_zero(starts))] & n;
  while (reached != n) {
    const Neighbourhood next = dilate(reached) & n;
    if (next == reached) {
      return false;
    }
    reached = next;
  }
  return true;
}

/// How much deleting the centre changes the Euler number, as a sum over the octants that meet in it.
class EulerChange {
public:
  static constexpr int of(Neighbourhood n) {
    constexpr Neighbourhood slice = 511;
    const Neighbourhood first = n & slice, middle = n >> 9 & slice, last = n >> 18;
    return sum(tables.first[first] | tables.middleToFirst[middle]) +
           sum(tables.last[last] | tables.middleToLast[middle]);
  }

private:
  /// The neighbours of an octant in the order of their bits in an index, highest first.
  using Octant = std::array<uint8, 7>;

  static constexpr std::array<Octant, 4> octantsOfLast{{{23, 24, 14, 15, 20, 21, 12},
                                                        {25, 22, 16, 13, 24, 21, 15},
                                                        {17, 20, 9, 12, 18, 21, 10},
                                                        {19, 22, 18, 21, 11, 13, 10}}};
  static constexpr std::array<Octant, 4> octantsOfFirst{
      {{6, 14, 7, 15, 3, 12, 4}, {8, 7, 16, 15, 5, 4, 13}, {0, 9, 3, 12, 1, 10, 4}, {2, 1, 11, 10, 5, 4, 13}}};

  static constexpr std::array<int8, 128> changes{
      1,  -1, -1, 1, -3, -1, -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, -3, -1, 3, 1, 1, -1, 3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
      -3, 3,  -1, 1, 1,  3,  -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, 1,  3,  3, 1, 5, 3,  3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
      -7, -1, -1, 1, -3, -1, -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, -3, -1, 3, 1, 1, -1, 3, 1, -1, 1, 1, -1, 3, 1, 1, -1,
      -3, 3,  -1, 1, 1,  3,  -1, 1, -1, 1, 1, -1, 3, 1, 1, -1, 1,  3,  3, 1, 5, 3,  3, 1, -1, 1, 1, -1, 3, 1, 1, -1};

  /// The indices of four octants, a byte each, as far as the voxels of one slice decide them.
  using Indices = std::array<uint32, 512>;
  struct Tables {
    Indices first{}, middleToFirst{}, middleToLast{}, last{};
  };

  static constexpr Indices indicesOf(const std::array<Octant, 4>& octants, unsigned firstBit) {
    Indices indices{};
    for (uint32 octant = 0; octant < 4; ++octant) {
      for (uint32 place = 0; place < 7; ++place) {
        const unsigned bit = bitOfNeighbour(octants[octant][place]);
        if (bit < firstBit || bit >= firstBit + 9) {
          continue;
        }
        const uint32 flag = (uint32{64} >> place) << 8 * octant;
        for (uint32 voxels = 0; voxels < indices.size(); ++voxels) {
          indices[voxels] |= (voxels >> (bit - firstBit) & 1) != 0 ? flag : 0;
        }
      }
    }
    return indices;
  }
  static constexpr Tables makeTables() {
    return {indicesOf(octantsOfFirst, 0), indicesOf(octantsOfFirst, 9), indicesOf(octantsOfLast, 9),
            indicesOf(octantsOfLast, 18)};
  }
  static const Tables tables;

  static constexpr int sum(uint32 indices) {
    return changes[indices & 127] + changes[indices >> 8 & 127] + changes[indices >> 16 & 127] + changes[indices >> 24];
  }
};

inline constexpr EulerChange::Tables EulerChange::tables = EulerChange::makeTables();

}  // namespace NORV::TaviOperators::Impl
