#pragma once

#include <Impl/Loops/View.hpp>

#include <Reconstruction/NeighbourOffsets.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <type_traits>

#ifdef TAVI_USE_HIGHWAY
#include <hwy/highway.h>
#endif

/// Labels during a flooding, with the state of the voxels that have none yet in the same word, and the neighbourhoods
/// and runs of voxels in a padded volume of them.
namespace NORV::TaviOperators::Impl {

/// 0 is a voxel that was not visited, or the shell. A word below `fresh` is a label that neighbours see. Words from
/// `fresh` on are unseen: `fresh` itself waits for a label, `queued` is about to get one, the others are fresh labels.
template <class L>
struct FloodWords {
  static constexpr L fresh = L{1} << (8 * sizeof(L) - 1);
  static constexpr L waiting = fresh;
  static constexpr L queued = std::numeric_limits<L>::max();
  static constexpr L lastLabel = fresh - 2;

  static bool isSeen(L word) { return word != 0 && word < fresh; }
};

/// The voxels around a voxel as rows of three.
template <class L>
class Neighbourhood {
  using Words = FloodWords<L>;
  static constexpr std::size_t lanes = 4;  // three of a row and one that is ignored
  using Gathered = std::array<L, 9 * lanes>;

public:
  /// `end` is the end of the padded block. There is one row if the volume is a row, three if it is a slice, else nine.
  Neighbourhood(const L* end, const Strides& strides, int rows) : _rows(rows) {
    int row = 0;
    for (int tert = rows > 3 ? -1 : 0; tert <= (rows > 3 ? 1 : 0); ++tert) {
      for (int sec = rows > 1 ? -1 : 0; sec <= (rows > 1 ? 1 : 0); ++sec) {
        _offsets[static_cast<std::size_t>(row++)] = tert * strides.tert + sec * strides.sec - 1;
      }
    }
    for (std::size_t i = 0; i < 9; ++i) {
      _gatheredOffsets[i] = static_cast<int64>(i * lanes);
    }
    _lastWhole = end - 4 - _offsets[static_cast<std::size_t>(rows - 1)];
  }

  int rows() const { return _rows; }
  /// From a voxel to the first one of a row around it.
  int64 offset(int row) const { return _offsets[static_cast<std::size_t>(row)]; }

  void prefetch(const L* voxel) const {
    for (int row = 0; row < _rows; ++row) {
      __builtin_prefetch(voxel + offset(row));
    }
  }

  /// The label that most neighbours have, at equal counts the first of them; 0 if none has a label that is seen.
  L label(const L* voxel) const {
    return byRows(voxel, [](auto rows, const L* at, const int64* offsets) { return labelOf<rows>(at, offsets); });
  }

  /// Which voxels wait: bit 4 r + i is voxel i of row r.
  uint64 waiting(const L* voxel) const {
    return byRows(voxel, [](auto rows, const L* at, const int64* offsets) { return waitingOf<rows>(at, offsets); });
  }
  int64 distanceOfBit(int bit) const { return offset(bit / 4) + bit % 4; }

private:
  template <class Act>
  auto byRows(const L* voxel, const Act& act) const {
    Gathered gathered;
    const L* at = voxel;
    const int64* offsets = _offsets.data();
    if (voxel > _lastWhole) [[unlikely]] {  // a whole load of its last row would end behind the block
      gather(voxel, gathered);
      at = gathered.data();
      offsets = _gatheredOffsets.data();
    }
    if (_rows == 9) [[likely]] {
      return act(std::integral_constant<std::size_t, 9>(), at, offsets);
    }
    return _rows == 3 ? act(std::integral_constant<std::size_t, 3>(), at, offsets)
                      : act(std::integral_constant<std::size_t, 1>(), at, offsets);
  }

  [[gnu::cold, gnu::noinline]] void gather(const L* voxel, Gathered& gathered) const {
    gathered = {};
    for (int row = 0; row < _rows; ++row) {
      std::copy_n(voxel + offset(row), 3, gathered.begin() + row * 4);
    }
  }

#ifdef TAVI_USE_HIGHWAY
  template <std::size_t rows>
  static L labelOf(const L* voxel, const int64* offsets) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::CappedTag<L, lanes> tag;
    const hn::RebindToSigned<decltype(tag)> signs;
    const auto one = hn::Set(tag, L{1});
    auto highest = hn::Zero(signs);
    auto lowest = hn::Set(tag, std::numeric_limits<L>::max());
    HWY_UNROLL(9)
    for (std::size_t row = 0; row < rows; ++row) {
      const auto words = hn::LoadU(tag, voxel + offsets[row]);
      highest = hn::Max(highest, hn::BitCast(signs, words));
      lowest = hn::Min(lowest, hn::Sub(words, one));  // of words that are not seen at least that of `fresh`
    }
    const auto isOfRow = hn::FirstN(tag, 3);
    const auto most =
        static_cast<L>(hn::GetLane(hn::MaxOfLanes(tag, hn::IfThenElseZero(isOfRow, hn::BitCast(tag, highest)))));
    if (most == 0) {
      return 0;
    }
    const auto least =
        hn::GetLane(hn::MinOfLanes(tag, hn::IfThenElse(isOfRow, lowest, hn::Set(tag, std::numeric_limits<L>::max()))));
    return static_cast<L>(least + 1) == most ? most : mostFrequent<rows>(voxel, offsets);
  }

