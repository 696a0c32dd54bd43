#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <Geometry/PolarGrid.hpp>
#include <Geometry/RowSampler.hpp>
#include <Geometry/Sampler.hpp>
#include <Vectors/Lanes.hpp>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

/// Sampling of whole rows in vectors, with the values of `Sampler`. Interpolation finds the cells, fetches their
/// corners voxel by voxel, and blends them; each step is a loop of its own, so that vector loads do not wait for narrow
/// stores.
namespace NORV::TaviOperators::Geometry {

#ifdef TAVI_WIDE_VECTORS
namespace hn = hwy::HWY_NAMESPACE;

/// The voxels next to a row of positions, as offsets in a view. The conditions of `CellRow` hold.
class NearestRow {
  using L = Impl::VectorLanes<float32>;
  using Whole = hn::Rebind<int32, L::Tag>;

public:
  static constexpr int32 none = std::numeric_limits<int32>::min();  ///< for positions outside
  alignas(64) LaneRow<int32> offsets;

  template <class In>
  NearestRow(const View<const In>& view, const PositionRow& positions, SizeType count) {
    const Axis x(view.dimPrim, view.stridePrim), y(view.dimSec, view.strideSec), z(view.dimTert, view.strideTert);
    for (SizeType i = 0; i < count; i += L::count()) {
      auto isInside = hn::FirstN(L::Tag(), L::count());
      const auto inX = x.offset(positions.x.data() + i, isInside);
      const auto inY = y.offset(positions.y.data() + i, isInside);
      const auto inZ = z.offset(positions.z.data() + i, isInside);
      const auto offset = hn::Add(inX, hn::Add(inY, inZ));
      hn::Store(hn::IfThenElse(hn::RebindMask(Whole(), isInside), offset, hn::Set(Whole(), none)), Whole(),
                offsets.data() + i);
    }
  }

private:
  struct Axis {
    float32 last;
    int32 stride;

    Axis(SizeType dim, int64 step) : last(positionOf(dim) - 1.0f), stride(static_cast<int32>(step)) {}

    hn::Vec<Whole> offset(const float32* positions, hn::Mask<L::Tag>& isInside) const {
      const auto index = hn::Floor(hn::Add(hn::Load(L::Tag(), positions), L::set(0.5f)));
      const auto isIndex = hn::And(hn::Ge(index, L::set(0.0f)), hn::Le(index, L::set(last)));
      isInside = hn::And(isInside, isIndex);
      return hn::Mul(hn::ConvertTo(Whole(), hn::IfThenElseZero(isIndex, index)), hn::Set(Whole(), stride));
    }
  };
};

/// Where cells lie in a view: all corners inside, some, or none.
enum class Place : int32 { inside, border, outside };

/// The cells around a row of positions.
class CellRow {
  using L = Impl::VectorLanes<float32>;

public:
  alignas(64) LaneRow<float32> fx, fy, fz;
  alignas(64) LaneRow<int32> offsets;  ///< of the first corner, where all are inside
  alignas(64) LaneRow<int32> places;
  bool isAllInside = true, isAllOutside = true;

  /// `isInSlice`: the corners at z + 1 do not count. The view has fewer than 2^24 voxels along each axis, and offsets
  /// in it fit 32 bits.
  template <class In>
  CellRow(const View<const In>& view, const PositionRow& positions, SizeType count, bool isInSlice) {
    const Axis x(view.dimPrim, view.stridePrim, false), y(view.dimSec, view.strideSec, false);
    const Axis z(view.dimTert, view.strideTert, isInSlice);
    for (SizeType i = 0; i < count; i += L::count()) {
      const Part px = x.part(positions.x.data() + i, fx.data() + i);
      const Part py = y.part(positions.y.data() + i, fy.data() + i);
      const Part pz = z.part(positions.z.data() + i, fz.data() + i);
      const auto isInside = hn::And(px.isInside, hn::And(py.isInside, pz.isInside));
      const auto isNear = hn::And(px.isNear, hn::And(py.isNear, pz.isNear));
      hn::Store(hn::Add(px.offset, hn::Add(py.offset, pz.offset)), Whole(), offsets.data() + i);
      const auto place = hn::IfThenElse(hn::RebindMask(Whole(), isNear), set(Place::border), set(Place::outside));
      hn::Store(hn::IfThenElse(hn::RebindMask(Whole(), isInside), set(Place::inside), place), Whole(),
                places.data() + i);
      isAllInside = isAllInside && hn::AllTrue(L::Tag(), isInside);
      isAllOutside = isAllOutside && hn::AllFalse(L::Tag(), isNear);
    }
  }

