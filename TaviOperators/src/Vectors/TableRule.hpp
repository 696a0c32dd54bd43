#pragma once

#include <Tavi/Types.hpp>

#include <Vectors/Lanes.hpp>
#include <Vectors/LookupTable.hpp>

#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

namespace NORV::TaviOperators::Impl {

using Tavi::SizeType;

/// A rule for `transformVoxels` that maps each value of an 8- or 16-bit type by a table with one entry per value, in
/// the fastest way: tables of 8 bits on both sides by shuffles; where others are a staircase with few steps, as a
/// segmentation is, whole vectors of voxels are compared with the steps; and the rest by loads of single entries.
template <class In, class Out>
class TableRule {
  static_assert(std::is_integral_v<In> && sizeof(In) <= 2 && std::is_integral_v<Out> && sizeof(Out) <= 2);
  using InBits = std::make_unsigned_t<In>;
  using OutBits = std::make_unsigned_t<Out>;
  static constexpr bool isShuffled = sizeof(In) == 1 && sizeof(Out) == 1;

public:
  static constexpr SizeType bins = SizeType{1} << (8 * sizeof(In));

  /// Where in the table a value stands: at the number that its bits mean as unsigned.
  static constexpr SizeType indexOf(In value) { return static_cast<InBits>(value); }

  /// `table` has `bins` entries and must outlive the rule.
  explicit TableRule(const Out* table) : _table(table), _fast(*this) {}

  Out operator()(In value) const { return _table[indexOf(value)]; }

  /// In place is allowed.
  void row(const In* input, Out* output, SizeType count) const {
    if constexpr (isShuffled) {
      _fast.row(input, output, count);
    } else {
      lookUp(input, output, count, _fast.row(input, output, count));
    }
  }

private:
  /// The table as the value that it begins with and the rises behind some values.
  class Steps {
  public:
    explicit Steps(const TableRule& rule) : _first(static_cast<OutBits>(rule._table[0])) {
      const Out* const table = rule._table;
      for (SizeType i = 1; i < bins && _count <= most; ++i) {
        if (table[i] != table[i - 1]) {
          if (_count < most) {
            _below[_count] = static_cast<uint16>(i - 1);
            _rise[_count] = static_cast<OutBits>(table[i] - table[i - 1]);
          }
          ++_count;
        }
      }
    }

    /// Returns how many voxels it mapped: all but the last few, or none if there are many steps.
    SizeType row(const In* input, Out* output, SizeType count) const {
      SizeType done = 0;
#ifdef TAVI_USE_HIGHWAY
      namespace hn = hwy::HWY_NAMESPACE;
      const hn::ScalableTag<uint16> tag;
      const SizeType lanes = hn::Lanes(tag);
      const auto first = hn::Set(tag, _first);
      for (; _count <= most && count - done >= 4 * lanes; done += 4 * lanes) {
        const auto a = load(tag, input + done), b = load(tag, input + done + lanes);
        const auto c = load(tag, input + done + 2 * lanes), d = load(tag, input + done + 3 * lanes);
        auto sumA = first, sumB = first, sumC = first, sumD = first;
        for (SizeType step = 0; step < _count; ++step) {
          const auto below = hn::Set(tag, _below[step]), rise = hn::Set(tag, _rise[step]);
          sumA = hn::Add(sumA, hn::IfThenElseZero(hn::Gt(a, below), rise));
          sumB = hn::Add(sumB, hn::IfThenElseZero(hn::Gt(b, below), rise));
          sumC = hn::Add(sumC, hn::IfThenElseZero(hn::Gt(c, below), rise));
          sumD = hn::Add(sumD, hn::IfThenElseZero(hn::Gt(d, below), rise));
        }
        store(tag, sumA, output + done);
        store(tag, sumB, output + done + lanes);
        store(tag, sumC, output + done + 2 * lanes);
        store(tag, sumD, output + done + 3 * lanes);
      }
#else
      static_cast<void>(input), static_cast<void>(output), static_cast<void>(count);
#endif
      return done;
    }

  private:
#ifdef TAVI_USE_HIGHWAY
    template <class Tag>
    static auto load(Tag tag, const In* voxels) {
      namespace hn = hwy::HWY_NAMESPACE;
      const auto* const bits = reinterpret_cast<const InBits*>(voxels);
      if constexpr (sizeof(In) == 1) {
        return hn::PromoteTo(tag, hn::LoadU(hn::Rebind<uint8, Tag>(), bits));
      } else {
        return hn::LoadU(tag, bits);
      }
    }
    template <class Tag, class V>
    static void store(Tag tag, V values, Out* voxels) {
      namespace hn = hwy::HWY_NAMESPACE;
      auto* const bits = reinterpret_cast<OutBits*>(voxels);
      if constexpr (sizeof(Out) == 1) {
        const hn::Rebind<uint8, Tag> bytes;
        hn::StoreU(lowBits(bytes, values), bytes, bits);
      } else {
        hn::StoreU(values, tag, bits);
      }
    }
#endif

    static constexpr SizeType most = 16;  // more take longer than loads of single entries

    SizeType _count = 0;
    uint16 _first;
    std::array<uint16, most> _below{}, _rise{};
  };

  /// From `done` on. Voxels are loaded by the word: of the three memory accesses per voxel one goes.
  void lookUp(const In* input, Out* output, SizeType count, SizeType done) const {
    constexpr SizeType voxelsPerWord = sizeof(uint64) / sizeof(In);
    for (; count - done >= voxelsPerWord; done += voxelsPerWord) {
      uint64 word = 0;
      std::memcpy(&word, input + done, sizeof word);
#pragma GCC unroll 8
      for (SizeType i = 0; i < voxelsPerWord; ++i) {
        const SizeType place = std::endian::native == std::endian::little ? i : voxelsPerWord - 1 - i;
        output[done + i] = _table[static_cast<InBits>(word >> (8 * sizeof(In) * place))];
      }
    }
    for (SizeType left = count - done; left > 0; --left, ++done) {
      output[done] = (*this)(input[done]);
    }
  }

  const Out* _table;
  std::conditional_t<isShuffled, LookupTable<In, Out>, Steps> _fast;
};

}  // namespace NORV::TaviOperators::Impl
