#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <vector>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#if HWY_TARGET != HWY_SCALAR
#define TAVI_BYTE_SHUFFLES  // which need vectors of sixteen bytes
#endif
#endif

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// What a rule makes of each voxel value from `from` to `to`, for rules that cost more than a look into the first
/// levels of the cache. Voxels below and above take the value of the nearer end, so no voxel leads outside the table.
/// It is filled once, then only read, by any number of threads, and is itself a rule for `transformVoxels`.
///
/// Extra memory: for 8-bit voxels 256 entries inside the object, for 16-bit voxels as many entries on the heap as the
/// range has values.
template <class In, class Out>
class LookupTable {
  static_assert(std::is_integral_v<In> && sizeof(In) <= 2);
  static constexpr bool coversAll = sizeof(In) == 1;  // then a voxel's bits are its index
  using Bits = std::make_unsigned_t<In>;
  using Entries = std::conditional_t<coversAll, std::array<Out, 256>, std::vector<Out>>;

public:
  /// Calls `rule` once for each value; `from` must not exceed `to`.
  template <class Rule>
  LookupTable(In from, In to, const Rule& rule) : _from(from),
                                                  _to(to) {
    if constexpr (!coversAll) {
      _entries.resize(static_cast<SizeType>(to - from) + 1);
    }
    for (int x = from; x <= to; ++x) {
      _entries[indexOf(static_cast<In>(x))] = rule(static_cast<In>(x));
    }
    if constexpr (coversAll) {
      for (int x = std::numeric_limits<In>::min(); x < from; ++x) {
        _entries[indexOf(static_cast<In>(x))] = _entries[indexOf(from)];
      }
      for (int x = to + 1; x <= std::numeric_limits<In>::max(); ++x) {
        _entries[indexOf(static_cast<In>(x))] = _entries[indexOf(to)];
      }
    }
  }

  /// Over all values of the voxel type.
  template <class Rule>
  explicit LookupTable(const Rule& rule)
      : LookupTable(std::numeric_limits<In>::min(), std::numeric_limits<In>::max(), rule) {}

  Out operator()(In x) const { return _entries[indexOf(x)]; }

  /// A voxel's upper four bits choose one of sixteen pieces of the table, its lower four bits an entry of the piece.
  void row(const In* input, Out* output, SizeType count) const requires(sizeof(In) == 1 && sizeof(Out) == 1) {
    SizeType done = 0;
#ifdef TAVI_BYTE_SHUFFLES
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::ScalableTag<uint8> tag;
    const auto* from = reinterpret_cast<const uint8*>(input);
    auto* to = reinterpret_cast<uint8*>(output);
    const auto* pieces = reinterpret_cast<const uint8*>(_entries.data());
    const SizeType whole = count - count % hn::Lanes(tag);
    for (; done < whole; done += hn::Lanes(tag)) {
      hn::StoreU(lookUp(tag, pieces, hn::LoadU(tag, from + done)), tag, to + done);
    }
#endif
    for (; done < count; ++done) {
      output[done] = (*this)(input[done]);
    }
  }

private:
  SizeType indexOf(In x) const {
    if constexpr (coversAll) {
      return static_cast<Bits>(x);
    } else {
      return static_cast<SizeType>(std::clamp(x, _from, _to) - _from);
    }
  }

#ifdef TAVI_BYTE_SHUFFLES
  template <class Tag, class V>
  HWY_INLINE static V lookUp(Tag tag, const uint8* pieces, V x) {
    namespace hn = hwy::HWY_NAMESPACE;
    const auto low = hn::And(x, hn::Set(tag, 0x0F));
    const auto piece = [&](std::ptrdiff_t p) {
      return hn::TableLookupBytes(hn::LoadDup128(tag, pieces + 16 * p), low);
    };
    const auto has = [&](int bit) { return hn::TestBit(x, hn::Set(tag, static_cast<uint8>(bit))); };
    const auto bit4 = has(0x10), bit5 = has(0x20), bit6 = has(0x40), bit7 = has(0x80);
    const auto two = [&](int p) { return hn::IfThenElse(bit4, piece(p + 1), piece(p)); };
    const auto four = [&](int p) { return hn::IfThenElse(bit5, two(p + 2), two(p)); };
    const auto eight = [&](int p) { return hn::IfThenElse(bit6, four(p + 4), four(p)); };
    return hn::IfThenElse(bit7, eight(8), eight(0));
  }
#endif

  In _from, _to;
  alignas(64) Entries _entries;
};

}  // namespace NORV::TaviOperators::Impl
