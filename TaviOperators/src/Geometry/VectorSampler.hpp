#pragma once

#include <Tavi/Types.hpp>

#include <Geometry/Sampler.hpp>
#include <Vectors/Lanes.hpp>
#include <Vectors/PlainConversion.hpp>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#ifdef TAVI_WIDE_VECTORS

namespace NORV::TaviOperators::Geometry {

namespace hn = hwy::HWY_NAMESPACE;

/// The samples of `Sampler<T, float64>` for a vector of positions at once: the same operations in the same order.
/// Voxels are read as words of 8 bytes, one gather for the two voxels of a cell that are neighbours along a dense x
/// axis.
template <class T>
class VectorSampler {
  using Lanes = Impl::VectorLanes<float64>;
  using Tag = Lanes::Tag;
  using Words = hn::RebindToUnsigned<Tag>;
  using Word = hn::Vec<Words>;
  using Mask = hn::Mask<Tag>;

public:
  using V = Lanes::V;

  explicit VectorSampler(const Sampler<T, float64>& sampler)
      : _sampler(sampler),
        _data(reinterpret_cast<const uint8*>(sampler.source().data)) {
    const View<const T>& source = sampler.source();
    _extents = {static_cast<float64>(source.dimPrim), static_cast<float64>(source.dimSec),
                static_cast<float64>(source.dimTert)};
    const std::array strides{source.stridePrim, source.strideSec, source.strideTert};
    float64 reach = 0;  // from c000 to the corner of the cell with the highest address
    for (std::size_t axis = 0; axis < strides.size(); ++axis) {
      _strides[axis] = static_cast<float64>(strides[axis]) * sizeof(T);
      reach += std::max(0.0, axis == 0 && isPaired() ? 0.0 : _strides[axis]);
    }
    const auto [low, end] = source.addresses();
    const auto data = reinterpret_cast<std::uintptr_t>(_data);
    _lowest = -static_cast<float64>(data - low);
    _lastWord = static_cast<float64>(end - data) - sizeof(uint64);
    _lastCell = _lastWord - reach - (isPaired() && sizeof(T) == sizeof(uint64) ? sizeof(T) : 0.0);
    const auto outer = static_cast<float64>(sampler.outer());
    _isOuterConstant = std::abs(outer) <= std::numeric_limits<float64>::max() / 8;
    const float64 none = std::numeric_limits<float64>::quiet_NaN();
    _roundedOuter = sampler.linear(none, none, none, HalfUp());
  }

  /// A word fits into the memory of the view, and double precision holds each offset in bytes exactly.
  bool isUsable() const { return _lowest <= _lastWord && _lastWord - _lowest < exactOffsets; }

  /// Neighbours along x are neighbours in memory.
  bool isPaired() const { return _sampler.source().stridePrim == 1; }

  static SizeType count() { return Lanes::count(); }

  /// Writes the nearest voxels of `count()` positions.
  [[gnu::always_inline]] void nearest(V x, V y, V z, T* output) const {
    const V half = Lanes::set(0.5);
    x = hn::Add(x, half);
    y = hn::Add(y, half);
    z = hn::Add(z, half);
    const Mask inside =
        hn::And(hn::And(isWithin(x, 0, _extents[0]), isWithin(y, 0, _extents[1])), isWithin(z, 0, _extents[2]));
    const V outer = hn::BitCast(Tag(), hn::Set(Words(), bitsOf(_sampler.outer())));
    if (hn::AllFalse(Tag(), inside)) {
      return storeBits(hn::BitCast(Words(), outer), output);
    }
    const V offset = hn::IfThenElse(inside, offsetOf(hn::Floor(x), hn::Floor(y), hn::Floor(z)), Lanes::set(_lowest));
    const V atMost = hn::Min(offset, Lanes::set(_lastWord));
    const V shift = hn::Mul(hn::Sub(offset, atMost), Lanes::set(8.0));
    const Word voxel = hn::Shr(wordsAt(atMost), hn::BitCast(Words(), wholeOf(shift)));
    storeBits(hn::BitCast(Words(), hn::IfThenElse(inside, hn::BitCast(Tag(), voxel), outer)), output);
  }