  Place place(SizeType i) const { return static_cast<Place>(places[i]); }

private:
  using Whole = hn::Rebind<int32, L::Tag>;
  using Mask = hn::Mask<L::Tag>;

  static hn::Vec<Whole> set(Place place) { return hn::Set(Whole(), static_cast<int32>(place)); }

  /// What one axis contributes.
  struct Part {
    Mask isInside, isNear;
    hn::Vec<Whole> offset;
  };
  struct Axis {
    float32 extent, last;  ///< the last index at which a cell begins that is inside
    int32 stride;

    Axis(SizeType dim, int64 step, bool isInSlice)
        : extent(positionOf(dim)),
          last(extent - (isInSlice ? 1.0f : 2.0f)),
          stride(static_cast<int32>(step)) {}

    Part part(const float32* positions, float32* fractions) const {
      const auto position = hn::Load(L::Tag(), positions);
      const auto index = hn::Floor(position);
      hn::Store(hn::Sub(position, index), L::Tag(), fractions);
      const auto isInside = hn::And(hn::Ge(index, L::set(0.0f)), hn::Le(index, L::set(last)));
      const auto isNear = hn::And(hn::Ge(position, L::set(-1.0f)), hn::Lt(position, L::set(extent)));
      const auto whole = hn::ConvertTo(Whole(), hn::IfThenElseZero(isInside, index));
      return {isInside, isNear, hn::Mul(whole, hn::Set(Whole(), stride))};
    }
  };
};

/// The corners of a row of cells: for each pair along x a row of its own, in the order of y, then z.
template <class In, bool isInSlice>
class CornerRows {
  using L = Impl::VectorLanes<float32>;
  // What vectors of single-precision lanes are not loaded from is converted when it is fetched.
  using Stored = std::conditional_t<sizeof(In) <= 2, In, float32>;
  static constexpr SizeType pairs = isInSlice ? 2 : 4;

public:
  CornerRows(const View<const In>& view, In outer) : _view(view), _outer(outer) {}

  void fetch(const CellRow& cells, const PositionRow& positions, SizeType count) {
    const View<const In> view = _view;  // which no store into the rows can change
    if (cells.isAllInside && view.hasDenseRows()) {
      for (SizeType i = 0; i < count; ++i) {
        fetchInside<true>(view, i, cells.offsets[i]);
      }
      return;
    }
    for (SizeType i = 0; i < count; ++i) {
      if (cells.place(i) == Place::inside) {
        fetchInside<false>(view, i, cells.offsets[i]);
      } else if (cells.place(i) == Place::border) {
        fetchBorder(i, indexOf(positions.x[i]), indexOf(positions.y[i]), indexOf(positions.z[i]));
      } else {
        fillOuter(i);
      }
    }
  }

  void blendAll(const CellRow& cells, SizeType count, float32* blends) const {
    for (SizeType i = 0; i < count; i += L::count()) {
      const auto fx = hn::Load(L::Tag(), cells.fx.data() + i), fy = hn::Load(L::Tag(), cells.fy.data() + i);
      Corners<L::V> c;
      load(0, i, c.c000, c.c100);
      load(1, i, c.c010, c.c110);
      if constexpr (isInSlice) {
        hn::StoreU(blendInSlice(c, fx, fy), L::Tag(), blends + i);
      } else {
        load(2, i, c.c001, c.c101);
        load(3, i, c.c011, c.c111);
        hn::StoreU(blend(L(), c, fx, fy, hn::Load(L::Tag(), cells.fz.data() + i)), L::Tag(), blends + i);
      }
    }
  }

private:
  static int64 indexOf(float32 position) { return static_cast<int64>(std::floor(position)); }

