#pragma once

#include <Impl/Loops/SliceLoop.hpp>
#include <Queue.hpp>
#include <Tavi/Exceptions.hpp>

#include <Reconstruction/FloodLabels.hpp>
#include <Reconstruction/LevelOrder.hpp>
#include <Reconstruction/PaddedVolume.hpp>

#include <algorithm>
#include <bit>
#include <memory>

namespace NORV::TaviOperators::Impl {

/// Floods a relief level by level: labels of words `L` in a padded volume, voxels as offsets from its first interior
/// voxel.
///
/// A round labels the voxels of the level that have a neighbour with a label of an earlier round. Which voxels these
/// are is found from all voxels left, or from those that the last round has labelled where these are few. So the work
/// is linear in the voxels, and only short queues are needed.
///
/// Memory beyond labels and order: a label for each 16 voxels, and two queues that begin with room for each 20th voxel.
template <class L, class Offset>
class Immersion {
  using Words = FloodWords<L>;

public:
  /// Labels go up to `limit`, the largest value of the output's voxel type.
  Immersion(OperatorBase& self, int threads, PaddedVolume<L>& labels, int rows, SizeType limit)
      : _self(self),
        _threads(threads),
        _first(labels.interior().data),
        _end(labels.data() + labels.size()),
        _around(_end, labels.strides(), rows),
        _runs(_end),
        _limit(std::min<SizeType>(limit, Words::lastLabel)),
        _front(share(labels), share(labels)),
        _next(share(labels), share(labels)),
        _batch(std::clamp<SizeType>(labels.extents().size() / 16, smallestBatch, largestBatch)) {}

  SizeType lastLabel() const { return _lastLabel; }
  void setLastLabel(SizeType label) { _lastLabel = label; }

  /// A basin for each connected set of waiting voxels, in scan order.
  void floodWaiting() {
    L* at = _first;
    while (!_self.isAborted() && (at = _runs.findWaiting(at, _end)) != _end) {
      beginBasin(at);
    }
  }

  /// The voxels of one level; the order of `level` is lost.
  void floodLevel(Offset* level, SizeType count) {
    level[0] &= static_cast<Offset>(~LevelOrder<Offset>::levelBegin);
    SizeType left = count;
    while (left > 0) {
      const SizeType labelled = floodRound(level, left);
      if (_self.isAborted()) {
        return;
      }
      if (labelled == 0) {
        break;
      }
      left -= labelled;
      if (isFew(labelled, left)) {
        const bool isDone = followFront(left);
        if (_self.isAborted()) {
          return;
        }
        left = keepWaiting(level, left);
        if (isDone) {
          break;
        }
      }
    }
    for (SizeType i = 0; i < left && !_self.isAborted(); ++i) {
      L* const voxel = _first + level[i];
      if (*voxel == Words::waiting) {
        beginBasin(voxel);
      }
    }
  }

private:
  static constexpr SizeType smallestBatch = 256, largestBatch = 65536;  // the found labels stay in the cache
  static constexpr SizeType part = 4096;                                // of a batch, for one thread

  static constexpr SizeType ahead = 8;  // voxels whose neighbours are on their way from memory

  static SizeType share(const PaddedVolume<L>& labels) { return labels.extents().size() / 20; }
  static bool isFew(SizeType labelled, SizeType left) { return labelled < left / 16; }

  /// Labels the voxels that have a labelled neighbour, keeps the others in their order at the front of the list, where
  /// they wait. Returns how many were labelled; where these are few, they are queued as the front.
  SizeType floodRound(Offset* voxels, SizeType count) {
    if (_found == nullptr) {
      _found = std::make_unique_for_overwrite<L[]>(_batch);
    }
    // Labels of a batch are unseen until all batches have been looked at; a single batch has been.
    const L mark = count <= _batch ? L{0} : Words::fresh;
    SizeType labelled = 0, kept = 0;
    for (SizeType begin = 0; begin < count; begin += _batch) {
      const SizeType size = std::min(_batch, count - begin);
      findLabels(voxels + begin, size);
      if (_self.isAborted()) {
        return 0;
      }
      for (SizeType i = 0; i < size; ++i) {
        const L label = _found[i];
        _first[voxels[begin + i]] = label != 0 ? static_cast<L>(label | mark) : Words::waiting;
        labelled += label != 0 ? 1 : 0;
      }
    }
    if (labelled == 0) {
      return 0;
    }
    const bool isFront = isFew(labelled, count - labelled);
    for (SizeType i = 0; i < count; ++i) {
      const Offset at = voxels[i];
      L& word = _first[at];
      if (word == Words::waiting) {
        voxels[kept++] = at;
      } else {
        word = static_cast<L>(word & ~Words::fresh);
        if (isFront) {
          _front.push(at);
        }
      }
    }
    return labelled;
  }

