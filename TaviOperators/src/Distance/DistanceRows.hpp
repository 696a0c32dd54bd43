#pragma once

#include <Impl/Loops/Neighbours.hpp>
#include <Tavi/Types.hpp>

#include <Distance/DistanceChunks.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

/// Rows of a distance transform. All updates are minima, so the order of steps along, across and between rows is free:
/// a row is given its distances along itself at once, and then takes what its neighbour rows hold plus one step.
namespace NORV::TaviOperators::Impl {

template <class T>
inline constexpr auto ramp = [] {
  std::array<T, distanceChunk> steps{};
  for (SizeType i = 0; i < distanceChunk; ++i) {
    steps[i] = static_cast<T>(i);
  }
  return steps;
}();

/// The same from the end.
template <class T>
inline constexpr auto fall = [] {
  std::array<T, distanceChunk> steps{};
  for (SizeType i = 0; i < distanceChunk; ++i) {
    steps[i] = static_cast<T>(distanceChunk - 1 - i);
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

  void write(const RowSources& sources, T* row, int64 stride) const {
    const SizeType length = sources.count();
    ChunkDistances chunks[2];
    ChunkDistances *chunk = &chunks[0], *nextChunk = &chunks[1];
    ChunkKind kind = sources.mark(0, chunk->marks());
    SizeType passed = none, ahead = 0;  // the last source before the chunk, and the first behind it
    for (SizeType first = 0; first < length; first += distanceChunk) {
      const SizeType next = first + distanceChunk;
      const ChunkKind nextKind = next < length ? sources.mark(next, nextChunk->marks()) : ChunkKind::others;
      if (nextKind != ChunkKind::others) {
        ahead = next + nextChunk->firstSource();
      } else if (ahead < next) {
        ahead = find(sources, next + distanceChunk);
      }
      const SizeType count = std::min(distanceChunk, length - first);
      if (stride == 1 && count == distanceChunk) {
        passed = measure(kind, *chunk, first, passed, ahead, row + first);
      } else {
        alignas(64) std::array<T, distanceChunk> steps;
        passed = measure(kind, *chunk, first, passed, ahead, steps.data());
        for (SizeType i = 0; i < count; ++i) {
          row[static_cast<int64>(first + i) * stride] = steps[i];
        }
      }
      std::swap(chunk, nextChunk);
      kind = nextKind;
    }
  }

private:
  static constexpr SizeType none = std::numeric_limits<SizeType>::max();

  /// The first source from a chunk on.
  static SizeType find(const RowSources& sources, SizeType first) {
    ChunkDistances chunk;
    for (; first < sources.count(); first += distanceChunk) {
      if (sources.mark(first, chunk.marks()) != ChunkKind::others) {
        return first + chunk.firstSource();
      }
    }
    return none;
  }

  /// A whole chunk; returns the last source up to its end.
  SizeType measure(ChunkKind kind, ChunkDistances& chunk, SizeType first, SizeType passed, SizeType ahead,
                   T* steps) const {
    if (kind == ChunkKind::sources) {
      std::fill_n(steps, distanceChunk, _base);
      return first + distanceChunk - 1;
    }
    const T left = passed == none ? _ceiling : stepsFrom(_base, first - passed);
    const T right = ahead == none ? _ceiling : stepsFrom(_base, ahead - first - (distanceChunk - 1));
    const T base = _base, ceiling = _ceiling;
    const auto around = [=](SizeType i) {
      return smaller(smaller(plusSteps(left, ramp<T>[i]), plusSteps(right, fall<T>[i])), ceiling);
    };
    if (kind == ChunkKind::others) {
      for (SizeType i = 0; i < distanceChunk; ++i) {
        steps[i] = around(i);
      }
      return passed;
    }
    const uint8* const within = chunk.measure();
    for (SizeType i = 0; i < distanceChunk; ++i) {
      steps[i] = smaller(around(i), static_cast<T>(base + static_cast<T>(within[i])));
    }
    return first + distanceChunk - 1 - within[distanceChunk - 1];
  }

  const T _base, _ceiling;
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
    constexpr SizeType piece = 256;
    std::array<T, piece + 2> straight;  // the smallest of the neighbours at a place, from the place before the piece on
    for (SizeType first = 0; first < count; first += piece) {
      const SizeType length = std::min(piece, count - first);
      const SizeType from = first == 0 ? 1 : 0, to = first + length == count ? length + 1 : length + 2;
      for (SizeType i = from; i < to; ++i) {
        const int64 place = at(first + i - 1);
        straight[i] = smaller(smaller(a[place], b[place]), smaller(c[place], d[place]));
      }
      if (from == 1) {
        straight[0] = straight[1];
      }
      if (to == length + 1) {
        straight[to] = straight[length];
      }
      for (SizeType i = 0; i < length; ++i) {
        lower(first + i, smaller(smaller(straight[i], straight[i + 1]), straight[i + 2]));
      }
    }
  }
}

}  // namespace NORV::TaviOperators::Impl
