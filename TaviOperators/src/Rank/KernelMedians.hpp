#pragma once

#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/Exceptions.hpp>

#include <Rank/KeyLanes.hpp>
#include <Rank/LowerMedian.hpp>
#include <Rank/VoxelBytes.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// Medians of a volume under kernels that change from voxel to voxel. Compiled once per size of the voxels: volumes are
/// seen as bytes here, and strides and offsets count bytes.
namespace NORV::TaviOperators::Impl {

/// The volume of indices, whatever its voxel type.
class IndexRows {
public:
  template <class Index>
  explicit IndexRows(const View<const Index>& view) : _view(bytesOf(view)),
                                                      _read(&read<Index>) {}

  /// Copies the indices of some voxels of a row.
  void copy(SizeType prim, SizeType count, SizeType sec, SizeType tert, uint32* indices) const {
    _read(_view.row(sec, tert) + static_cast<int64>(prim) * _view.stridePrim, _view.stridePrim, count, indices);
  }

private:
  template <class Index>
  static void read(const std::byte* from, int64 stride, SizeType count, uint32* indices) {
    if (stride == int64{sizeof(Index)}) {
      const Index* const row = reinterpret_cast<const Index*>(from);
      for (SizeType i = 0; i < count; ++i) {
        indices[i] = row[i];
      }
    } else {
      for (SizeType i = 0; i < count; ++i, from += stride) {
        indices[i] = *reinterpret_cast<const Index*>(from);
      }
    }
  }

  View<const std::byte> _view;
  void (*_read)(const std::byte*, int64, SizeType, uint32*);
};

/// A kernel, compiled for one input.
struct KernelOffsets {
  std::array<SizeType, 3> lowest{};  ///< the first place at which the kernel lies inside the volume
  std::array<SizeType, 3> places{};  ///< along how many it does; 0 if it fits nowhere
  SizeType count = 0;                ///< voxels of the kernel that are set
  std::vector<int64> offsets;        ///< theirs from the centre, in scan order; none if it fits nowhere

  bool fits() const { return places[0] > 0 && places[1] > 0 && places[2] > 0; }
  bool fitsAt(SizeType axis, SizeType place) const { return place - lowest[axis] < places[axis]; }

  template <class K, class Byte>
  KernelOffsets(const View<const K>& kernel, const View<Byte>& input) {
    const std::array<SizeType, 3> size{kernel.dimPrim, kernel.dimSec, kernel.dimTert};
    const std::array<SizeType, 3> extents{input.dimPrim, input.dimSec, input.dimTert};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      lowest[axis] = size[axis] / 2;
      places[axis] = size[axis] <= extents[axis] ? extents[axis] - size[axis] + 1 : 0;
    }
    for (SizeType tert = 0; tert < kernel.dimTert; ++tert) {
      for (SizeType sec = 0; sec < kernel.dimSec; ++sec) {
        for (SizeType prim = 0; prim < kernel.dimPrim; ++prim) {
          if (kernel.at(prim, sec, tert) != 0) {
            ++count;
            if (fits()) {
              offsets.push_back(fromCentre(0, prim) * input.stridePrim + fromCentre(1, sec) * input.strideSec +
                                fromCentre(2, tert) * input.strideTert);
            }
          }
        }
      }
    }
  }

private:
  int64 fromCentre(std::size_t axis, SizeType place) const {
    return static_cast<int64>(place) - static_cast<int64>(lowest[axis]);
  }
};

