#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <deque>
#include <stdexcept>
#include <vector>

/// Watershed basins the plain way: the steps of the rule, one after the other, with a byte of status per voxel of a
/// padded volume and first-in first-out queues.
namespace NORV::Tests {

struct StatedBasins {
  std::vector<uint64> labels;  ///< prim fastest
  uint64 number = 0;           ///< highest label and one
};

/// Throws `std::overflow_error` where a label beyond `lastLabel` is needed. The lowest level is numbered by connected
/// components if `hasHugeMinimum`; that is the flooding of it, without its own progress.
template <class T>
class PlainFlooding {
public:
  PlainFlooding(const std::vector<T>& values, const std::array<uint64, 3>& extents, bool ignoresHighest,
                bool hasHugeMinimum, uint64 lastLabel)
      : _values(values),
        _extents(extents),
        _ignoresHighest(ignoresHighest),
        _hasHugeMinimum(hasHugeMinimum),
        _limit(lastLabel) {}

  StatedBasins run() {
    _result.labels.assign(_values.size(), 0);
    sort();
    findNeighbours();
    if (!_values.empty()) {
      floodLevels();
    }
    _result.number = _last + 1;
    return std::move(_result);
  }

private:
  struct Voxel {
    uint64 padded, plain;
  };

  void sort() {
    const uint64 width = _extents[0] + 2, height = _extents[1] + 2;
    const uint64 margin = _extents[2] == 1 ? 0 : 1;
    _status.assign(width * height * (_extents[2] + 2 * margin), 0);
    uint64 plain = 0;
    for (uint64 z = 0; z < _extents[2]; ++z) {
      for (uint64 y = 0; y < _extents[1]; ++y) {
        for (uint64 x = 0; x < _extents[0]; ++x) {
          _sorted.push_back({x + 1 + width * (y + 1 + height * (z + margin)), plain++});
        }
      }
    }
    std::stable_sort(_sorted.begin(), _sorted.end(),
                     [this](const Voxel& a, const Voxel& b) { return _values[a.plain] < _values[b.plain]; });
  }

  void findNeighbours() {
    const auto width = static_cast<int64>(_extents[0]), height = static_cast<int64>(_extents[1]);
    const int depth = _extents[2] == 1 ? 0 : 1;
    for (int z = -depth; z <= depth; ++z) {
      for (int y = -1; y <= 1; ++y) {
        for (int x = -1; x <= 1; ++x) {
          if (x != 0 || y != 0 || z != 0) {
            _paddedSteps.push_back(x + (width + 2) * (y + (height + 2) * z));
            _plainSteps.push_back(x + width * (y + height * z));
          }
        }
      }
    }
  }

  T valueOf(uint64 index) const { return _values[_sorted[index].plain]; }

  void floodLevels() {
    const uint64 count = _sorted.size();
    uint64 end = count;
    if (_ignoresHighest) {
      while (end > 0 && valueOf(end - 1) == valueOf(count - 1)) {
        --end;
      }
      if (end == 0 && valueOf(0) == 0) {
        end = count;  // no second value: the levels end at 0
      }
    }
    uint64 begin = 0;
    if (_hasHugeMinimum) {
      for (uint64 i = 0; i < count && valueOf(i) == valueOf(0); ++i) {
        _status[_sorted[i].padded] = 1;
        begin = i + 1;
      }
      newBasins(0, begin);
    }
    while (begin < end) {
      uint64 next = begin;
      while (next < end && valueOf(next) == valueOf(begin)) {
        ++next;
      }
      floodLevel(begin, next);
      begin = next;
    }
  }

  void floodLevel(uint64 begin, uint64 end) {
    std::deque<Voxel> round, deferred;
    for (uint64 i = begin; i < end; ++i) {
      const Voxel& p = _sorted[i];
      _status[p.padded] = 1;
      for (const int64 step : _paddedSteps) {
        if (_status[at(p.padded, step)] == 4) {
          round.push_back(p);
          _status[p.padded] = 2;
          break;
        }
      }
    }
    while (!round.empty()) {
      for (uint64 left = round.size(); left > 0; --left) {
        const Voxel p = round.front();
        round.pop_front();
        label(p, round);
        deferred.push_back(p);
        _status[p.padded] = 3;
      }
      for (; !deferred.empty(); deferred.pop_front()) {
        _status[deferred.front().padded] = 4;
      }
    }
    newBasins(begin, end);
  }

  void label(const Voxel& p, std::deque<Voxel>& round) {
    std::vector<uint64> list;
    for (std::size_t i = 0; i < _paddedSteps.size(); ++i) {
      const uint64 padded = at(p.padded, _paddedSteps[i]);
      if (_status[padded] == 4) {
        list.push_back(_result.labels[at(p.plain, _plainSteps[i])]);
      } else if (_status[padded] == 1) {
        round.push_back({padded, at(p.plain, _plainSteps[i])});
        _status[padded] = 2;
      }
    }
    uint64 best = 0;
    std::ptrdiff_t most = 0;
    for (const uint64 candidate : list) {
      const auto found = std::count(list.begin(), list.end(), candidate);
      if (found > most) {
        most = found;
        best = candidate;
      }
    }
    _result.labels[p.plain] = best;
  }

  void newBasins(uint64 begin, uint64 end) {
    std::deque<Voxel> queue;
    for (uint64 i = begin; i < end; ++i) {
      if (_status[_sorted[i].padded] != 1) {
        continue;
      }
      if (_last == _limit) {
        throw std::overflow_error("more basins than labels");
      }
      ++_last;
      _result.labels[_sorted[i].plain] = _last;
      _status[_sorted[i].padded] = 4;
      for (queue.push_back(_sorted[i]); !queue.empty(); queue.pop_front()) {
        const Voxel q = queue.front();
        for (std::size_t n = 0; n < _paddedSteps.size(); ++n) {
          const Voxel other{at(q.padded, _paddedSteps[n]), at(q.plain, _plainSteps[n])};
          if (_status[other.padded] == 1) {
            _status[other.padded] = 4;
            _result.labels[other.plain] = _last;
            queue.push_back(other);
          }
        }
      }
    }
  }

  static uint64 at(uint64 index, int64 step) { return static_cast<uint64>(static_cast<int64>(index) + step); }

  const std::vector<T>& _values;
  const std::array<uint64, 3> _extents;
  const bool _ignoresHighest, _hasHugeMinimum;
  const uint64 _limit;
  uint64 _last = 0;
  std::vector<Voxel> _sorted;
  std::vector<uint8> _status;
  std::vector<int64> _paddedSteps, _plainSteps;
  StatedBasins _result;
};

template <class T>
StatedBasins statedBasins(const std::vector<T>& values, const std::array<uint64, 3>& extents,
                          bool ignoresHighest = false, bool hasHugeMinimum = false, uint64 lastLabel = ~uint64{0}) {
  return PlainFlooding<T>(values, extents, ignoresHighest, hasHugeMinimum, lastLabel).run();
}

}  // namespace NORV::Tests
