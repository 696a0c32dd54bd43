#pragma once

#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/TransformVoxels.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>
#include <Tavi/Types.hpp>
#include <Tavi/Volume.hpp>

#include <Geometry/AffineMap.hpp>
#include <Geometry/Sampler.hpp>
#include <Geometry/VectorSampler.hpp>
#include <Vectors/PlainConversion.hpp>

#include <algorithm>
#include <array>

/// Resampling of a view through a matrix.
namespace NORV::TaviOperators::Geometry {

enum class Interpolation { nearest, linear };

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
        _output(output) {
  }

  /// The slices [begin, end) of the output. Tiles keep their part of the source in the cache.
  void run(SizeType begin, SizeType end) const {
    for (SizeType y = 0; y < _output.dimSec; y += tileRows) {
      for (SizeType x = 0; x < _output.dimPrim; x += tileColumns) {
        tile(x, y, begin, end);
      }
    }
  }

private:
  static constexpr SizeType tileRows = 16, tileColumns = 64;

  void tile(SizeType x, SizeType firstRow, SizeType begin, SizeType end) const {
    const SizeType columns = std::min(tileColumns, _output.dimPrim - x);
    const SizeType endRow = std::min(firstRow + tileRows, _output.dimSec);
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
    std::array<T, tileColumns> buffer;
    compute(x, count, y, z, buffer.data());
    for (SizeType i = 0; i < count; ++i) {
      row[static_cast<int64>(i) * _output.stridePrim] = buffer[i];
    }
  }

  void compute(SizeType x, SizeType count, SizeType y, SizeType z, T* to) const {
    const AffineMap::Sums start = _map.rowStart(y, z);
#ifdef TAVI_WIDE_VECTORS
    if (_vectors.isUsable() && x + count <= AffineMap::exactColumns) {
      return _map.isAffine() ? vectors<true>(x, count, start, to) : vectors<false>(x, count, start, to);
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
  template <bool isAffine>
  void vectors(SizeType x, SizeType count, const AffineMap::Sums& start, T* to) const {
    using Lanes = Impl::VectorLanes<float64>;
    const AffineMap::Sums change = _map.perColumn();
    const SizeType step = Lanes::count();
    for (SizeType done = 0; done < count; done += step) {
      const auto columns = hn::Iota(Lanes::Tag(), static_cast<float64>(x + done));
      const auto sum = [&](std::size_t row) {
        return hn::Add(Lanes::set(start[row]), hn::Mul(Lanes::set(change[row]), columns));
      };
      auto px = sum(0), py = sum(1), pz = sum(2);
      if constexpr (!isAffine) {
        const auto w = sum(3);
        px = hn::Div(px, w);
        py = hn::Div(py, w);
        pz = hn::Div(pz, w);
      }
      if (count - done >= step) {
        sample(px, py, pz, to + done);
      } else {
        std::array<T, hn::MaxLanes(Lanes::Tag())> last;
        sample(px, py, pz, last.data());
        std::copy_n(last.data(), count - done, to + done);
      }
    }
  }

  template <class V>
  void sample(V x, V y, V z, T* to) const {
    if (_interpolation == Interpolation::nearest) {
      _vectors.nearest(x, y, z, to);
    } else {
      _vectors.linear(x, y, z, to);
    }
  }
#endif

  AffineMap _map;
  Interpolation _interpolation;
  Sampler<T, float64> _sampler;
#ifdef TAVI_WIDE_VECTORS
  VectorSampler<T> _vectors;
#endif
  View<T> _output;
};

/// Writes every voxel of `output`, in parallel over slices, one step of progress each. A source that shares voxels with
/// the output is copied first.
template <class T>
void resample(OperatorBase& self, int threads, const AffineMap& map, Interpolation interpolation, T outer,
              const View<const T>& source, const View<T>& output) {
  self.setTotal(output.dimTert);
  Tavi::VolumePtr<T> copy;
  if (Impl::mayOverlap(source, output)) {
    copy = Tavi::VolumePtr<T>(
        new Tavi::Volume<T>(Tavi::Dimension<SizeType>(source.dimPrim, source.dimSec, source.dimTert)));
    Impl::transformVoxels(
        self, threads, Impl::Steps::silent, [](T voxel) { return voxel; }, Impl::viewOf(*copy), source);
  }
  const View<const T> read = copy == nullptr ? source : Impl::inputViewOf(std::as_const(*copy));
  const Resampling<T> resampling(map, interpolation, outer, read, output);

  // Slices of one group share the part of the source that a tile reads.
  const auto parts = static_cast<SizeType>(Impl::teamSize(threads, output.dimTert)) * 4;
  const SizeType group = std::clamp<SizeType>(output.dimTert / parts, 1, 16);
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
