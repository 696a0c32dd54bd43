#pragma once

#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Frame/Unstoppable.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Operator.hpp>
#include <Tavi/Allocators.hpp>

#include <Reconstruction/PackedNeighbourhood.hpp>
#include <Reconstruction/PaddedVolume.hpp>
#include <Reconstruction/VoxelBits.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <memory>
#include <numeric>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// Deletes simple border voxels of an object, from one side after the other, until no pass deletes one.
///
/// Whether a voxel is a candidate of a direction depends on its neighbourhood alone, so only voxels with a change among
/// their neighbours since the last pass of that direction are tested again. The changes of the last six passes are kept
/// as sets of bits, and which words and rows of the sets are not empty as flags.
class ThinningPasses {
public:
  /// The object: words of bits with a shell of zeros.
  ThinningPasses(OperatorBase& self, int threads, PaddedVolume<uint32>& object)
      : _self(self),
        _threads(threads),
        _object(object),
        _bits(object.data()),
        _strideSec(object.strides().sec),
        _strideTert(object.strides().tert),
        _stateBlock(Tavi::Allocator::SingleBlockAllocator::allocate<WordState>({object.size(), 1, 1})),
        _states(_stateBlock.getData()),
        _candidatesOfSlice(object.extents().tert),
        _changedRowsOfSlice(object.extents().tert),
        _rowFlags(object.size() / static_cast<SizeType>(_strideSec)) {
    clearStates();
  }

  /// Ends early after an abort.
  void run() {
    _self.setTotal(wholeProgress);
    for (int quiet = 0; quiet < directions;) {
      quiet = 0;
      for (int direction = 0; direction < directions; ++direction) {
        reportProgress();
        if (_self.isAborted()) {
          return;
        }
        findCandidates(direction);
        quiet += deleteCandidates() ? 0 : 1;
        ++_pass;
      }
    }
  }

private:
  static constexpr int directions = 6;
  static constexpr uint8 hasCandidates = 1 << directions;  // the flags below it: has changes of that set

  /// What is kept of the voxels of a word, side by side as all of it is looked up together.
  struct alignas(32) WordState {
    std::array<uint32, directions> changes{};  ///< voxels with a change among their neighbours, for the passes in turn
    uint32 candidates = 0;
    uint8 flags = 0;  ///< which of the above may be set

    uint32 changed() const {
      uint32 all = 0;
      for (const uint32 set : changes) {
        all |= set;
      }
      return all;
    }
  };

  /// Fractions from 0 to 1 are multiples of 2^-53 here, so the steps hold them exactly.
  static constexpr SizeType wholeProgress = SizeType{1} << 53;

  /// By the share of candidates that have gone since the pass with the most; never back.
  void reportProgress() {
    _mostCandidates = std::max(_mostCandidates, _lastCandidates);
    if (_mostCandidates > 0) {
      const double share = 1.0 - static_cast<double>(_lastCandidates) / static_cast<double>(_mostCandidates);
      if (share > _progress) {
        _progress = share;
        _self.setDone(static_cast<SizeType>(share * static_cast<double>(wholeProgress)));
      }
    }
  }

  /// The neighbours of a word's voxels: -sec, +sec, -prim, +prim, -tert, +tert.
  uint32 neighbours(const uint32* word, int direction) const {
    switch (direction) {
      case 0:
        return word[-_strideSec];
      case 1:
        return word[_strideSec];
      case 2:
        return word[0] << 1 | word[-1] >> 31;
      case 3:
        return word[0] >> 1 | word[1] << 31;
      case 4:
        return word[-_strideTert];
      default:
        return word[_strideTert];
    }
  }

  /// By the threads that will use them, also after an abort.
  void clearStates() {
    Unstoppable unstoppable;
    const auto words = static_cast<SizeType>(_strideTert);
    forEachSlice(unstoppable, _threads, _object.size() / words, Steps::silent,
                 [&](SizeType slice) { std::uninitialized_fill_n(_states + slice * words, words, WordState()); });
  }

  void findCandidates(int direction) {
    constexpr SizeType rowsWorthATeam = 256;
    const auto extents = _object.extents();
    const bool isWorthATeam = _pass < directions || _changedRows >= rowsWorthATeam;
    const LoopTime time = isWorthATeam ? LoopTime() : LoopTime{0};
    forEachSlice(_self, _threads, extents.tert, Steps::silent, time, [&](SizeType tert) {
      SizeType count = 0, changedRows = 0;
      for (SizeType sec = 0; sec < extents.sec; ++sec) {
        const int64 row = _object.offset(0, sec, tert);
        count += findInRow(row, direction);
        changedRows += flagsOfRow(row) != 0 ? 1u : 0u;
      }
      _candidatesOfSlice[tert] = count;
      _changedRowsOfSlice[tert] = changedRows;
    });
    _lastCandidates = std::accumulate(_candidatesOfSlice.begin(), _candidatesOfSlice.end(), SizeType{0});
    _changedRows = std::accumulate(_changedRowsOfSlice.begin(), _changedRowsOfSlice.end(), SizeType{0});
  }

