#pragma once

#include <Tavi/Types.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// Hands out voxels in descending order of their values, none of which may exceed that of the last one handed out.
///
/// A radix heap (R. K. Ahuja, K. Mehlhorn, J. B. Orlin, R. E. Tarjan, Journal of the ACM 37, 1990): an entry moves at
/// most once per bit of a value, whatever the range of the values. It keeps offsets only and reads values where they
/// are. A voxel may be raised while it is queued, provided that it is pushed again then; its first entry is dropped.
template <class T>
class DownhillQueue {
public:
  /// `values` is where offsets begin.
  explicit DownhillQueue(const T* values) : _values(values) {}

  void push(int64 offset) { _levels[levelOf(_values[offset])].push_back(offset); }

  /// The next voxel, or false if there is none.
  bool pop(int64& offset) {
    if (_levels[0].empty() && !descend()) {
      return false;
    }
    offset = _levels[0].back();
    _levels[0].pop_back();
    return true;
  }

private:
  /// By the highest bit in which a value differs from the current one.
  std::size_t levelOf(T value) const { return static_cast<std::size_t>(std::bit_width(T(value ^ _current))); }

  /// Goes down to the next value, whose entries become level 0.
  bool descend() {
    for (std::size_t level = 1; level < _levels.size(); ++level) {
      std::vector<int64>& entries = _levels[level];
      bool isFound = false;
      T next = 0;
      for (const int64 offset : entries) {
        const T value = _values[offset];
        if (value < _current) {  // otherwise it was raised, and handed out by another entry
          next = std::max(next, value);
          isFound = true;
        }
      }
      if (isFound) {
        spread(entries, next);
        return true;
      }
      entries.clear();
    }
    return false;
  }

  /// Entries of a level lie below the levels before it, which are empty.
  void spread(std::vector<int64>& entries, T next) {
    _moving.clear();
    _moving.swap(entries);
    _current = next;
    for (const int64 offset : _moving) {
      if (_values[offset] <= next) {
        push(offset);
      }
    }
  }

  const T* _values;
  T _current = std::numeric_limits<T>::max();
  std::array<std::vector<int64>, std::numeric_limits<T>::digits + 1> _levels;
  std::vector<int64> _moving;
};

}  // namespace NORV::TaviOperators::Impl
