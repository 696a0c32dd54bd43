#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/StreamingStore.hpp>

#include <Rank/MinimumRows.hpp>
#include <Rank/StructuringElement.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <map>
#include <type_traits>
#include <vector>

/// Erosion from parts that neighbouring positions share: chords of the element (minimums of some voxels of one row,
/// each from a shorter chord), its sections (of chords in one slice), and for a box windows over rows and slices that
/// double their length (M. van Herk, Pattern Recognition Letters 13, 1992, for the idea; E. R. Urbach, M. H. F.
/// Wilkinson, IEEE Trans. Image Processing 17, 2008, for chords). Parts are combined in the order of the mask, so that
/// of equal voxels, as zeros of both signs are, the last one results.
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
    friend bool operator==(const Run&, const Run&) = default;
  };
  using Section = std::vector<Run>;

  explicit ErosionPlan(const StructuringElement& element)
      : _count(element.count),
        _isBox(element.isBox()),
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
  bool isBox() const { return _isBox; }

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
    // Some volumes at the most: comparing all voxels of so deep an element would take hours.
    if (slicesKept() > alwaysKept && slicesKept() * threads > 4 * (slices + _extents[2])) {
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
    const auto known =
        static_cast<std::size_t>(std::find(_sections.begin(), _sections.end(), section) - _sections.begin());
    if (known == _sections.size()) {
      _sections.push_back(section);
      _slicesOf.emplace_back();
    }
    _slicesOf[known].push_back(slice);
  }

  SizeType _count;
  bool _isBox;
  std::array<SizeType, 3> _extents;
  std::vector<WindowStep> _chords;
  std::map<SizeType, std::size_t> _ofLength;
  std::vector<Section> _sections;
  std::vector<std::vector<SizeType>> _slicesOf;
};

/// Slices of rows with one stride, of which the latest ones are kept, rounded up to a power of two.
template <class T>
class SliceRing {
public:
  SliceRing(SizeType kept, SizeType voxels)
      : _mask(std::bit_ceil(kept) - 1),
        // One line more, as slices a power of two apart would share their place in the cache.
        _linesOfSlice((voxels + perLine - 1) / perLine + 1),
        _lines((_mask + 1) * _linesOfSlice) {}

  T* slice(SizeType index) { return (_lines.data() + (index & _mask) * _linesOfSlice)->voxels; }

private:
  static constexpr SizeType perLine = 64 / sizeof(T);
  struct alignas(64) Line {
    T voxels[perLine];
  };
  SizeType _mask, _linesOfSlice;
  std::vector<Line> _lines;
};

/// What one thread keeps while it erodes slice after slice. One that does not follow the slice before it begins anew.
/// Rows of both views are dense.
///
/// A slice goes through strip by strip, so that all parts of a strip stay in the cache. Where rows of the input follow
/// each other with little between them, a strip is combined as if it were one long row: rows alone are so short that it
/// is their ends that take the time. What is computed between rows is never used.
template <class T>
class SharedErosion {
public:
  /// `input` begins at the first voxel under the element at the first output voxel.
  SharedErosion(const ErosionPlan& plan, const View<const T>& input, const View<T>& output)
      : _plan(plan),
        _input(input),
        _output(output),
        _inputLength(output.dimPrim + plan.extent(0) - 1),
        _isLong(input.strideSec >= static_cast<int64>(_inputLength) &&
                input.strideSec <= static_cast<int64>(_inputLength + _inputLength / 2)),
        _stride(_isLong ? static_cast<SizeType>(input.strideSec) : _inputLength),
        _isStreamed(output.size() * sizeof(T) >= Tavi::Streaming::threshold),
        _outputRow(_isStreamed ? output.dimPrim : 0) {
    if (plan.isBox()) {
      _rowSteps = windowSteps(1, plan.extent(1));
      _sliceSteps = windowSteps(1, plan.extent(2));
    }
    const SizeType parts = plan.chords().size() + _rowSteps.size();
    const SizeType rowsInCache = cacheBytes / (parts * _stride * sizeof(T)) + 1;
    _stripRows = std::min(output.dimSec, std::max(rowsInCache, 4 * plan.extent(1)));
    for (SizeType i = 1; i < plan.chords().size(); ++i) {
      _chords.emplace_back(1, (_stripRows + plan.extent(1) - 1) * _stride);
    }
    for (SizeType i = 0; i < _rowSteps.size(); ++i) {
      _windows.emplace_back(1, (_stripRows + plan.extent(1) - 1) * _stride);
    }
    if (!plan.isBox()) {
      _section.emplace_back(1, _stripRows * _stride);
      _planes.emplace_back(plan.extent(2), output.dimSec * _stride);
    }
    for (const WindowStep& step : _sliceSteps) {
      _planes.emplace_back(step.reach() + 1, output.dimSec * _stride);
    }
  }

