#pragma once

#include <Impl/Loops/View.hpp>

#include <algorithm>
#include <cstddef>
#include <cstring>

/// Rows of views that are not dense, gathered in tiles: whole cache lines are read, transposed and kept in a buffer
/// that stays in the second cache level.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// A voxel of a given size that is only moved, so that what copies is compiled once for each size.
template <std::size_t bytes>
struct OpaqueVoxel {
  std::byte value[bytes];
};

/// The same voxels, only to be moved.
template <class Voxel, class T>
View<Voxel> opaqueView(const View<T>& view) {
  static_assert(sizeof(Voxel) == sizeof(T));
  return {reinterpret_cast<Voxel*>(view.data),
          view.dimPrim,
          view.dimSec,
          view.dimTert,
          view.stridePrim,
          view.strideSec,
          view.strideTert};
}

namespace Tiles {

/// As measured on volumes beyond the cache: shorter pieces of lines cost up to twice the time per voxel, as do longer
/// or wider tiles. Rows of a tile are padded, or powers of two would keep them in a few sets of the cache.
inline constexpr SizeType lineBytes = 256;
inline constexpr SizeType columns = 256;
inline constexpr SizeType padBytes = 64;

/// Writes `to[row * toStride + column] = from[column * fromStride + row]`, strides in voxels. `to` has room for rows
/// and columns in multiples of 16; a row of `from` is at most `lineBytes` long.
using Transpose = void (*)(const std::byte* from, int64 fromStride, std::byte* to, int64 toStride, SizeType rows,
                           SizeType columns);

/// Writes `to[i] = last[-i]`.
using Reverse = void (*)(const std::byte* last, std::byte* to, SizeType count);

/// For voxels of 1, 2, 4 and 8 bytes.
struct Kernels {
  Transpose transpose[4];
  Reverse reverse[4];
};

template <class Voxel>
void transposePlainly(const std::byte* from, int64 fromStride, std::byte* to, int64 toStride, SizeType rows,
                      SizeType columnCount) {
  const auto* const source = reinterpret_cast<const Voxel*>(from);
  auto* const target = reinterpret_cast<Voxel*>(to);
  for (SizeType column = 0; column < columnCount; ++column) {
    const Voxel* const line = source + static_cast<int64>(column) * fromStride;
    for (SizeType row = 0; row < rows; ++row) {
      target[static_cast<int64>(row) * toStride + static_cast<int64>(column)] = line[row];
    }
  }
}

template <class Voxel>
void reversePlainly(const std::byte* last, std::byte* to, SizeType count) {
  const auto* const source = reinterpret_cast<const Voxel*>(last);
  auto* const target = reinterpret_cast<Voxel*>(to);
  for (SizeType i = 0; i < count; ++i) {
    target[i] = *(source - i);
  }
}

/// Set to vector code while a binary loads, if at all: plain loops give the same voxels, only slower.
inline constinit Kernels kernels{{&transposePlainly<OpaqueVoxel<1>>, &transposePlainly<OpaqueVoxel<2>>,
                                  &transposePlainly<OpaqueVoxel<4>>, &transposePlainly<OpaqueVoxel<8>>},
                                 {&reversePlainly<OpaqueVoxel<1>>, &reversePlainly<OpaqueVoxel<2>>,
                                  &reversePlainly<OpaqueVoxel<4>>, &reversePlainly<OpaqueVoxel<8>>}};

/// Which kernel moves voxels of a type.
template <class Voxel>
constexpr std::size_t kernelOf = sizeof(Voxel) == 1   ? 0
                                 : sizeof(Voxel) == 2 ? 1
                                 : sizeof(Voxel) == 4 ? 2
                                                      : 3;

template <class Voxel>
void transpose(const Voxel* from, int64 fromStride, Voxel* to, int64 toStride, SizeType rows, SizeType columnCount) {
  static_assert(sizeof(Voxel) == std::size_t{1} << kernelOf<Voxel>);
  kernels.transpose[kernelOf<Voxel>](reinterpret_cast<const std::byte*>(from), fromStride,
                                     reinterpret_cast<std::byte*>(to), toStride, rows, columnCount);
}

/// How the rows of a view lie in memory.
enum class Access { direct, reversed, transposed, strided };

template <class T>
Access accessOf(const View<T>& view) {
  if (view.dimPrim == 1 || view.stridePrim == 1) {
    return Access::direct;
  }
  if (view.stridePrim == -1) {
    return Access::reversed;
  }
  const bool isAcross = view.dimSec > 1 && (view.strideSec == 1 || view.strideSec == -1);
  return isAcross ? Access::transposed : Access::strided;
}

/// A box of voxels of one slice.
struct Place {
  SizeType prim, sec, tert;
  SizeType columns, rows;
};

/// How a slice is cut: tiles where a view has to be transposed, else pieces of rows.
struct Shape {
  SizeType columns, rows;