  template <bool isDense>
  void fetchInside(const View<const In>& view, SizeType i, int32 offset) {
    const In* const at = view.data + offset;
    const int64 prim = isDense ? 1 : view.stridePrim;
    fetchPair<isDense>(at, prim, _rows[0].data() + 2 * i);
    fetchPair<isDense>(at + view.strideSec, prim, _rows[1].data() + 2 * i);
    if constexpr (!isInSlice) {
      fetchPair<isDense>(at + view.strideTert, prim, _rows[2].data() + 2 * i);
      fetchPair<isDense>(at + view.strideSec + view.strideTert, prim, _rows[3].data() + 2 * i);
    }
  }

  template <bool isDense>
  static void fetchPair(const In* at, int64 stride, Stored* pair) {
    if constexpr (isDense && std::is_same_v<In, Stored>) {
      std::memcpy(pair, at, 2 * sizeof(In));
    } else {
      pair[0] = static_cast<Stored>(at[0]);
      pair[1] = static_cast<Stored>(at[stride]);
    }
  }

  void fetchBorder(SizeType i, int64 x, int64 y, int64 z) {
    const auto isInside = [](int64 index, SizeType extent) { return static_cast<SizeType>(index) < extent; };
    for (SizeType row = 0; row < pairs; ++row) {
      const int64 sec = y + static_cast<int64>(row % 2), tert = z + static_cast<int64>(row / 2);
      Stored* const pair = _rows[row].data() + 2 * i;
      const bool isRow = isInside(sec, _view.dimSec) && isInside(tert, _view.dimTert);
      for (int64 end = 0; end < 2; ++end) {
        pair[end] = static_cast<Stored>(
            isRow && isInside(x + end, _view.dimPrim)
                ? _view.at(static_cast<SizeType>(x + end), static_cast<SizeType>(sec), static_cast<SizeType>(tert))
                : _outer);
      }
    }
  }

  void fillOuter(SizeType i) {
    for (auto& row : _rows) {
      row[2 * i] = row[2 * i + 1] = static_cast<Stored>(_outer);
    }
  }

  void load(SizeType row, SizeType i, L::V& first, L::V& second) const {
    const L::Beside<Stored> tag;
    hn::Vec<decltype(tag)> a, b;
    hn::LoadInterleaved2(tag, _rows[row].data() + 2 * i, a, b);
    first = real(a);
    second = real(b);
  }
  template <class Voxels>
  static L::V real(Voxels voxels) {
    if constexpr (std::is_same_v<Stored, float32>) {
      return voxels;
    } else {
      return hn::ConvertTo(L::Tag(), hn::PromoteTo(hn::Rebind<int32, L::Tag>(), voxels));
    }
  }

  /// The trilinear blend where the fraction along z is 0 and no voxel is infinite, NaN or a negative zero: what is left
  /// out adds zeros.
  static L::V blendInSlice(const Corners<L::V>& c, L::V fx, L::V fy) {
    const auto xy = L::add(L::sub(L::sub(c.c000, c.c010), c.c100), c.c110);
    const auto sum = L::add(c.c000, L::mul(L::sub(c.c100, c.c000), fx));
    return L::add(L::add(sum, L::mul(L::sub(c.c010, c.c000), fy)), L::mul(L::mul(xy, fx), fy));
  }

  const View<const In> _view;
  const In _outer;
  alignas(64) std::array<std::array<Stored, 2 * PositionRow::capacity>, pairs> _rows;
};
#endif

}  // namespace NORV::TaviOperators::Geometry
