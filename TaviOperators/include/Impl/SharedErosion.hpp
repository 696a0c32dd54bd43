#pragma once

#include <Impl/MinimumRows.hpp>
#include <Impl/StructuringElement.hpp>
#include <Impl/View.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <map>
#include <vector>

/// Erosion of whole numbers from parts that neighbouring positions share: chords of the element (minimums of some
/// voxels of one row, each from a shorter chord), its sections (of chords in one slice), and for a box windows over
/// rows and slices that double their length (M. van Herk, Pattern Recognition Letters 13, 1992, for the idea; E. R.
/// Urbach, M. H. F. Wilkinson, IEEE Trans. Image Processing 17, 2008, for chords). The order in which voxels are
/// compared is another one than that of the mask, so floating-point voxels cannot take this way.
namespace NORV::TaviOperators::Impl {

/// A window made of shorter ones of one length, which begin at `starts`.
struct WindowStep {
  std::vector<SizeType> starts;  ///< ascending from 0
  SizeType length;               ///< of the window

  SizeType reach() const { return starts.back(); }
};

/// From windows of `reached` voxels (rows, slices) to one of `length`; up to eight are combined at once.
inline std::vector<WindowStep> windowSteps(SizeType reached, SizeType length) {
  constexpr SizeType most = 8, growth = 4;
  std::vector<WindowStep> steps;
  while (reached < length) {
    const SizeType target = length <= most * reached ? length : growth * reached;
    WindowStep step{{}, target};
    for (SizeType start = 0; start < target - reached; start += reached) {
      step.starts.push_back(start);
    }
    step.starts.push_back(target - reached);
    steps.push_back(step);
    reached = target;
  }
  return steps;
}

/// What is shared, for one element.
class ErosionPlan {
public:
  struct Run {
    std::size_t chord;
    SizeType shift;  ///< from the first column of the element
    SizeType row;    ///< from its first row
  };
  using Section = std::vector<Run>;

  explicit ErosionPlan(const StructuringElement& element)
      : _count(element.count),
        _extents{element.extent(0), element.extent(1), element.extent(2)} {
    addChords(element);
    for (auto run = element.runs.begin(); run != element.runs.end();) {
      const int64 tert = run->tert;
      Section section;
      for (; run != element.runs.end() && run->tert == tert; ++run) {
        section.push_back({_ofLength.at(run->length), static_cast<SizeType>(run->begin - element.low[0]),
                           static_cast<SizeType>(run->sec - element.low[1])});
      }
      add(section, static_cast<SizeType>(tert - element.low[2]));
    }
  }

  /// The length of each, made of the one before it. The first one is the voxel itself.
  const std::vector<WindowStep>& chords() const { return _chords; }
  const std::vector<Section>& sections() const { return _sections; }
  /// For each section the slices of the element, from its first one, that look like it.
  const std::vector<std::vector<SizeType>>& slicesOf() const { return _slicesOf; }
  SizeType extent(std::size_t axis) const { return _extents[axis]; }
  bool isBox() const { return _count == _extents[0] * _extents[1] * _extents[2]; }

  /// Slices that each thread keeps.
  SizeType slicesKept() const {
    SizeType kept = isBox() ? 0 : std::bit_ceil(_extents[2]);
    for (const WindowStep& step : isBox() ? windowSteps(1, _extents[2]) : std::vector<WindowStep>()) {
      kept += std::bit_ceil(step.reach() + 1);
    }
    return kept;
  }

  /// Whether this is faster than to compare one element voxel after the other, by the rows that either reads and writes
  /// (benchmarks/Erosion.cpp shows where they meet), and takes little memory. Small pieces pay for their edges.
  bool pays(SizeType rows, SizeType slices, SizeType threads) const {
    constexpr SizeType alwaysKept = 64;
    if (slicesKept() > alwaysKept && slicesKept() * threads > slices) {
      return false;
    }
    const auto edge = [](SizeType extent, SizeType size) {
      return 1.0 + static_cast<double>(extent - 1) / static_cast<double>(std::max<SizeType>(1, size));
    };
    constexpr double write = 2.0;
    const auto costOf = [](const std::vector<WindowStep>& steps) {
      double cost = 0.0;
      for (const WindowStep& step : steps) {
        cost += static_cast<double>(step.starts.size()) + write;
      }
      return cost;
    };
    double cost = costOf(_chords) * edge(_extents[1], rows);
    if (isBox()) {
      cost += costOf(windowSteps(1, _extents[1])) + costOf(windowSteps(1, _extents[2]));
    } else {
      for (std::size_t i = 0; i < _sections.size(); ++i) {
        cost +=
            static_cast<double>(_sections[i].size()) + write + (2.0 + write) * static_cast<double>(_slicesOf[i].size());
      }
    }
    return cost * edge(_extents[2], slices / threads) < static_cast<double>(_count);
  }

private:
  void addChords(const StructuringElement& element) {
    _chords.push_back({{0}, 1});
    std::vector<SizeType> lengths;
    for (const ElementRun& run : element.runs) {
      lengths.push_back(run.length);
    }
    std::sort(lengths.begin(), lengths.end());
    for (const SizeType length : lengths) {
      for (const WindowStep& step : windowSteps(_chords.back().length, length)) {
        _chords.push_back(step);
      }
    }
    for (std::size_t i = 0; i < _chords.size(); ++i) {
      _ofLength[_chords[i].length] = i;
    }
  }