/// One run over views of the same extents. Extra memory: per number of set voxels that occurs one table of
/// `LowerMedian`, and per thread one vector of at most 64 bytes for each voxel of the largest kernel, or where that is
/// more than a mebibyte, one voxel for each.
template <class Key>
class KernelMedians {
  using Median = LowerMedian<Key>;
  static constexpr SizeType lanes = Median::lanes;
  static constexpr int64 voxelBytes = sizeof(Key);
  /// Voxels of a kernel whose neighbourhoods are gathered for a whole vector of places.
  static constexpr SizeType largestGather = 16384;

public:
  KernelMedians(const std::vector<KernelOffsets>& kernels, const KeyBits<Key>& bits, const IndexRows& indices,
                const View<const std::byte>& input, const View<std::byte>& output)
      : _kernels(kernels),
        _bits(bits),
        _indices(indices),
        _input(input),
        _output(output) {
    for (const KernelOffsets& kernel : kernels) {
      if (kernel.fits()) {
        const Median& median = _medians.try_emplace(kernel.count, kernel.count).first->second;
        _largest = std::max(_largest, kernel.count);
        _scratchSize = std::max(_scratchSize, median.scratchSize());
        _byKernel.push_back(&median);
      } else {
        _byKernel.push_back(nullptr);
      }
    }
    for (SizeType i = 0; i < std::min(_largest, largestGather); ++i) {
      _gatheredOffsets.push_back(static_cast<int64>(i * lanes) * voxelBytes);
    }
  }

  /// All indices are below the number of kernels. The run counts so many steps, whatever its slices are.
  void run(OperatorBase& self, int threads, SizeType steps) {
    self.setTotal(steps);
    PerThread<Scratch> scratches(threads, _output.dimTert, [this] { return Scratch(*this); });
    const auto slice = [&](SizeType tert) {
      Scratch& scratch = scratches.mine();
      for (SizeType sec = 0; sec < _output.dimSec; ++sec) {
        for (SizeType prim = 0; prim < _output.dimPrim; prim += lanes) {
          filterBlock(scratch, {prim, sec, tert}, std::min(lanes, _output.dimPrim - prim));
        }
      }
    };
    forEachPartOf(self, threads, _output.dimTert, steps, Steps::counted, slice, Schedule::dynamic);
  }

private:
  /// What a thread works on.
  struct Scratch {
    struct alignas(64) Line {
      std::byte bytes[64];
    };
    explicit Scratch(const KernelMedians& run)
        : wires(linesFor(run._scratchSize)),
          gathered(linesFor(std::max(std::min(run._largest, largestGather) * lanes, run._largest))),
          lastBlock(run._kernels.size()) {}
    static SizeType linesFor(SizeType keys) { return (keys + lanes - 1) / lanes * sizeof(V) / sizeof(Line) + 1; }
    using V = std::array<Key, lanes>;

    Key* wireKeys() { return reinterpret_cast<Key*>(wires.data()); }
    std::byte* gatheredBytes() { return reinterpret_cast<std::byte*>(gathered.data()); }

    std::vector<Line> wires, gathered;
    std::vector<uint64> lastBlock;  // of each kernel
    uint64 block = 0;
    alignas(64) std::array<uint32, lanes> indices{};
    alignas(64) std::array<Key, lanes> medians{};
  };

  /// Some neighbouring voxels of a row, at most as many as a vector has lanes.
  void filterBlock(Scratch& scratch, const std::array<SizeType, 3>& place, SizeType count) const {
    const auto& [prim, sec, tert] = place;
    uint32* const indices = scratch.indices.data();
    _indices.copy(prim, count, sec, tert, indices);
    uint32 differences = 0;
    for (SizeType i = 0; i < count; ++i) {
      differences |= indices[i] ^ indices[0];
    }
    if (differences == 0) {
      filterRun(scratch, indices[0], place, count, true);
      return;
    }
    // Each kernel that occurs is applied to the whole block, once, as that costs no more than one voxel.
    ++scratch.block;
    for (SizeType i = 0; i < count; ++i) {
      uint64& last = scratch.lastBlock[indices[i]];
      if (last != scratch.block) {
        last = scratch.block;
        filterRun(scratch, indices[i], place, count, false);
      }
    }
  }

