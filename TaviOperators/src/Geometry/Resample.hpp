#pragma once

#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/Types.hpp>

#include <Geometry/AffineMap.hpp>
#include <Geometry/Sampler.hpp>
#include <Geometry/VectorSampler.hpp>
#include <Geometry/WholeSteps.hpp>
#include <Vectors/PlainConversion.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>

/// Resampling of a view through a matrix.
namespace NORV::TaviOperators::Geometry {

enum class Interpolation { nearest, linear };

/// The order in which the voxels of an output are visited, in tiles that keep their part of the source in the cache.
struct Tiles {
  static constexpr SizeType mostColumns = 512;

  SizeType columns, rows, slices;
  bool isInnermostTert;  // the slices of a tile are visited for each row, else the rows for each slice

  /// As measured: while the rows of an output stay in a slice of the source, whole rows are best where they stay in a
  /// few rows of it, narrow columns elsewhere. Rows that cross slices need tiles of all three axes; those that step
  /// from slice to slice meet the same few sets of the cache, so that their tiles are small.
  static Tiles choose(const AffineMap& map, bool hasWholeSteps, const SizeType columns) {
    const TransformMatrix& m = map.matrix();
    const auto length = static_cast<float64>(columns);
    const bool crossesSlices = !(map.isAffine() && std::abs(m[2][0]) * length < 4);
    const bool crossesRows = !(std::abs(m[1][0]) * length < 16);
    const bool isInnermostTert = std::abs(m[0][2]) > std::abs(m[0][1]);
    if (crossesSlices) {
      return hasWholeSteps ? Tiles{16, 16, 16, isInnermostTert} : Tiles{128, 16, 16, false};
    }
    return crossesRows ? Tiles{64, mostColumns, 1, false} : Tiles{mostColumns, mostColumns, 1, false};
  }
};

/// The voxels of an output, piece by piece. It only reads, so all threads share one.
template <class T>
class Resampling {
public:
  Resampling(const AffineMap& map, Interpolation interpolation, T outer, const View<const T>& source,
             const View<T>& output)
      : _map(map),
        _interpolation(interpolation),
        _sampler(source, outer),
#ifdef TAVI_WIDE_VECTORS
        _vectors(_sampler),
#endif
        _whole(map, source, output),
        _tiles(Tiles::choose(map, hasWholeSteps(), output.dimPrim)),
        _output(output) {
  }

  /// How many slices are best written together.
  SizeType slicesPerTile() const { return _tiles.slices; }

  /// The slices [begin, end) of the output.
  void run(SizeType begin, SizeType end) const {
    for (SizeType y = 0; y < _output.dimSec; y += _tiles.rows) {
      for (SizeType x = 0; x < _output.dimPrim; x += _tiles.columns) {
        tile(x, y, begin, end);
      }
    }
  }

private:
  /// Interpolation between whole positions changes nothing, but for voxels that are infinite, NaN or have fractions.
  bool hasWholeSteps() const {
    return _whole.isUsable() && (_interpolation == Interpolation::nearest || std::is_integral_v<T>);
  }

  void tile(SizeType x, SizeType firstRow, SizeType begin, SizeType end) const {
    const SizeType columns = std::min(_tiles.columns, _output.dimPrim - x);
    const SizeType endRow = std::min(firstRow + _tiles.rows, _output.dimSec);
    if (_tiles.isInnermostTert) {
      for (SizeType y = firstRow; y < endRow; ++y) {
        for (SizeType z = begin; z < end; ++z) {
          piece(x, columns, y, z);
        }
      }
      return;
    }
    for (SizeType z = begin; z < end; ++z) {
      for (SizeType y = firstRow; y < endRow; ++y) {
        piece(x, columns, y, z);
      }
    }
  }

  void piece(SizeType x, SizeType count, SizeType y, SizeType z) const {
    T* const row = _output.row(y, z) + static_cast<int64>(x) * _output.stridePrim;
    if (_output.hasDenseRows()) {
      return compute(x, count, y, z, row);
    }
    std::array<T, Tiles::mostColumns> buffer;
    compute(x, count, y, z, buffer.data());
    for (SizeType i = 0; i < count; ++i) {
      row[static_cast<int64>(i) * _output.stridePrim] = buffer[i];
    }
  }