  static Shape of(bool isTransposed, SizeType voxelBytes) {
    return isTransposed ? Shape{Tiles::columns, lineBytes / voxelBytes} : Shape{4 * Tiles::columns, 1};
  }
  /// The distance of the rows of a buffer.
  SizeType stride(SizeType voxelBytes) const { return columns + padBytes / voxelBytes; }
  SizeType bytes(SizeType voxelBytes) const { return stride(voxelBytes) * rows * voxelBytes; }
};

/// Copies a box into a buffer; rows of a transposed view whose rows are reversed come last first.
template <class Voxel>
[[gnu::noinline]] void gather(const View<const Voxel>& view, Access access, const Place& place, Voxel* to,
                              int64 toStride) {
  const Voxel* from = &view.at(place.prim, place.sec, place.tert);
  if (access == Access::transposed) {
    const bool isReversed = view.strideSec < 0;
    const Voxel* const first = isReversed ? from - (static_cast<int64>(place.rows) - 1) : from;
    transpose(first, view.stridePrim, to, toStride, place.rows, place.columns);
    return;
  }
  const auto count = static_cast<int64>(place.columns);
  for (SizeType row = 0; row < place.rows; ++row, from += view.strideSec, to += toStride) {
    if (access == Access::reversed) {
      kernels.reverse[kernelOf<Voxel>](reinterpret_cast<const std::byte*>(from), reinterpret_cast<std::byte*>(to),
                                       place.columns);
    } else {
      for (int64 i = 0; i < count; ++i) {
        to[i] = from[i * view.stridePrim];
      }
    }
  }
}

/// One input of a loop over tiles: its rows as they lie, or gathered into a buffer.
template <class T>
class Input {
  using Voxel = OpaqueVoxel<sizeof(T)>;

public:
  explicit Input(const View<const T>& view) : _view(view), _access(accessOf(view)) {}

  bool isTransposed() const { return _access == Access::transposed; }
  /// Bytes of the buffer.
  SizeType bytes(const Shape& shape) const { return _access == Access::direct ? 0 : shape.bytes(sizeof(T)); }

  void setBuffer(std::byte* buffer, const Shape& shape) {
    _buffer = buffer;
    _bufferStride = static_cast<int64>(shape.stride(sizeof(T)));
  }
  void load(const Place& place) {
    if (_access == Access::direct) {
      _first = &_view.at(place.prim, place.sec, place.tert);
      _stride = _view.strideSec;
      return;
    }
    gather(opaqueView<const Voxel>(_view), _access, place, reinterpret_cast<Voxel*>(_buffer), _bufferStride);
    const bool isReversed = isTransposed() && _view.strideSec < 0;
    _first =
        reinterpret_cast<const T*>(_buffer) + (isReversed ? static_cast<int64>(place.rows - 1) * _bufferStride : 0);
    _stride = isReversed ? -_bufferStride : _bufferStride;
  }
  const T* row(SizeType row) const { return _first + static_cast<int64>(row) * _stride; }

private:
  View<const T> _view;
  Access _access;
  std::byte* _buffer = nullptr;
  int64 _bufferStride = 0;
  const T* _first = nullptr;
  int64 _stride = 0;
};

}  // namespace Tiles
}  // namespace NORV::TaviOperators::Impl
