#pragma once

#include <Impl/Neighbours.hpp>
#include <Impl/View.hpp>
#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

/// Rows of a distance transform. All updates are minima, so the order of steps along, across and between rows is free:
/// a row is given its distances along itself at once, and then takes what its neighbour rows hold plus one step.
namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// Rows are measured in chunks of so many voxels.
inline constexpr SizeType distanceChunk = 64;

/// The sources in the rows of a view, whatever the type of its voxels.
class RowSources {
public:
  /// Sources are the voxels equal to `value`, which must stay, or with `inverted` all others.
  template <class T>
  RowSources(const T& value, bool inverted, const View<const T>& view)
      : _mark(&markEqual<T>),
        _value(&value),
        _inversion(inverted ? 255 : 0),
        _data(reinterpret_cast<const std::byte*>(view.data)),
        _count(view.dimPrim),
        _stride(view.stridePrim),
        _bytesPerRow(view.strideSec * int64{sizeof(T)}),
        _bytesPerSlice(view.strideTert * int64{sizeof(T)}),
        _bytesPerVoxel(view.stridePrim * int64{sizeof(T)}) {}

  void beginRow(SizeType sec, SizeType tert) {
    _row = _data + static_cast<int64>(sec) * _bytesPerRow + static_cast<int64>(tert) * _bytesPerSlice;
    _next = 0;
  }
  SizeType count() const { return _count; }

  /// Marks the chunk of the row that begins at `first`: 0 for a source, 255 for another voxel or one past the end.
  /// Returns whether there is a source.
  bool mark(SizeType first, uint8* marks) const {
    const SizeType count = std::min(distanceChunk, _count - first);
    const bool any =
        _mark(_row + static_cast<int64>(first) * _bytesPerVoxel, _stride, count, _value, _inversion, marks);
    std::fill(marks + count, marks + distanceChunk, uint8{255});
    return any;
  }

  /// The first source from the chunk at `from` on, or the length of the row. To be asked with rising `from`.
  SizeType next(SizeType from) {
    if (_next >= from) {
      return _next;
    }
    alignas(64) std::array<uint8, distanceChunk> marks;
    for (SizeType first = from; first < _count; first += distanceChunk) {
      if (mark(first, marks.data())) {
        const auto* source = static_cast<const uint8*>(std::memchr(marks.data(), 0, marks.size()));
        return _next = first + static_cast<SizeType>(source - marks.data());
      }
    }
    return _next = _count;
  }

private:
  using Mark = bool (*)(const void* from, int64 stride, SizeType count, const void* wanted, uint8 inversion,
                        uint8* marks);

  template <class T>
  static bool markEqual(const void* from, int64 stride, SizeType count, const void* wanted, uint8 inversion,
                        uint8* marks) {
    const T* voxels = static_cast<const T*>(from);
    const T value = *static_cast<const T*>(wanted);
    uint8 all = 255;
    if (stride == 1 && count == distanceChunk) {
      for (SizeType i = 0; i < distanceChunk; ++i) {
        marks[i] = static_cast<uint8>((voxels[i] == value ? 0 : 255) ^ inversion);
      }
      for (SizeType i = 0; i < distanceChunk; ++i) {
        all &= marks[i];
      }
      return all == 0;
    }
    for (SizeType i = 0; i < count; ++i, voxels += stride) {
      marks[i] = static_cast<uint8>((*voxels == value ? 0 : 255) ^ inversion);
      all &= marks[i];
    }
    return all == 0;
  }

  Mark _mark;
  const void* _value;
  uint8 _inversion;
  const std::byte* _data;
  SizeType _count;
  int64 _stride, _bytesPerRow, _bytesPerSlice, _bytesPerVoxel;
  const std::byte* _row = nullptr;
  SizeType _next = 0;  // what `next` last found
};

/// By value: a minimum by reference keeps compilers from turning a loop into vector code.
template <class T>
T smaller(T a, T b) {
  return b < a ? b : a;
}

/// `value + steps`, at most the largest value of the type.
template <class T>
T plusSteps(T value, T steps) {
  return static_cast<T>(smaller(value, static_cast<T>(std::numeric_limits<T>::max() - steps)) + steps);
}

/// The distances of the voxels of a chunk to the nearest source in it, from their marks. If there is none, they stay
/// 255.
class ChunkDistances {
public:
  ChunkDistances() { _padded.fill(255); }
  uint8* marks() { return _padded.data() + margin; }

  /// Minima over 1, 2, 4 ... voxels to either side reach all distances of the chunk.
  const uint8* measure() {
    step<1>();
    step<2>();
    step<4>();
    step<8>();
    step<16>();
    step<32>();
    return marks();
  }

private:
  static constexpr SizeType margin = 64;