  void findLabels(const Offset* voxels, SizeType count) {
    const auto findPart = [&](SizeType begin, SizeType end) {
      for (SizeType i = begin; i < end && !_self.isAborted(); ++i) {
        _around.prefetch(_first + voxels[std::min(i + ahead, end - 1)]);
        _found[i] = _around.label(_first + voxels[i]);
      }
    };
    if (count <= part || _threads == 1) {
      findPart(0, count);
    } else {
      forEachSlice(_self, _threads, (count + part - 1) / part, Steps::silent,
                   [&](SizeType i) { findPart(i * part, std::min(count, (i + 1) * part)); });
    }
  }

  /// Goes on from the voxels in the front, round by round, until no voxel is reached, or the front is not small any
  /// more. Returns whether no voxel is reached.
  bool followFront(SizeType left) {
    while (!_front.empty()) {
      if (_front.size() > std::max<SizeType>(64, left / 8)) {
        _front.clear();
        return false;
      }
      while (!_front.empty() && !_self.isAborted()) {
        queueWaiting(_first + _front.pop());
      }
      for (SizeType i = _next.size(); i > 0 && !_self.isAborted(); --i) {
        const Offset at = _next.pop();
        _first[at] = static_cast<L>(_around.label(_first + at) | Words::fresh);
        _front.push(at);
      }
      if (_self.isAborted()) {
        return true;
      }
      for (SizeType i = _front.size(); i > 0; --i) {
        const Offset at = _front.pop();
        _first[at] = static_cast<L>(_first[at] & ~Words::fresh);
        _front.push(at);
      }
    }
    return true;
  }

  void queueWaiting(L* voxel) {
    for (uint64 bits = _around.waiting(voxel); bits != 0; bits &= bits - 1) {
      L* const neighbour = voxel + _around.distanceOfBit(std::countr_zero(bits));
      *neighbour = Words::queued;
      _next.push(static_cast<Offset>(neighbour - _first));
    }
  }

  SizeType keepWaiting(Offset* voxels, SizeType count) {
    SizeType kept = 0;
    for (SizeType i = 0; i < count; ++i) {
      if (_first[voxels[i]] == Words::waiting) {
        voxels[kept++] = voxels[i];
      }
    }
    return kept;
  }

  void beginBasin(L* voxel) {
    if (_lastLabel == _limit) {
      throw Exceptions::NumericalOverflow("NORV::TaviOperators::WatershedTransform::Operator::apply");
    }
    const L label = static_cast<L>(++_lastLabel);
    if ((_around.waiting(voxel) & ~bitOfCentre()) == 0) {
      *voxel = label;
      return;
    }
    floodRun(voxel, label);
    while (!_next.empty() && !_self.isAborted()) {
      L* const begin = _first + _next.pop();
      L* const end = _runs.endOf(begin, label);
      for (int row = 0; row < _around.rows(); ++row) {
        if (row != _around.rows() / 2) {
          L* const first = begin + _around.offset(row);
          floodRuns(first, first + (end - begin) + 2, label);
        }
      }
    }
  }

  /// The runs of waiting voxels that touch [first, last).
  void floodRuns(L* first, L* last, L label) {
    L* at = first;
    while ((at = _runs.findWaiting(at, last)) != last) {
      at = floodRun(at, label);
      if (at >= last) {
        return;
      }
    }
  }

  /// The run around a waiting voxel. Returns its end.
  L* floodRun(L* voxel, L label) {
    while (voxel[-1] == Words::waiting) {
      --voxel;
    }
    _next.push(static_cast<Offset>(voxel - _first));
    return _runs.fill(voxel, label);
  }

  uint64 bitOfCentre() const { return uint64{2} << (4 * (_around.rows() / 2)); }

  OperatorBase& _self;
  const int _threads;
  L* const _first;
  L* const _end;
  const Neighbourhood<L> _around;
  const FloodRuns<L> _runs;
  const SizeType _limit;
  SizeType _lastLabel = 0;
  std::unique_ptr<L[]> _found;
  Queue<Offset> _front, _next;  // _next also holds the runs of a basin
  const SizeType _batch;
};

}  // namespace NORV::TaviOperators::Impl