  /// Writes the rounded trilinear samples of `count()` positions. `paired` is what `isPaired` returns.
  template <bool paired>
  [[gnu::always_inline]] void linear(V x, V y, V z, T* output) const {
    const Mask touching =
        hn::And(hn::And(isWithin(x, -1, _extents[0]), isWithin(y, -1, _extents[1])), isWithin(z, -1, _extents[2]));
    if (_isOuterConstant && hn::AllFalse(Tag(), touching)) {
      return Lanes::store(Lanes::set(_roundedOuter), output);
    }
    const V i = hn::Floor(x), j = hn::Floor(y), k = hn::Floor(z);
    V offset = offsetOf(i, j, k);
    Mask inside = hn::And(hn::And(isWithin(x, 0, _extents[0] - 1), isWithin(y, 0, _extents[1] - 1)),
                          isWithin(z, 0, _extents[2] - 1));
    inside = hn::And(inside, hn::Le(offset, Lanes::set(_lastCell)));
    if (hn::AllTrue(Tag(), inside)) {
      return Lanes::store(rounded<paired>(offset, hn::Sub(x, i), hn::Sub(y, j), hn::Sub(z, k)), output);
    }
    if (hn::AllFalse(Tag(), inside)) {
      Lanes::store(Lanes::set(_roundedOuter), output);
    } else {
      offset = hn::IfThenElse(inside, offset, Lanes::set(anyCell(inside, offset)));
      const V values = rounded<paired>(offset, hn::Sub(x, i), hn::Sub(y, j), hn::Sub(z, k));
      Lanes::store(hn::IfThenElse(inside, values, Lanes::set(_roundedOuter)), output);
    }
    storeBorder(_isOuterConstant ? hn::AndNot(inside, touching) : hn::Not(inside), x, y, z, output);
  }

private:
  static constexpr float64 exactOffsets = 1125899906842624.0;  // 2^50
  static constexpr bool isFloating = std::is_floating_point_v<T>;

  [[gnu::always_inline]] static Mask isWithin(V value, float64 low, float64 end) {
    return hn::And(hn::Ge(value, Lanes::set(low)), hn::Lt(value, Lanes::set(end)));
  }

  /// From the first voxel, in bytes.
  [[gnu::always_inline]] V offsetOf(V i, V j, V k) const {
    const V rows = hn::Add(hn::Mul(j, Lanes::set(_strides[1])), hn::Mul(k, Lanes::set(_strides[2])));
    return hn::Add(hn::Mul(i, Lanes::set(_strides[0])), rows);
  }

  /// Whole numbers of up to 51 bits as integers: a sum of this size has them in its low bits.
  [[gnu::always_inline]] static auto wholeOf(V value) {
    const hn::RebindToSigned<Tag> whole;
    const V shifted = Lanes::set(6755399441055744.0);  // 1.5 * 2^52
    return hn::Sub(hn::BitCast(whole, hn::Add(value, shifted)), hn::BitCast(whole, shifted));
  }

  [[gnu::always_inline]] Word wordsAt(V offsets) const {
#if HWY_TARGET <= HWY_AVX2
    return hn::GatherOffset(Words(), reinterpret_cast<const uint64*>(_data), wholeOf(offsets));
#else
    const hn::RebindToSigned<Tag> whole;
    HWY_ALIGN std::array<int64, hn::MaxLanes(Tag())> at;
    HWY_ALIGN std::array<uint64, hn::MaxLanes(Tag())> words;
    hn::Store(wholeOf(offsets), whole, at.data());
    for (SizeType lane = 0; lane < count(); ++lane) {
      std::memcpy(&words[lane], _data + at[lane], sizeof(uint64));
    }
    return hn::Load(Words(), words.data());
#endif
  }

  /// The voxel in the low bytes of each word, exactly.
  [[gnu::always_inline]] static V voxelOf(Word words) {
    if constexpr (std::is_same_v<T, float64>) {
      return hn::BitCast(Tag(), words);
    } else if constexpr (isFloating) {
      const hn::Rebind<uint32, Tag> bits;
      const hn::Rebind<float32, Tag> single;
      return hn::PromoteTo(Tag(), hn::BitCast(single, hn::TruncateTo(bits, words)));
    } else {
      // As the last digits of a number of fixed exponent; signed voxels are made unsigned first.
      constexpr auto digits = uint64{std::numeric_limits<std::make_unsigned_t<T>>::max()};
      constexpr uint64 sign = std::is_signed_v<T> ? digits / 2 + 1 : 0;
      constexpr float64 base = 4503599627370496.0;  // 2^52
      const Word exponent = hn::BitCast(Words(), Lanes::set(base + static_cast<float64>(sign)));
      const Word number = hn::Xor(hn::And(words, hn::Set(Words(), digits)), exponent);
      return hn::Sub(hn::BitCast(Tag(), number), Lanes::set(base + static_cast<float64>(sign)));
    }
  }