  /// Clears the oldest set of changes on the way, which takes those of this pass.
  SizeType findInRow(int64 first, int direction) {
    const bool isFirstCycle = _pass < directions;
    if (flagsOfRow(first) == 0 && !isFirstCycle) {
      return 0;
    }
    const std::size_t set = changesOfPass();
    const auto others = static_cast<uint8>(~(1 << set));
    SizeType count = 0;
    for (int64 offset = first; offset < first + static_cast<int64>(_object.extents().prim); ++offset) {
      WordState& state = stateOf(offset);
      if (state.flags == 0 && !isFirstCycle) {
        continue;
      }
      const uint32 changed = isFirstCycle ? ~uint32{0} : state.changed();
      state.changes[set] = 0;
      state.flags &= others;
      const uint32* const word = _bits + offset;
      const uint32 border = changed & *word & ~neighbours(word, direction);
      const uint32 found = border != 0 ? deletableOf(border, word) : 0;
      if (found != 0) {
        state.candidates = found;
        state.flags |= hasCandidates;
        count += static_cast<SizeType>(std::popcount(found));
      }
    }
    flagsOfRow(first) &= others;
    if (count > 0) {
      flagsOfRow(first) |= hasCandidates;
    }
    return count;
  }

  std::size_t changesOfPass() const { return static_cast<std::size_t>(_pass % directions); }

  uint32 deletableOf(uint32 border, const uint32* word) const {
    const NeighbourWindow window(word, _strideSec, _strideTert);
    uint32 found = 0;
    for (; border != 0; border &= border - 1) {
      const Neighbourhood n = window.at(static_cast<unsigned>(std::countr_zero(border)));
      if (!isEndPoint(n) && EulerChange::of(n) == 0 && isSimple(n)) {
        found |= border & (~border + 1);
      }
    }
    return found;
  }

  /// One voxel after the other, as each deletion may keep those after it. Returns whether any was deleted.
  bool deleteCandidates() {
    const std::size_t set = changesOfPass();
    const auto extents = _object.extents();
    bool isAnyDeleted = false;
    for (SizeType tert = 0; tert < extents.tert; ++tert) {
      if (_candidatesOfSlice[tert] == 0) {
        continue;
      }
      for (SizeType sec = 0; sec < extents.sec; ++sec) {
        const int64 first = _object.offset(0, sec, tert);
        if ((flagsOfRow(first) & hasCandidates) == 0) {
          continue;
        }
        flagsOfRow(first) &= static_cast<uint8>(~hasCandidates);
        for (int64 offset = first; offset < first + static_cast<int64>(extents.prim); ++offset) {
          WordState& state = stateOf(offset);
          if ((state.flags & hasCandidates) != 0) {
            state.flags &= static_cast<uint8>(~hasCandidates);
            isAnyDeleted = deleteInWord(offset, state.candidates, set) || isAnyDeleted;
          }
        }
      }
    }
    return isAnyDeleted;
  }

  bool deleteInWord(int64 offset, uint32 candidates, std::size_t set) {
    NeighbourWindow window(_bits + offset, _strideSec, _strideTert);
    uint32 deleted = 0;
    for (; candidates != 0; candidates &= candidates - 1) {
      const auto bit = static_cast<unsigned>(std::countr_zero(candidates));
      if (isSimple(window.at(bit))) {
        window.remove(bit);
        deleted |= uint32{1} << bit;
      }
    }
    if (deleted == 0) {
      return false;
    }
    _bits[offset] &= ~deleted;
    markChanges(offset, deleted, set);
    return true;
  }

  /// Adds all neighbours of the deleted voxels of a word.
  void markChanges(int64 offset, uint32 deleted, std::size_t set) {
    const uint32 around = deleted | deleted << 1 | deleted >> 1;
    const uint32 before = deleted << 31, behind = deleted >> 31;
    for (int64 tert = -_strideTert; tert <= _strideTert; tert += _strideTert) {
      for (int64 sec = -_strideSec; sec <= _strideSec; sec += _strideSec) {
        const int64 row = offset + tert + sec;
        flagsOfRow(row) |= static_cast<uint8>(1 << set);
        markWord(row, around, set);
        if (before != 0) {
          markWord(row - 1, before, set);
        }
        if (behind != 0) {
          markWord(row + 1, behind, set);
        }
      }
    }
  }
  void markWord(int64 offset, uint32 voxels, std::size_t set) {
    WordState& state = stateOf(offset);
    state.changes[set] |= voxels;
    state.flags |= static_cast<uint8>(1 << set);
  }

  WordState& stateOf(int64 offset) { return _states[offset]; }
  uint8& flagsOfRow(int64 offset) { return _rowFlags[static_cast<SizeType>(offset / _strideSec)]; }

  OperatorBase& _self;
  const int _threads;
  const PaddedVolume<uint32>& _object;
  uint32* const _bits;
  const int64 _strideSec, _strideTert;
  const Tavi::Allocator::Block<WordState> _stateBlock;  // of all words, shell included
  WordState* const _states;
  std::vector<SizeType> _candidatesOfSlice, _changedRowsOfSlice;
  std::vector<uint8> _rowFlags;  // those of the words of a row together
  SizeType _changedRows = 0;     // by the five passes before the last, or with candidates
  SizeType _pass = 0;
  SizeType _lastCandidates = 0, _mostCandidates = 0;
  double _progress = 0.0;
};

}  // namespace NORV::TaviOperators::Impl
