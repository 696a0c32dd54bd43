#pragma once

#include <Impl/Frame/ThreadCount.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Operator.hpp>

#include <Reconstruction/PackedNeighbourhood.hpp>
#include <Reconstruction/PaddedVolume.hpp>
#include <Reconstruction/VoxelBits.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// Deletes simple border voxels of an object, from one side after the other, until no pass deletes one.
///
/// Whether a voxel is a candidate of a direction depends on its neighbourhood alone, so only voxels with a change among
/// their neighbours since the last pass of that direction are tested again. The changes of the last six passes are kept
/// as sets of bits, and which rows of the sets are not empty as flags.
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
        _candidates(object.size()),
        _candidatesOfSlice(object.extents().tert),
        _rowFlags(object.size() / static_cast<SizeType>(_strideSec)) {
    for (auto& changes : _changes) {
      changes.resize(object.size());
    }
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

  void findCandidates(int direction) {
    constexpr SizeType rowsWorthATeam = 256;
    const auto extents = _object.extents();
    const bool isWorthATeam = _pass < directions || _changedRows >= rowsWorthATeam;
    forEachSlice(_self, isWorthATeam ? _threads : 1, extents.tert, Steps::silent, [&](SizeType tert) {
      SizeType count = 0;
      for (SizeType sec = 0; sec < extents.sec; ++sec) {
        count += findInRow(_object.offset(0, sec, tert), direction);
      }
      _candidatesOfSlice[tert] = count;
    });
    _lastCandidates = 0;
    for (const SizeType count : _candidatesOfSlice) {
      _lastCandidates += count;
    }
  }

  SizeType findInRow(int64 first, int direction) {
    uint8& flags = flagsOf(first);
    const bool isFirstCycle = _pass < directions;
    std::array<const uint32*, directions> changes{};
    std::size_t sets = 0;
    for (std::size_t set = 0; set < directions; ++set) {
      if ((flags >> set & 1) != 0) {
        changes[sets++] = _changes[set].data() + first;
      }
    }
    if (sets == 0 && !isFirstCycle) {
      return 0;
    }
    SizeType count = 0;
    for (SizeType i = 0; i < _object.extents().prim; ++i) {
      uint32 changed = isFirstCycle ? ~uint32{0} : 0;
      for (std::size_t set = 0; set < sets; ++set) {
        changed |= changes[set][i];
      }
      const uint32* const word = _bits + first + i;
      const uint32 border = changed & *word & ~neighbours(word, direction);
      const uint32 found = border != 0 ? deletableOf(border, word) : 0;
      _candidates[static_cast<SizeType>(first) + i] = found;
      count += static_cast<SizeType>(std::popcount(found));
    }
    if (count > 0) {
      flags |= hasCandidates;
    }
    return count;
  }

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
    const auto set = static_cast<std::size_t>(_pass % directions);
    clearChanges(set);
    const auto extents = _object.extents();
    bool isAnyDeleted = false;
    for (SizeType tert = 0; tert < extents.tert; ++tert) {
      if (_candidatesOfSlice[tert] == 0) {
        continue;
      }
      for (SizeType sec = 0; sec < extents.sec; ++sec) {
        const int64 first = _object.offset(0, sec, tert);
        uint8& flags = flagsOf(first);
        if ((flags & hasCandidates) == 0) {
          continue;
        }
        flags = static_cast<uint8>(flags & ~hasCandidates);
        for (int64 offset = first; offset < first + static_cast<int64>(extents.prim); ++offset) {
          const uint32 candidates = _candidates[static_cast<SizeType>(offset)];
          if (candidates != 0) {
            isAnyDeleted = deleteInWord(offset, candidates, set) || isAnyDeleted;
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
        uint32* const word = _changes[set].data() + offset + tert + sec;
        word[-1] |= before;
        word[0] |= around;
        word[1] |= behind;
        flagsOf(offset + tert + sec) |= static_cast<uint8>(1 << set);
      }
    }
  }

  void clearChanges(std::size_t set) {
    const auto isIn = static_cast<uint8>(1 << set);
    _changedRows = 0;
    for (SizeType row = 0; row < _rowFlags.size(); ++row) {
      if ((_rowFlags[row] & isIn) != 0) {
        _rowFlags[row] = static_cast<uint8>(_rowFlags[row] & ~isIn);
        std::fill_n(_changes[set].data() + static_cast<int64>(row) * _strideSec, _strideSec, 0);
      }
      _changedRows += _rowFlags[row] != 0 ? 1u : 0u;
    }
  }

  uint8& flagsOf(int64 offset) { return _rowFlags[static_cast<SizeType>(offset / _strideSec)]; }

  OperatorBase& _self;
  const int _threads;
  const PaddedVolume<uint32>& _object;
  uint32* const _bits;
  const int64 _strideSec, _strideTert;
  std::vector<uint32> _candidates;
  std::vector<SizeType> _candidatesOfSlice;
  std::array<std::vector<uint32>, directions> _changes;  // of the passes in turn
  std::vector<uint8> _rowFlags;                          // of all rows, shell included
  SizeType _changedRows = 0;                             // of the five passes before the last
  SizeType _pass = 0;
  SizeType _lastCandidates = 0, _mostCandidates = 0;
  double _progress = 0.0;
};

}  // namespace NORV::TaviOperators::Impl