  template <std::size_t rows>
  static uint64 waitingOf(const L* voxel, const int64* offsets) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::CappedTag<L, lanes> tag;
    const auto wanted = hn::Set(tag, Words::waiting);
    auto isAny = hn::FirstN(tag, 0);
    HWY_UNROLL(9)
    for (std::size_t row = 0; row < rows; ++row) {
      isAny = hn::Or(isAny, hn::Eq(hn::LoadU(tag, voxel + offsets[row]), wanted));
    }
    uint64 bits = 0;
    if (!hn::AllFalse(tag, isAny)) {
      for (std::size_t row = 0; row < rows; ++row) {
        uint8 bytes[8] = {};
        hn::StoreMaskBits(tag, hn::Eq(hn::LoadU(tag, voxel + offsets[row]), wanted), bytes);
        bits |= (uint64{bytes[0]} & 7) << (row * lanes);
      }
    }
    return bits;
  }

  template <std::size_t rows>
  [[gnu::noinline]] static L mostFrequent(const L* voxel, const int64* offsets) {
    namespace hn = hwy::HWY_NAMESPACE;
    const hn::CappedTag<L, lanes> tag;
    const auto isOfRow = hn::FirstN(tag, 3);
    alignas(16) L labels[rows * lanes];
    for (std::size_t row = 0; row < rows; ++row) {
      const auto words = hn::LoadU(tag, voxel + offsets[row]);
      const auto isSeen = hn::And(isOfRow, hn::Lt(words, hn::Set(tag, Words::fresh)));
      hn::Store(hn::IfThenElseZero(isSeen, words), tag, labels + row * lanes);
    }
    return mostFrequentOf(labels, [&](L label) {
      const auto wanted = hn::Set(tag, label);
      auto found = hn::Zero(tag);
      for (std::size_t row = 0; row < rows; ++row) {
        const auto words = hn::Load(tag, labels + row * lanes);
        const auto isSame = hn::Eq(words, wanted);
        found = hn::Sub(found, hn::VecFromMask(tag, isSame));
        hn::Store(hn::IfThenZeroElse(isSame, words), tag, labels + row * lanes);
      }
      return static_cast<int>(hn::GetLane(hn::SumOfLanes(tag, found)));
    });
  }
#else
  template <std::size_t rows>
  static L labelOf(const L* voxel, const int64* offsets) {
    L labels[rows * lanes] = {};
    bool isAny = false;
    for (std::size_t row = 0; row < rows; ++row) {
      for (std::size_t i = 0; i < 3; ++i) {
        const L word = voxel[offsets[row] + i];
        labels[row * lanes + i] = Words::isSeen(word) ? word : L{0};
        isAny = isAny || Words::isSeen(word);
      }
    }
    return !isAny ? L{0} : mostFrequentOf(labels, [&](L label) {
      int found = 0;
      for (L& other : labels) {
        found += other == label ? 1 : 0;
        other = other == label ? L{0} : other;
      }
      return found;
    });
  }

  template <std::size_t rows>
  static uint64 waitingOf(const L* voxel, const int64* offsets) {
    uint64 bits = 0;
    for (std::size_t row = 0; row < rows; ++row) {
      for (std::size_t i = 0; i < 3; ++i) {
        bits |= static_cast<uint64>(voxel[offsets[row] + i] == Words::waiting) << (row * lanes + i);
      }
    }
    return bits;
  }
#endif

  /// `take(label)` counts the words of that label and clears them.
  template <std::size_t count, class Take>
  static L mostFrequentOf(const L (&labels)[count], const Take& take) {
    L best = 0;
    int most = 0;
    for (const L& label : labels) {
      if (label != 0) {
        const L candidate = label;
        const int found = take(candidate);
        if (found > most) {
          most = found;
          best = candidate;
        }
      }
    }
    return best;
  }

  std::array<int64, 9> _offsets{};
  std::array<int64, 9> _gatheredOffsets{};
  const L* _lastWhole = nullptr;
  int _rows;
};

/// Runs of voxels along the rows of a padded block.
template <class L>
class FloodRuns {
  using Words = FloodWords<L>;

public:
  explicit FloodRuns(L* end) : _end(end) {}

  /// The first word from `at` on that is not `word`. The shell ends every run.
  L* endOf(L* at, L word) const {
#ifdef TAVI_USE_HIGHWAY
    namespace hn = hwy::HWY_NAMESPACE;
    const Tag tag;
    const auto wanted = hn::Set(tag, word);
    while (_end - at >= step()) {
      const auto differs = hn::Ne(hn::LoadU(tag, at), wanted);
      if (!hn::AllFalse(tag, differs)) {
        return at + hn::FindKnownFirstTrue(tag, differs);
      }
      at += step();
    }
#endif
    while (at < _end && *at == word) {
      ++at;
    }
    return at;
  }

  /// The first voxel in [at, end) that waits, or `end`.
  L* findWaiting(L* at, L* end) const {
#ifdef TAVI_USE_HIGHWAY
    namespace hn = hwy::HWY_NAMESPACE;
    const Tag tag;
    const auto wanted = hn::Set(tag, Words::waiting);
    while (at < end && _end - at >= step()) {
      const auto isWaiting = hn::Eq(hn::LoadU(tag, at), wanted);
      if (!hn::AllFalse(tag, isWaiting)) {
        return std::min(end, at + hn::FindKnownFirstTrue(tag, isWaiting));
      }
      at += step();
    }
#endif
    while (at < end && *at != Words::waiting) {
      ++at;
    }
    return std::min(at, end);
  }

  /// Gives the waiting voxels from `at` on a label; returns the first voxel that does not wait.
  L* fill(L* at, L label) const {
    L* const end = endOf(at, Words::waiting);
    std::fill(at, end, label);
    return end;
  }

private:
#ifdef TAVI_USE_HIGHWAY
  using Tag = hwy::HWY_NAMESPACE::ScalableTag<L>;
  static int64 step() { return static_cast<int64>(hwy::HWY_NAMESPACE::Lanes(Tag())); }
#endif

  L* _end;
};

}  // namespace NORV::TaviOperators::Impl