  /// Writes one slice of the output. Returns false if there is a NaN in the slices under the element; then the slice is
  /// to be eroded in another way.
  bool erode(SizeType tert) {
    const SizeType last = tert + _plan.extent(2) - 1;
    if (_next != tert) {
      _first = tert;
      _endOfNaN = 0;
      for (SizeType slice = tert; slice < last; ++slice) {
        read(slice, tert);
      }
    }
    read(last, tert);
    _next = tert + 1;
    if (_isStreamed) {
      Tavi::Streaming::finish();
    }
    return _endOfNaN <= tert;
  }

private:
  static constexpr SizeType none = ~SizeType{0};
  static constexpr SizeType cacheBytes = SizeType{1} << 17;

  /// Some rows of a slice; `first` is the first output row.
  struct Strip {
    SizeType slice, first, rows;
  };

  /// Takes in a slice of the input, with output slice `tert` as the next one to be written.
  void read(SizeType slice, SizeType tert) {
    for (SizeType first = 0; first < _output.dimSec; first += _stripRows) {
      const Strip strip{slice, first, std::min(_stripRows, _output.dimSec - first)};
      findNaN(strip);
      addChords(strip);
      if (_plan.isBox()) {
        addBox(strip, tert);
      } else {
        addSections(strip, tert);
      }
    }
  }

  /// Looks at the rows that are about to be combined: they are in the cache then.
  void findNaN(const Strip& strip) {
    if constexpr (std::is_floating_point_v<T>) {
      for (SizeType row = 0; row < strip.rows + _plan.extent(1) - 1; ++row) {
        if (hasNaN(_input.row(strip.first + row, strip.slice), _inputLength)) {
          _endOfNaN = strip.slice + 1;
        }
      }
    }
  }

  void addChords(const Strip& strip) {
    for (std::size_t i = 1; i < _plan.chords().size(); ++i) {
      const WindowStep& chord = _plan.chords()[i];
      _rows.clear();
      for (const SizeType start : chord.starts) {
        _rows.push_back({chordRows(i - 1, strip) + start, chordStride(i - 1)});
      }
      combine(_chords[i - 1].slice(0), _inputLength - (chord.length - 1), strip.rows + _plan.extent(1) - 1);
    }
  }
  const T* chordRows(std::size_t chord, const Strip& strip) {
    return chord == 0 ? _input.row(strip.first, strip.slice) : _chords[chord - 1].slice(0);
  }
  int64 chordStride(std::size_t chord) const { return chord == 0 ? _input.strideSec : static_cast<int64>(_stride); }

  /// Windows of more and more rows, then of slices. Where one has no further step it goes to the output.
  void addBox(const Strip& strip, SizeType tert) {
    const std::size_t widest = _plan.chords().size() - 1;
    const T* windows = chordRows(widest, strip);
    int64 stride = chordStride(widest);
    SizeType rows = strip.rows + _plan.extent(1) - 1;
    for (std::size_t i = 0; i < _rowSteps.size(); ++i) {
      _rows.clear();
      for (const SizeType start : _rowSteps[i].starts) {
        _rows.push_back({windows + static_cast<int64>(start) * stride, stride});
      }
      rows -= _rowSteps[i].reach();
      const bool goesToPlane = i + 1 == _rowSteps.size() && !_planes.empty();
      T* const to = goesToPlane ? planeRows(0, strip.slice, strip) : _windows[i].slice(0);
      combine(to, _output.dimPrim, rows);
      windows = to;
      stride = static_cast<int64>(_stride);
    }
    if (_planes.empty()) {
      _rows = {{windows, stride}};
      writeOutput(strip, tert);
      return;
    }
    if (_rowSteps.empty()) {
      _rows = {{windows, stride}};
      combine(planeRows(0, strip.slice, strip), _output.dimPrim, strip.rows);
    }
    addToSlices(strip, tert);
  }

