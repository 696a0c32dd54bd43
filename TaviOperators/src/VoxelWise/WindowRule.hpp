#pragma once

#include <Tavi/Types.hpp>

#include <Vectors/Lanes.hpp>

#include <type_traits>
#include <utility>

/// Rules that map a window of grey values by real arithmetic and all values below and above it to one value each, as
/// stretches and scalings do. They are rules of Impl/Lanes.hpp that know more of themselves, which saves most of the
/// work: `between(lanes, x)` is the arithmetic alone, the floor of which is the result for each voxel of `window()`.
namespace NORV::TaviOperators::Impl {

/// The voxels from `first` to `last` are in the window, those below become `below` and those above `above`. A window
/// that is not `usable` says nothing: the whole rule must be asked about every voxel.
template <class In, class Out>
struct ValueWindow {
  bool usable = false;
  In first{}, last{};
  Out below{}, above{};
};

/// For `transformVoxels`. `Rule` also has `ValueWindow<In, Out> window() const` and `static constexpr bool meetsEnds`,
/// which says that `between` gives `below` for `first` and `above` for `last`.
///
/// Integer input of 8 or 16 bits: `between` of the window lies within (-2^22, 2^22); the output keeps the low bits.
/// Floating-point input: `between` meets the ends and stays between them; a NaN becomes `rule.ofNaN`.
template <class In, class Out, class Rule>
class WindowRule {
  using Real = typename Rule::Real;

public:
  explicit WindowRule(const Rule& rule) : _rule{rule}, _window(rule.window()) {}

  Out operator()(In x) const { return _rule(x); }

  void row(const In* input, Out* output, SizeType count) const {
    SizeType done = 0;
#ifdef TAVI_WIDE_VECTORS
    if (_window.usable) {
      if constexpr (std::is_floating_point_v<In>) {
        done = realRow(input, output, count);
      } else if constexpr (requires { _rule.rule.dividesModerately(); }) {
        done = integerRow<QuickLanes<Real>>(input, output, count);
      } else {
        done = integerRow<VectorLanes<Real>>(input, output, count);
      }
    }
#endif
    _rule.row(input + done, output + done, count - done);
  }

private:
#ifdef TAVI_WIDE_VECTORS
  /// Pairs of 16-bit voxels are taken apart into words and put together again, so that everything but the arithmetic is
  /// done on twice as many lanes. Returns how many voxels are done.
  template <class Lanes>
  SizeType integerRow(const In* input, Out* output, SizeType count) const {
    static_assert(std::is_same_v<Real, float32> && sizeof(In) <= 2 && sizeof(Out) <= 2);
    using Wide = std::conditional_t<std::is_signed_v<In>, int16, uint16>;
    const typename Lanes::Tag real;
    const hn::Repartition<int32, decltype(real)> words;
    const hn::Repartition<Wide, decltype(real)> wide;
    const hn::Repartition<uint16, decltype(real)> halves;
    const Rule rule = _rule.rule;
    const auto first = hn::Set(wide, Wide(_window.first)), last = hn::Set(wide, Wide(_window.last));
    // The low bits of a sum with this number, as it lies in memory, are those of the whole number added.
    const auto anchor = hn::Set(real, 12582912.0f);
    const auto mapped = [&](auto x) {
      const auto whole = hn::Floor(rule.between(Lanes(), hn::ConvertTo(real, x)));
      return hn::BitCast(words, hn::Add(whole, anchor));
    };
    const SizeType vectors = count - count % hn::Lanes(wide);
    for (SizeType done = 0; done < vectors; done += hn::Lanes(wide)) {
      const auto x = loadWide(wide, input + done);
      const auto inside = Rule::meetsEnds ? hn::Min(hn::Max(x, first), last) : x;
      const auto [even, odd] = pairs<Wide>(words, inside);
      auto y = hn::OddEven(hn::BitCast(halves, hn::ShiftLeft<16>(mapped(odd))), hn::BitCast(halves, mapped(even)));
      if constexpr (!Rule::meetsEnds) {
        const auto below = hn::Set(halves, static_cast<uint16>(_window.below));
        const auto above = hn::Set(halves, static_cast<uint16>(_window.above));
        y = hn::IfThenElse(hn::RebindMask(halves, hn::Lt(x, first)), below, y);
        y = hn::IfThenElse(hn::RebindMask(halves, hn::Gt(x, last)), above, y);
      }
      storeNarrow(halves, y, output + done);
    }
    return vectors;
  }

  /// The 16-bit voxels at the even and at the odd places of a vector, each as an integer of 32 bits.
  template <class Wide, class Tag, class V>
  static auto pairs(Tag words, V x) {
    if constexpr (std::is_signed_v<Wide>) {
      const auto both = hn::BitCast(words, x);
      return std::pair(hn::ShiftRight<16>(hn::ShiftLeft<16>(both)), hn::ShiftRight<16>(both));
    } else {
      const hn::RebindToUnsigned<Tag> bits;
      const auto both = hn::BitCast(bits, x);
      return std::pair(hn::BitCast(words, hn::And(both, hn::Set(bits, 0xFFFF))),
                       hn::BitCast(words, hn::ShiftRight<16>(both)));
    }
  }

  template <class Tag>
  static auto loadWide(Tag tag, const In* from) {
    if constexpr (sizeof(In) == 1) {
      return hn::PromoteTo(tag, hn::LoadU(hn::Rebind<In, Tag>(), from));
    } else {
      return hn::LoadU(tag, from);
    }
  }
  template <class Tag, class V>
  static void storeNarrow(Tag tag, V values, Out* to) {
    using Bits = std::make_unsigned_t<Out>;
    if constexpr (sizeof(Out) == 1) {
      const hn::Rebind<Bits, Tag> narrow;
      hn::StoreU(lowBits(narrow, values), narrow, reinterpret_cast<Bits*>(to));
    } else {
      hn::StoreU(values, tag, reinterpret_cast<Bits*>(to));
    }
  }

  /// Two vectors of results become one of integers before they shrink to voxels.
  SizeType realRow(const In* input, Out* output, SizeType count) const {
    static_assert(std::is_same_v<Real, float64> && std::is_unsigned_v<Out> && sizeof(Out) <= 2 && Rule::meetsEnds);
    using Lanes = VectorLanes<Real>;
    const typename Lanes::template Beside<int32> half;
    const hn::Twice<decltype(half)> whole;
    const hn::RebindToUnsigned<decltype(whole)> bits;
    const hn::Rebind<Out, decltype(whole)> out;
    const Rule rule = _rule.rule;
    const auto first = Lanes::set(_window.first), last = Lanes::set(_window.last), ofNaN = Lanes::set(rule.ofNaN);
    const auto mapped = [&](const In* from) {
      const auto x = Lanes::load(from);
      const auto y = rule.between(Lanes(), hn::Min(hn::Max(x, first), last));
      return hn::DemoteTo(half, Lanes::ifLessOrEqual(x, x, y, ofNaN));
    };
    const SizeType step = 2 * Lanes::count();
    const SizeType vectors = count - count % step;
    for (SizeType done = 0; done < vectors; done += step) {
      const auto y = hn::Combine(whole, mapped(input + done + Lanes::count()), mapped(input + done));
      hn::StoreU(lowBits(out, hn::BitCast(bits, y)), out, output + done);
    }
    return vectors;
  }
#endif

  LanewiseRule<In, Out, Rule> _rule;
  ValueWindow<In, Out> _window;
};

}  // namespace NORV::TaviOperators::Impl
