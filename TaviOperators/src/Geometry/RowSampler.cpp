#include <Impl/Loops/BitsView.hpp>

#include <Geometry/CellRow.hpp>
#include <Geometry/RowSampler.hpp>
#include <Geometry/Sampler.hpp>
#include <Vectors/PlainConversion.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace NORV::TaviOperators::Geometry {
namespace {

/// Whether the cell at a position has a corner in the view. False for NaN.
template <class In>
bool touches(const View<const In>& view, float32 x, float32 y, float32 z) {
  const auto reaches = [](float32 position, SizeType extent) {
    return position >= -1.0f && position < positionOf(extent);
  };
  return reaches(x, view.dimPrim) && reaches(y, view.dimSec) && reaches(z, view.dimTert);
}

#ifdef TAVI_WIDE_VECTORS
/// As many positions as fill vectors: what follows in a row are positions as well, and lanes for them.
SizeType wholeVectors(SizeType count) {
  const SizeType vector = Impl::VectorLanes<float32>::count();
  return (count + vector - 1) / vector * vector;
}
#endif

}  // namespace

template <class In>
RowSampler<In>::RowSampler(const View<const In>& source, In outer) : _source(source),
                                                                     _outer(outer) {
  const auto isShort = [](SizeType extent) { return extent < SizeType{1} << 24; };
  const auto [first, end] = source.addresses();
  const auto fits = [](int64 stride) { return std::abs(stride) < int64{1} << 31; };
  _isNarrow = isShort(source.dimPrim) && isShort(source.dimSec) && isShort(source.dimTert) &&
              (end - first) / sizeof(In) < SizeType{1} << 31 && fits(source.stridePrim) && fits(source.strideSec) &&
              fits(source.strideTert);
}

template <class In>
void RowSampler<In>::nearest(const PositionRow& positions, SizeType count, In* values) const {
#ifdef TAVI_WIDE_VECTORS
  if (_isNarrow) {
    const NearestRow voxels(_source, positions, wholeVectors(count));
    for (SizeType i = 0; i < count; ++i) {
      const int32 offset = voxels.offsets[i];
      values[i] = *(offset == NearestRow::none ? &_outer : _source.data + offset);
    }
    return;
  }
#endif
  const Sampler<In, float32> sampler(_source, _outer);
  for (SizeType i = 0; i < count; ++i) {
    values[i] = sampler.nearest(positions.x[i], positions.y[i], positions.z[i]);
  }
}

template <class In>
void RowSampler<In>::nearestWide(const PositionRow& positions, SizeType count, WideVoxel<In>* lanes) const {
  LaneRow<In> voxels;
  nearest(positions, count, voxels.data());
  std::copy_n(voxels.data(), count, lanes);
}

template <class In>
void RowSampler<In>::linear(const PositionRow& positions, SizeType count, float32* lanes) const {
#ifdef TAVI_WIDE_VECTORS
  if (_isNarrow) {
    linearInVectors(positions, count, lanes);
    return;
  }
#endif
  const Sampler<In, float32> sampler(_source, _outer);
  for (SizeType i = 0; i < count; ++i) {
    const float32 x = positions.x[i], y = positions.y[i], z = positions.z[i];
    lanes[i] = _source.size() != 0 && touches(_source, x, y, z) ? sampler.linear(x, y, z, Unrounded())
                                                                : static_cast<float32>(_outer);
  }
}

#ifdef TAVI_WIDE_VECTORS
template <class In>
void RowSampler<In>::linearInVectors(const PositionRow& positions, SizeType count, float32* lanes) const {
  // Integers are finite, so in a slice the corners of the next one add zeros.
  const bool isInSlice = std::is_integral_v<In> && positions.isInSlice;
  const SizeType whole = wholeVectors(count);
  const CellRow cells(_source, positions, whole, isInSlice);
  if (cells.isAllOutside || _source.size() == 0) {
    std::fill_n(lanes, count, static_cast<float32>(_outer));
    return;
  }
  const auto run = [&](auto corners) {
    corners.fetch(cells, positions, whole);
    corners.blendAll(cells, whole, lanes);
  };
  if constexpr (std::is_integral_v<In>) {
    if (isInSlice) {
      run(CornerRows<In, true>(_source, _outer));
    } else {
      run(CornerRows<In, false>(_source, _outer));
    }
  } else {
    run(CornerRows<In, false>(_source, _outer));
  }
  for (SizeType i = 0; !cells.isAllInside && i < count; ++i) {
    if (cells.place(i) == Place::outside) {
      lanes[i] = static_cast<float32>(_outer);
    }
  }
}
#endif

template <class Lane, class Out>
void storeLanes(const Lane* lanes, SizeType count, Out* to, int64 stride) {
  if (std::is_same_v<Lane, Out> && stride == 1) {
    std::memcpy(to, lanes, count * sizeof(Out));
    return;
  }
  for (SizeType i = 0; i < count; ++i) {
    to[static_cast<int64>(i) * stride] = Impl::convertPlainly<Out>(lanes[i]);
  }
}

template <class Out>
void storeBlends(const float32* blends, SizeType count, Out* to, int64 stride) {
  if constexpr (std::is_integral_v<Out>) {
    LaneRow<float32> rounded;
    std::transform(blends, blends + count, rounded.begin(), HalfUp());
    if constexpr (sizeof(Out) <= 2) {
      LaneRow<Impl::BitsOf<Out>> voxels;
      Impl::convertRowPlainly(rounded.data(), voxels.data(), count);
      storeLanes(reinterpret_cast<const Out*>(voxels.data()), count, to, stride);
    } else {
      storeLanes(rounded.data(), count, to, stride);
    }
  } else {
    storeLanes(blends, count, to, stride);
  }
}

#define TAVI_GEOMETRY_INSTANTIATE(T)                             \
  template class RowSampler<T>;                                  \
  template void storeLanes(const int64*, SizeType, T*, int64);   \
  template void storeLanes(const float64*, SizeType, T*, int64); \
  template void storeBlends(const float32*, SizeType, T*, int64);

TAVI_GEOMETRY_INSTANTIATE(int8)
TAVI_GEOMETRY_INSTANTIATE(uint8)
TAVI_GEOMETRY_INSTANTIATE(int16)
TAVI_GEOMETRY_INSTANTIATE(uint16)
TAVI_GEOMETRY_INSTANTIATE(int32)
TAVI_GEOMETRY_INSTANTIATE(uint32)
TAVI_GEOMETRY_INSTANTIATE(float32)
TAVI_GEOMETRY_INSTANTIATE(float64)
#undef TAVI_GEOMETRY_INSTANTIATE

// Those from voxels of the same type; float64 is there already.
template void storeLanes(const int8*, SizeType, int8*, int64);
template void storeLanes(const uint8*, SizeType, uint8*, int64);
template void storeLanes(const int16*, SizeType, int16*, int64);
template void storeLanes(const uint16*, SizeType, uint16*, int64);
template void storeLanes(const int32*, SizeType, int32*, int64);
template void storeLanes(const uint32*, SizeType, uint32*, int64);
template void storeLanes(const float32*, SizeType, float32*, int64);

}  // namespace NORV::TaviOperators::Geometry
