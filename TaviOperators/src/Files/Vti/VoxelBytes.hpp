#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// The voxels of a view as bytes, in the order of files: prim fastest. `Byte` is char or const char.
template <class Byte>
class VoxelBytes {
public:
  template <class T>
  explicit VoxelBytes(const View<T>& view)
      : _view{reinterpret_cast<Byte*>(view.data),
              view.dimPrim,
              view.dimSec,
              view.dimTert,
              view.stridePrim * static_cast<int64>(sizeof(T)),
              view.strideSec * static_cast<int64>(sizeof(T)),
              view.strideTert * static_cast<int64>(sizeof(T))},
        _voxelBytes(sizeof(T)),
        _sliceVoxels(view.dimPrim * view.dimSec),
        _slices(view.dimTert) {
    // Rows and slices without gaps are one long row.
    if (_view.strideSec == static_cast<int64>(_view.dimPrim) * _view.stridePrim) {
      _view.dimPrim = _sliceVoxels;
      _view.dimSec = 1;
      if (_view.strideTert == static_cast<int64>(_view.dimPrim) * _view.stridePrim) {
        _view.dimPrim *= _view.dimTert;
        _view.dimTert = 1;
      }
    }
  }

  SizeType voxelBytes() const { return _voxelBytes; }
  SizeType sliceVoxels() const { return _sliceVoxels; }
  SizeType slices() const { return _slices; }
  SizeType voxels() const { return _sliceVoxels * _slices; }

  /// The bytes of voxels in the order of the file where they lie so in memory, otherwise null.
  Byte* contiguous(SizeType first, SizeType count) const {
    const bool isOneRow = isDense() && count > 0 && first % _view.dimPrim + count <= _view.dimPrim;
    return isOneRow ? at(first) : nullptr;
  }

  /// Fills voxels from `first` on: `fill(offset, count, target)` writes so many bytes, from that offset behind the
  /// first voxel on.
  template <class Fill>
  void write(SizeType first, SizeType count, const Fill& fill) const {
    forEachRun(first, count, [&](Byte* target, SizeType offset, SizeType voxels) {
      if (isDense()) {
        fill(offset, voxels * _voxelBytes, target);
        return;
      }
      forEachPart(target, offset, voxels, [&](char* part, Byte* begin, SizeType at, SizeType some) {
        fill(at, some * _voxelBytes, part);
        forEachVoxel(part, begin, some,
                     [](char* packed, Byte* voxel, auto bytes) { std::memcpy(voxel, packed, bytes); });
      });
    });
  }

  /// Calls `take(bytes, count)` with the bytes of voxels from `first` on, in one or more calls.
  template <class Take>
  void read(SizeType first, SizeType count, const Take& take) const {
    forEachRun(first, count, [&](Byte* source, SizeType offset, SizeType voxels) {
      if (isDense()) {
        take(source, voxels * _voxelBytes);
        return;
      }
      forEachPart(source, offset, voxels, [&](char* part, Byte* begin, SizeType, SizeType some) {
        forEachVoxel(part, begin, some,
                     [](char* packed, Byte* voxel, auto bytes) { std::memcpy(packed, voxel, bytes); });
        take(part, some * _voxelBytes);
      });
    });
  }

private:
  bool isDense() const { return _view.stridePrim == static_cast<int64>(_voxelBytes); }

  Byte* at(SizeType index) const {
    const SizeType row = index / _view.dimPrim;
    return &_view.at(index % _view.dimPrim, row % _view.dimSec, row / _view.dimSec);
  }

  /// Cuts a range of voxels into parts of rows.
  template <class Run>
  void forEachRun(SizeType first, SizeType count, const Run& run) const {
    for (SizeType done = 0; done < count;) {
      const SizeType some = std::min(count - done, _view.dimPrim - (first + done) % _view.dimPrim);
      run(at(first + done), done * _voxelBytes, some);
      done += some;
    }
  }

  /// Cuts a row whose voxels do not touch each other into parts that fit a small buffer.
  template <class Part>
  void forEachPart(Byte* begin, SizeType offset, SizeType voxels, const Part& part) const {
    std::array<char, 6144> buffer;  // whole quanta of base64 for each size of voxels
    const SizeType most = buffer.size() / _voxelBytes;
    for (SizeType done = 0; done < voxels; done += most) {
      part(buffer.data(), begin + static_cast<int64>(done) * _view.stridePrim, offset + done * _voxelBytes,
           std::min(most, voxels - done));
    }
  }

  template <class Copy>
  void forEachVoxel(char* packed, Byte* voxel, SizeType count, const Copy& copy) const {
    const auto loop = [&](auto bytes) {
      for (SizeType i = 0; i < count; ++i) {
        copy(packed + i * bytes, voxel + static_cast<int64>(i) * _view.stridePrim, bytes);
      }
    };
    switch (_voxelBytes) {
      case 1:
        return loop(std::integral_constant<std::size_t, 1>());
      case 2:
        return loop(std::integral_constant<std::size_t, 2>());
      case 4:
        return loop(std::integral_constant<std::size_t, 4>());
      default:
        return loop(std::integral_constant<std::size_t, 8>());
    }
  }

  View<Byte> _view;
  SizeType _voxelBytes;
  SizeType _sliceVoxels;
  SizeType _slices;
};

}  // namespace NORV::TaviOperators::Impl