  void addToSlices(const Strip& strip, SizeType tert) {
    SizeType reach = 0;
    for (std::size_t i = 0; i < _sliceSteps.size(); ++i) {
      reach += _sliceSteps[i].reach();
      if (strip.slice - _first < reach) {
        return;
      }
      _rows.clear();
      const auto& starts = _sliceSteps[i].starts;
      for (auto back = starts.rbegin(); back != starts.rend(); ++back) {  // from the first slice on
        _rows.push_back({planeRows(i, strip.slice - *back, strip), static_cast<int64>(_stride)});
      }
      if (i + 1 == _sliceSteps.size()) {
        writeOutput(strip, tert);
      } else {
        combine(planeRows(i + 1, strip.slice, strip), _output.dimPrim, strip.rows);
      }
    }
  }
  T* planeRows(std::size_t plane, SizeType slice, const Strip& strip) {
    return _planes[plane].slice(slice) + strip.first * _stride;
  }

  /// Each section of the element in this slice, at once for all output slices that it belongs to.
  void addSections(const Strip& strip, SizeType tert) {
    for (std::size_t i = 0; i < _plan.sections().size(); ++i) {
      _rows.clear();
      for (const ErosionPlan::Run& run : _plan.sections()[i]) {
        const int64 stride = chordStride(run.chord);
        _rows.push_back({chordRows(run.chord, strip) + static_cast<int64>(run.row) * stride + run.shift, stride});
      }
      combine(_section[0].slice(0), _output.dimPrim, strip.rows);
      for (const SizeType part : _plan.slicesOf()[i]) {
        if (strip.slice >= tert + part) {  // otherwise it belongs to output slices that are written already
          contribute(part, strip, tert);
        }
      }
    }
  }

  /// A section as slice `part` of the element to the minimums of an output slice, which begin with its first slice.
  void contribute(SizeType part, const Strip& strip, SizeType tert) {
    T* const sum = planeRows(0, strip.slice - part, strip);
    _rows.clear();
    if (part != 0) {
      _rows.push_back({sum, static_cast<int64>(_stride)});
    }
    _rows.push_back({_section[0].slice(0), static_cast<int64>(_stride)});
    if (part + 1 == _plan.extent(2)) {
      writeOutput(strip, tert);
    } else {
      combine(sum, _output.dimPrim, strip.rows);
    }
  }

  /// The minimums of `_rows`, into rows with the stride of all buffers.
  void combine(T* to, SizeType length, SizeType rows) {
    if (_isLong && rows > 0) {
      combineRow(0, to, (rows - 1) * _stride + length);
      return;
    }
    for (SizeType row = 0; row < rows; ++row) {
      combineRow(row, to + row * _stride, length);
    }
  }
  void writeOutput(const Strip& strip, SizeType tert) {
    const SizeType length = _output.dimPrim;
    for (SizeType row = 0; row < strip.rows; ++row) {
      T* const to = _output.row(strip.first + row, tert);
      if (_isStreamed) {
        combineRow(row, _outputRow.data(), length);
        Tavi::Streaming::copy(to, _outputRow.data(), length * sizeof(T));
      } else {
        combineRow(row, to, length);
      }
    }
  }
  void combineRow(SizeType row, T* to, SizeType length) {
    minimumDense(RowsOfStrip{&_rows, row}, _rows.size(), to, length);
  }

  struct Rows {
    const T* first;
    int64 stride;
  };
  struct RowsOfStrip {
    const std::vector<Rows>* rows;
    SizeType row;
    const T* operator()(SizeType i) const {
      const Rows& it = (*rows)[i];
      return it.first + static_cast<int64>(row) * it.stride;
    }
  };

  const ErosionPlan& _plan;
  View<const T> _input;
  View<T> _output;
  SizeType _inputLength;
  bool _isLong;
  SizeType _stride, _stripRows = 0;
  bool _isStreamed;  // past the cache, which the output would leave before it is read
  std::vector<T> _outputRow;
  std::vector<WindowStep> _rowSteps, _sliceSteps;
  std::vector<SliceRing<T>> _chords, _windows, _section, _planes;
  std::vector<Rows> _rows;
  SizeType _next = none;   // the output slice that needs only one more slice
  SizeType _first = 0;     // slice read since it began anew
  SizeType _endOfNaN = 0;  // behind the last slice with a NaN
};

}  // namespace NORV::TaviOperators::Impl