  void add(const Section& section, SizeType slice) {
    const auto isSame = [&section](const Section& other) {
      return std::equal(section.begin(), section.end(), other.begin(), other.end(), [](const Run& a, const Run& b) {
        return a.chord == b.chord && a.shift == b.shift && a.row == b.row;
      });
    };
    const auto known =
        static_cast<std::size_t>(std::find_if(_sections.begin(), _sections.end(), isSame) - _sections.begin());
    if (known == _sections.size()) {
      _sections.push_back(section);
      _slicesOf.emplace_back();
    }
    _slicesOf[known].push_back(slice);
  }

  SizeType _count;
  std::array<SizeType, 3> _extents;
  std::vector<WindowStep> _chords;
  std::map<SizeType, std::size_t> _ofLength;
  std::vector<Section> _sections;
  std::vector<std::vector<SizeType>> _slicesOf;
};

/// Rows or slices of rows, of which the latest ones are kept, rounded up to a power of two. Rows begin at cache lines.
template <class T>
class RowRing {
public:
  RowRing(SizeType kept, SizeType length, SizeType rowsOfSlice = 1)
      : _mask(std::bit_ceil(kept) - 1),
        _rows(rowsOfSlice),
        // One line more, as rows a power of two apart would share their place in the cache.
        _stride((length + perLine - 1) / perLine * perLine + perLine),
        _lines((_mask + 1) * rowsOfSlice * _stride / perLine) {}

  T* row(SizeType index, SizeType sec = 0) { return _lines.data()->voxels + ((index & _mask) * _rows + sec) * _stride; }

private:
  static constexpr SizeType perLine = 64 / sizeof(T);
  struct alignas(64) Line {
    T voxels[perLine];
  };
  SizeType _mask, _rows, _stride;
  std::vector<Line> _lines;
};

/// What one thread keeps while it erodes slice after slice: the chords of some rows, and slices. One that does not
/// follow the slice before it begins anew. Rows of both views are dense.
template <class T>
class SharedErosion {
public:
  /// `input` begins at the first voxel under the element at the first output voxel.
  SharedErosion(const ErosionPlan& plan, const View<const T>& input, const View<T>& output)
      : _plan(plan),
        _input(input),
        _output(output),
        _rowSteps(plan.isBox() ? windowSteps(1, plan.extent(1)) : std::vector<WindowStep>()),
        _sliceSteps(plan.isBox() ? windowSteps(1, plan.extent(2)) : std::vector<WindowStep>()),
        _section(1, output.dimPrim) {
    const SizeType inputLength = output.dimPrim + plan.extent(0) - 1, sliceRows = output.dimSec;
    for (std::size_t i = 1; i < plan.chords().size(); ++i) {
      _chords.emplace_back(plan.isBox() ? keptFor(_rowSteps, 0) : plan.extent(1), inputLength);
    }
    for (std::size_t i = 1; i < _rowSteps.size(); ++i) {
      _windows.emplace_back(keptFor(_rowSteps, i), output.dimPrim);
    }
    for (std::size_t i = 0; i < _sliceSteps.size(); ++i) {
      _planes.emplace_back(keptFor(_sliceSteps, i), output.dimPrim, sliceRows);
    }
    if (!plan.isBox() && plan.extent(2) > 1) {
      _planes.emplace_back(plan.extent(2), output.dimPrim, sliceRows);
    }
  }

  /// Writes one slice of the output.
  void erode(SizeType tert) {
    const SizeType last = tert + _plan.extent(2) - 1;
    if (_next != tert) {
      _first = tert;
      for (SizeType slice = tert; slice < last; ++slice) {
        read(slice, tert);
      }
    }
    read(last, tert);
    _next = tert + 1;
  }

private:
  static constexpr SizeType none = ~SizeType{0};

  /// How many windows of the length before step i must be kept for it.
  static SizeType keptFor(const std::vector<WindowStep>& steps, std::size_t i) {
    return i < steps.size() ? steps[i].reach() + 1 : 1;
  }

  /// Takes in a slice of the input, with output slice `tert` as the next one to be written.
  void read(SizeType slice, SizeType tert) {
    const SizeType rows = _output.dimSec + _plan.extent(1) - 1;
    for (SizeType row = 0; row < rows; ++row) {
      addChords(slice, row);
      if (_plan.isBox()) {
        addBoxRow(slice, row, tert);
      } else if (row + 1 >= _plan.extent(1)) {
        addSections(slice, row + 1 - _plan.extent(1), tert);
      }
    }
  }