  template <uint8 width>
  void step() {
    uint8* const marks = this->marks();
    alignas(64) std::array<uint8, distanceChunk> nearer;
    for (SizeType i = 0; i < distanceChunk; ++i) {
      nearer[i] = smaller(marks[i], plusSteps(smaller(marks[i - width], marks[i + width]), width));
    }
    std::memcpy(marks, nearer.data(), nearer.size());
  }

  alignas(64) std::array<uint8, margin + distanceChunk + margin> _padded;
};

template <class T>
inline constexpr auto ramp = [] {
  std::array<T, distanceChunk> steps{};
  for (SizeType i = 0; i < distanceChunk; ++i) {
    steps[i] = static_cast<T>(i);
  }
  return steps;
}();

/// A count of steps from `base`, as far as the type holds it.
template <class T>
T stepsFrom(T base, SizeType steps) {
  const auto room = static_cast<SizeType>(static_cast<int64>(std::numeric_limits<T>::max()) - static_cast<int64>(base));
  return static_cast<T>(static_cast<int64>(base) + static_cast<int64>(std::min(steps, room)));
}

/// Writes the distances along a row: `base` at a source, one more with each step from it, `ceiling` at most.
template <class T>
class AlongRow {
public:
  AlongRow(T base, T ceiling) : _base(base), _ceiling(ceiling) {}

  void write(RowSources& sources, T* row, int64 stride) {
    const SizeType length = sources.count();
    SizeType passed = none;  // the last source before the chunk
    for (SizeType first = 0; first < length; first += distanceChunk) {
      passed = measure(sources, first, passed);
      const SizeType count = std::min(distanceChunk, length - first);
      if (stride == 1) {
        std::copy_n(_steps.data(), count, row + first);
      } else {
        for (SizeType i = 0; i < count; ++i) {
          row[static_cast<int64>(first + i) * stride] = _steps[i];
        }
      }
    }
  }

private:
  static constexpr SizeType none = std::numeric_limits<SizeType>::max();

  /// The chunk that begins at `first`; returns the last source up to its end.
  SizeType measure(RowSources& sources, SizeType first, SizeType passed) {
    ChunkDistances chunk;
    const bool any = sources.mark(first, chunk.marks());
    const SizeType behind = sources.next(first + distanceChunk);
    const bool hasBehind = behind != sources.count();
    if (!any && passed == none && !hasBehind) {
      _steps.fill(_ceiling);
      return none;
    }
    const T left = passed == none ? _ceiling : stepsFrom(_base, first - passed);
    const T right = hasBehind ? stepsFrom(_base, behind - first - (distanceChunk - 1)) : _ceiling;
    for (SizeType i = 0; i < distanceChunk; ++i) {
      const T around = smaller(plusSteps(left, ramp<T>[i]), plusSteps(right, ramp<T>[distanceChunk - 1 - i]));
      _steps[i] = smaller(around, _ceiling);
    }
    if (!any) {
      return passed;
    }
    const uint8* const within = chunk.measure();
    for (SizeType i = 0; i < distanceChunk; ++i) {
      _steps[i] = smaller(_steps[i], static_cast<T>(_base + static_cast<T>(within[i])));
    }
    return first + distanceChunk - 1 - within[distanceChunk - 1];
  }

  const T _base, _ceiling;
  alignas(64) std::array<T, distanceChunk> _steps;
};

/// The rows before or behind a row in the order of a pass, of one view: the next one of its slice, then those of the
/// next slice. One that lies outside the view is stood for by another, which changes no minimum.
template <class T>
using NeighbourRows = std::array<const T*, 4>;

/// The smaller of each voxel of `row` and one step from the smallest voxel of its neighbour rows, where `set` allows.
/// Within a row only the neighbours straight or diagonally across count: steps along it are taken before.
template <Neighbours set, class T, class Stride>
void takeSteps(T* __restrict row, const NeighbourRows<T>& rows, Stride stride, SizeType count) {
  const auto at = [stride](SizeType x) { return static_cast<int64>(x) * stride; };
  const T *a = rows[0], *b = rows[1];
  const auto lower = [&](SizeType x, T near) { row[at(x)] = smaller(row[at(x)], plusSteps(near, T(1))); };
  if constexpr (set == Neighbours::faces) {
    for (SizeType x = 0; x < count; ++x) {
      lower(x, smaller(a[at(x)], b[at(x)]));
    }
  } else {
    const T *c = rows[2], *d = rows[3];
    const auto across = [&](SizeType x) { return smaller(smaller(a[at(x)], b[at(x)]), smaller(c[at(x)], d[at(x)])); };
    if (count == 1) {
      lower(0, across(0));
      return;
    }
    lower(0, smaller(across(0), across(1)));
    for (SizeType x = 1; x + 1 < count; ++x) {
      lower(x, smaller(smaller(across(x - 1), across(x)), across(x + 1)));
    }
    lower(count - 1, smaller(across(count - 2), across(count - 1)));
  }
}

}  // namespace NORV::TaviOperators::Impl