  /// Writes the medians under one kernel, to all voxels of a block or to those that have its index.
  void filterRun(Scratch& scratch, uint32 index, const std::array<SizeType, 3>& place, SizeType count,
                 bool takesAll) const {
    const KernelOffsets& kernel = _kernels[index];
    const auto& [prim, sec, tert] = place;
    if (!kernel.fits() || !kernel.fitsAt(1, sec) || !kernel.fitsAt(2, tert)) {
      return;
    }
    const SizeType endOfPlaces = kernel.lowest[0] + kernel.places[0];
    const SizeType begin = std::max(prim, kernel.lowest[0]), end = std::min(prim + count, endOfPlaces);
    if (begin >= end) {
      return;
    }
    // Where the row ends, the vector begins earlier instead of reaching past it.
    const bool isWhole = _input.stridePrim == voxelBytes && kernel.places[0] >= lanes;
    const SizeType first = isWhole ? std::min(begin, endOfPlaces - lanes) : begin;
    const std::byte* const centre = _input.row(sec, tert) + static_cast<int64>(first) * _input.stridePrim;
    std::byte* const row = _output.row(sec, tert);
    if (isWhole && takesAll && end - begin == lanes && _output.stridePrim == voxelBytes) {
      (*_byKernel[index])(centre, kernel.offsets.data(), _bits, scratch.wireKeys(),
                          row + static_cast<int64>(begin) * voxelBytes);
      return;
    }
    const auto medians = reinterpret_cast<std::byte*>(scratch.medians.data());
    if (isWhole) {
      (*_byKernel[index])(centre, kernel.offsets.data(), _bits, scratch.wireKeys(), medians);
    } else if (kernel.count <= largestGather) {
      gather(kernel, centre, end - begin, scratch.gatheredBytes());
      (*_byKernel[index])(scratch.gatheredBytes(), _gatheredOffsets.data(), _bits, scratch.wireKeys(), medians);
    } else {
      selectEach(scratch, kernel, centre, end - begin, takesAll ? nullptr : &scratch.indices[begin - prim], index);
    }
    for (SizeType i = begin; i < end; ++i) {
      if (takesAll || scratch.indices[i - prim] == index) {
        std::memcpy(row + static_cast<int64>(i) * _output.stridePrim, &scratch.medians[i - first], sizeof(Key));
      }
    }
  }

  /// Copies the neighbourhoods of up to a vector of places, as the places of a dense row.
  void gather(const KernelOffsets& kernel, const std::byte* centre, SizeType places, std::byte* gathered) const {
    for (const int64 offset : kernel.offsets) {
      const std::byte* from = centre + offset;
      for (SizeType i = 0; i < places; ++i, from += _input.stridePrim) {
        std::memcpy(gathered + static_cast<int64>(i) * voxelBytes, from, sizeof(Key));
      }
      gathered += static_cast<int64>(lanes) * voxelBytes;
    }
  }

  /// Place by place, for kernels of which no vector of neighbourhoods is gathered.
  void selectEach(Scratch& scratch, const KernelOffsets& kernel, const std::byte* centre, SizeType places,
                  const uint32* indices, uint32 index) const {
    Key* const keys = reinterpret_cast<Key*>(scratch.gatheredBytes());
    for (SizeType i = 0; i < places; ++i, centre += _input.stridePrim) {
      if (indices != nullptr && indices[i] != index) {
        continue;
      }
      std::transform(kernel.offsets.begin(), kernel.offsets.end(), keys,
                     [&](int64 offset) { return _bits(readBits<Key>(centre + offset)); });
      Key* const median = keys + lowerMedianOf(kernel.count);
      std::nth_element(keys, median, keys + kernel.count);
      scratch.medians[i] = _bits(*median);
    }
  }

  const std::vector<KernelOffsets>& _kernels;
  const KeyBits<Key> _bits;
  const IndexRows _indices;
  const View<const std::byte> _input;
  const View<std::byte> _output;
  std::map<SizeType, Median> _medians;  // by the number of voxels
  std::vector<const Median*> _byKernel;
  SizeType _largest = 0, _scratchSize = 0;
  std::vector<int64> _gatheredOffsets;
};

}  // namespace NORV::TaviOperators::Impl