  void addChords(SizeType slice, SizeType row) {
    const SizeType inputLength = _output.dimPrim + _plan.extent(0) - 1;
    for (std::size_t i = 1; i < _plan.chords().size(); ++i) {
      const WindowStep& chord = _plan.chords()[i];
      const T* const from = chordRow(i - 1, slice, row);
      _rows.clear();
      for (const SizeType start : chord.starts) {
        _rows.push_back(from + start);
      }
      combineRows(_chords[i - 1].row(row), inputLength - (chord.length - 1));
    }
  }
  const T* chordRow(std::size_t chord, SizeType slice, SizeType row) {
    return chord == 0 ? _input.row(row, slice) : _chords[chord - 1].row(row);
  }

  /// Windows of rows that end at this one, then of slices.
  void addBoxRow(SizeType slice, SizeType row, SizeType tert) {
    const std::size_t widest = _plan.chords().size() - 1;
    SizeType reach = 0;
    for (std::size_t i = 0; i < _rowSteps.size(); ++i) {
      reach += _rowSteps[i].reach();
      if (row < reach) {
        return;
      }
      _rows.clear();
      for (const SizeType start : _rowSteps[i].starts) {
        _rows.push_back(i == 0 ? chordRow(widest, slice, row - start) : _windows[i - 1].row(row - start));
      }
      combineRows(i + 1 == _rowSteps.size() ? rowOfPlane(slice, row - reach, tert) : _windows[i].row(row),
                  _output.dimPrim);
    }
    if (_rowSteps.empty()) {
      std::copy_n(chordRow(widest, slice, row), _output.dimPrim, rowOfPlane(slice, row, tert));
    }
    addToSlices(slice, row - reach, tert);
  }
  /// Where the windows over rows go: into the first plane, or for an element of one slice into the output.
  T* rowOfPlane(SizeType slice, SizeType sec, SizeType tert) {
    return _planes.empty() ? _output.row(sec, tert) : _planes[0].row(slice, sec);
  }

  void addToSlices(SizeType slice, SizeType sec, SizeType tert) {
    SizeType reach = 0;
    for (std::size_t i = 0; i < _sliceSteps.size(); ++i) {
      reach += _sliceSteps[i].reach();
      if (slice - _first < reach) {
        return;
      }
      _rows.clear();
      for (const SizeType start : _sliceSteps[i].starts) {
        _rows.push_back(_planes[i].row(slice - start, sec));
      }
      combineRows(i + 1 == _sliceSteps.size() ? _output.row(sec, tert) : _planes[i + 1].row(slice, sec),
                  _output.dimPrim);
    }
  }

  /// Each section of the element in this slice, at once for all output slices that it belongs to.
  void addSections(SizeType slice, SizeType sec, SizeType tert) {
    const SizeType depth = _plan.extent(2);
    for (std::size_t i = 0; i < _plan.sections().size(); ++i) {
      _rows.clear();
      for (const ErosionPlan::Run& run : _plan.sections()[i]) {
        _rows.push_back(chordRow(run.chord, slice, sec + run.row) + run.shift);
      }
      T* const section = depth == 1 ? _output.row(sec, tert) : _section.row(0);
      combineRows(section, _output.dimPrim);
      if (depth > 1) {
        for (const SizeType part : _plan.slicesOf()[i]) {
          if (slice >= tert + part) {  // otherwise it belongs to output slices that are written already
            contribute(section, part, slice - part, sec);
          }
        }
      }
    }
  }

  /// One slice of the element to the minimums of an output slice, which begin with its first slice.
  void contribute(const T* section, SizeType part, SizeType tert, SizeType sec) {
    T* const sum = _planes[0].row(tert, sec);
    if (part == 0) {
      std::copy_n(section, _output.dimPrim, sum);
    } else {
      _rows = {sum, section};
      combineRows(part + 1 == _plan.extent(2) ? _output.row(sec, tert) : sum, _output.dimPrim);
    }
  }

  /// The minimums of `_rows`.
  void combineRows(T* to, SizeType length) { minimumDense(RowList<T>{_rows.data()}, _rows.size(), to, length); }

  const ErosionPlan& _plan;
  View<const T> _input;
  View<T> _output;
  std::vector<WindowStep> _rowSteps, _sliceSteps;
  std::vector<RowRing<T>> _chords, _windows;
  std::vector<RowRing<T>> _planes;
  RowRing<T> _section;
  std::vector<const T*> _rows;
  SizeType _next = none;  // the output slice that needs only one more slice
  SizeType _first = 0;    // slice read since it began anew
};

}  // namespace NORV::TaviOperators::Impl