  /// The voxels at an offset and of their neighbours along x.
  template <bool paired>
  [[gnu::always_inline]] void readPair(V offset, V& first, V& second) const {
    const Word words = wordsAt(offset);
    first = voxelOf(words);
    if (sizeof(T) < sizeof(uint64) && isPaired()) {
      second = voxelOf(hn::ShiftRight < sizeof(T) < sizeof(uint64) ? 8 * sizeof(T) : 0 > (words));
    } else {
      second = voxelOf(wordsAt(hn::Add(offset, Lanes::set(_strides[0]))));
    }
  }

  template <bool paired>
  [[gnu::always_inline]] V rounded(V offset, V fx, V fy, V fz) const {
    const V sec = Lanes::set(_strides[1]), tert = Lanes::set(_strides[2]);
    Corners<V> c;
    readPair<paired>(offset, c.c000, c.c100);
    readPair<paired>(hn::Add(offset, sec), c.c010, c.c110);
    const V beyond = hn::Add(offset, tert);
    readPair<paired>(beyond, c.c001, c.c101);
    readPair<paired>(hn::Add(beyond, sec), c.c011, c.c111);
    return hn::Floor(hn::Add(blend(Lanes(), c, fx, fy, fz), Lanes::set(0.5)));
  }

  /// The offset of one of the lanes in the mask.
  static float64 anyCell(Mask mask, V offsets) {
    return hn::GetLane(
        hn::MinOfLanes(Tag(), hn::IfThenElse(mask, offsets, Lanes::set(std::numeric_limits<float64>::infinity()))));
  }

  /// The lanes of the mask one by one, with tests for each corner.
  [[gnu::noinline]] void storeBorder(Mask border, V x, V y, V z, T* output) const {
    if (hn::AllFalse(Tag(), border)) {
      return;
    }
    HWY_ALIGN std::array<float64, hn::MaxLanes(Tag())> px, py, pz;
    hn::Store(x, Tag(), px.data());
    hn::Store(y, Tag(), py.data());
    hn::Store(z, Tag(), pz.data());
    std::array<uint8, (hn::MaxLanes(Tag()) + 63) / 8> bits{};
    hn::StoreMaskBits(Tag(), border, bits.data());
    for (SizeType lane = 0; lane < count(); ++lane) {
      if ((bits[lane / 8] >> (lane % 8) & 1) != 0) {
        output[lane] = Impl::convertPlainly<T>(_sampler.linear(px[lane], py[lane], pz[lane], HalfUp()));
      }
    }
  }

  static uint64 bitsOf(T value) {
    uint64 bits = 0;
    std::memcpy(&bits, &value, sizeof(T));
    return bits;
  }

  /// The low bytes of each word as a voxel.
  static void storeBits(Word words, T* output) {
    const hn::Rebind<T, Tag> out;
    if constexpr (sizeof(T) == sizeof(uint64)) {
      hn::StoreU(hn::BitCast(out, words), out, output);
    } else {
      const hn::RebindToUnsigned<hn::Rebind<T, Tag>> bits;
      hn::StoreU(hn::BitCast(out, hn::TruncateTo(bits, words)), out, output);
    }
  }

  Sampler<T, float64> _sampler;
  const uint8* _data;
  std::array<float64, 3> _extents{};
  std::array<float64, 3> _strides{};  // in bytes
  float64 _lowest = 0;                // offset of the lowest voxel
  float64 _lastWord = 0;              // the last offset at which 8 bytes may be read
  float64 _lastCell = 0;              // the same for c000
  float64 _roundedOuter = 0;
  bool _isOuterConstant = false;  // a cell of outer values has the outer value, whatever the position in it
};

}  // namespace NORV::TaviOperators::Geometry

#endif