  void compute(SizeType x, SizeType count, SizeType y, SizeType z, T* to) const {
    if (hasWholeSteps()) {
      return _whole.row(x, count, y, z, _sampler.outer(), to);
    }
    const AffineMap::Sums start = _map.rowStart(y, z);
#ifdef TAVI_WIDE_VECTORS
    if (_vectors.isUsable() && x + count <= AffineMap::exactColumns) {
      if (_interpolation == Interpolation::nearest) {
        return vectors(x, count, start, to, [](const auto& sampler, auto... at) { sampler.nearest(at...); });
      }
      if (_vectors.isPaired()) {
        return vectors(x, count, start, to,
                       [](const auto& sampler, auto... at) { sampler.template linear<true>(at...); });
      }
      return vectors(x, count, start, to,
                     [](const auto& sampler, auto... at) { sampler.template linear<false>(at...); });
    }
#endif
    for (SizeType i = 0; i < count; ++i) {
      to[i] = voxel(start, x + i);
    }
  }

  T voxel(const AffineMap::Sums& start, SizeType x) const {
    const float64 column = AffineMap::column(x);
    const AffineMap::Sums change = _map.perColumn();
    AffineMap::Sums sums{};
    for (std::size_t row = 0; row < sums.size(); ++row) {
      sums[row] = start[row] + change[row] * column;
    }
    const float64 px = sums[0] / sums[3], py = sums[1] / sums[3], pz = sums[2] / sums[3];
    return _interpolation == Interpolation::nearest ? _sampler.nearest(px, py, pz)
                                                    : Impl::convertPlainly<T>(_sampler.linear(px, py, pz, HalfUp()));
  }

#ifdef TAVI_WIDE_VECTORS
  /// `sample(sampler, px, py, pz, to)` writes a vector of voxels.
  template <class Sample>
  void vectors(SizeType x, SizeType count, const AffineMap::Sums& start, T* to, const Sample& sample) const {
    using Lanes = Impl::VectorLanes<float64>;
    const AffineMap::Sums change = _map.perColumn();
    const bool isAffine = _map.isAffine();
    const VectorSampler<T> sampler = _vectors;  // a copy, which no store into the row can change
    const SizeType step = Lanes::count();
    for (SizeType done = 0; done < count; done += step) {
      const auto columns = hn::Iota(Lanes::Tag(), static_cast<float64>(x + done));
      const auto sum = [&](std::size_t row) {
        return hn::Add(Lanes::set(start[row]), hn::Mul(Lanes::set(change[row]), columns));
      };
      auto px = sum(0), py = sum(1), pz = sum(2);
      if (!isAffine) {
        const auto w = sum(3);
        px = hn::Div(px, w);
        py = hn::Div(py, w);
        pz = hn::Div(pz, w);
      }
      if (count - done >= step) {
        sample(sampler, px, py, pz, to + done);
      } else {
        std::array<T, hn::MaxLanes(Lanes::Tag())> last;
        sample(sampler, px, py, pz, last.data());
        std::copy_n(last.data(), count - done, to + done);
      }
    }
  }
#endif

  AffineMap _map;
  Interpolation _interpolation;
  Sampler<T, float64> _sampler;
#ifdef TAVI_WIDE_VECTORS
  VectorSampler<T> _vectors;
#endif
  WholeSteps<T> _whole;
  Tiles _tiles;
  View<T> _output;
};

/// Writes every voxel of `output`, in parallel over slices, one step of progress each. A source that shares voxels with
/// the output is copied first.
template <class T>
void resample(OperatorBase& self, int threads, const AffineMap& map, Interpolation interpolation, T outer,
              const View<const T>& source, const View<T>& output) {
  self.setTotal(output.dimTert);
  const Impl::KeptInput<T> kept(self, threads, source, output, Impl::Aliasing::none);
  const Resampling<T> resampling(map, interpolation, outer, kept.view(), output);

  const auto parts = static_cast<SizeType>(Impl::teamSize(threads, output.dimTert)) * 4;
  const SizeType group = std::clamp<SizeType>(output.dimTert / parts, 1, resampling.slicesPerTile());
  const SizeType groups = output.dimTert / group + (output.dimTert % group != 0 ? 1 : 0);
  Impl::forEachSlice(self, threads, groups, Impl::Steps::silent, [&](SizeType index) {
    const SizeType begin = index * group, end = std::min(begin + group, output.dimTert);
    resampling.run(begin, end);
    for (SizeType slice = begin; slice < end; ++slice) {
      self.advance();
    }
  });
}

}  // namespace NORV::TaviOperators::Geometry
