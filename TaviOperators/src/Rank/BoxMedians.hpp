#pragma once

#include <Impl/Loops/View.hpp>
#include <Tavi/Types.hpp>

#include <Rank/BoxMedianPlan.hpp>
#include <Rank/KeyLanes.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace NORV::TaviOperators::Impl {

/// How rows are cut: into strips of whole vectors, of which all but the last voxels of the box give a median.
struct MedianStrips {
  SizeType vectors = 0;  ///< of a strip; 0 if the rows are too short
  SizeType length = 0;   ///< medians of a strip
  SizeType count = 0;

  MedianStrips(SizeType lanes, SizeType places, SizeType extent) {
    for (SizeType tried = 1; tried <= mostVectors && tried * lanes < places + extent; ++tried) {
      if (tried * lanes < extent) {
        continue;
      }
      const SizeType medians = tried * lanes - extent + 1, strips = (places + medians - 1) / medians;
      if (vectors == 0 || strips * tried <= count * vectors) {
        vectors = tried;
        length = medians;
        count = strips;
      }
    }
  }

  static constexpr SizeType mostVectors = 4;
};

/// The medians under a box, slice by slice, as one thread computes them. Rows are cut into strips, all lists of which
/// stay in the cache. Rows of both views are dense; they are seen as bytes, so this is compiled once per voxel size.
template <class Key>
class BoxMedians {
  using Lanes = KeyLanes<Key>;
  using V = typename Lanes::V;

public:
  static constexpr SizeType lanes = Lanes::count;

  /// `input` begins at the first voxel under the box at the first output voxel.
  BoxMedians(const BoxMedianPlan& plan, const KeyBits<Key>& bits, const View<const std::byte>& input,
             const View<std::byte>& output)
      : _plan(plan),
        _bits(bits),
        _input(input),
        _output(output),
        _strips(lanes, output.dimPrim, plan.extents()[0]) {
    for (std::size_t i = 0; i < plan.columns().size(); ++i) {
      const SortedLevel& level = plan.columns()[i];
      _columns.push_back(compile(plan.columns(), i, reserve(level.count * level.kept)));
    }
    for (std::size_t i = 0; i < plan.planes().size(); ++i) {
      _planes.push_back(compile(plan.planes(), i, i == 0 ? 0 : reserve(plan.planes()[i].count)));
    }
    forEachSortingComparator(plan.extents()[2], [this](std::size_t a, std::size_t b) {
      const auto low = static_cast<uint32>(a * stride()), high = static_cast<uint32>(b * stride());
      _sort.push_back({WirePlace::result, WirePlace::result, low, high, low, high});
    });
    _medians = reserve(1);
    reserve(plan.extents()[0] / (_strips.vectors * lanes) + 2);  // lists are read from any voxel on, past their end too
    _arena.resize(_size * sizeof(Key) / sizeof(Line) + 1);
  }

  /// Whether rows are long enough.
  static bool canRun(SizeType places, SizeType extent) { return MedianStrips(lanes, places, extent).vectors != 0; }

  /// How long this takes, in the unit of `HistogramUpdateOperator`.
  static double stepsPerVoxel(const BoxMedianPlan& plan) {
    const bool isCompiled = plan.extents() == std::array<SizeType, 3>{5, 5, 5};
    return (isCompiled ? 0.8 : 2.0) * static_cast<double>(plan.cost()) / static_cast<double>(lanes);
  }

  /// Writes one slice.
  void operator()(SizeType tert) {
    for (SizeType strip = 0; strip < _strips.count; ++strip) {
      const SizeType first = std::min(strip * _strips.length, _output.dimPrim - _strips.length);
      for (SizeType sec = 0; sec < _output.dimSec + _plan.extents()[1] - 1; ++sec) {
        readColumns(first, sec, tert);
        mergeColumns(sec);
        if (sec + 1 >= _plan.extents()[1]) {
          mergePlanes(sec);
          const auto* const medians = reinterpret_cast<const std::byte*>(arena() + _medians);
          std::memcpy(_output.row(sec + 1 - _plan.extents()[1], tert) + first * sizeof(Key), medians,
                      _strips.length * sizeof(Key));
        }
      }
    }
  }

private:
  struct alignas(64) Line {
    std::byte bytes[64];
  };
  /// A comparator on rows of vectors, by the distances of the rows from the beginning of their lists.
  struct Step {
    uint32 listA, listB, a, b, low, high;
  };
  using Compiled = void (*)(const Key*, const Key*, Key*, SizeType, SizeType);
  struct Level {
    std::vector<Step> steps;
    Compiled compiled;  ///< instead of the steps, or nullptr
    SizeType place;     ///< in the arena
  };

  Key* arena() { return reinterpret_cast<Key*>(_arena.data()); }
  SizeType stride() const { return (_strips.vectors + 1) * lanes; }
  SizeType reserve(SizeType rows) {
    const SizeType place = _size;
    _size += rows * stride();
    return place;
  }

  Level compile(const SortedLevels& levels, std::size_t index, SizeType place) const {
    const SortedLevel& level = levels[index];
    Level result{{}, nullptr, place};
    if (index == 0) {
      return result;
    }
    result.compiled = compiledMerge(levels[level.first].count, levels[level.second].count, level.needed);
    const auto at = [this](uint32 rank) { return static_cast<uint32>(rank * stride()); };
    for (const MergeStep& it : level.steps) {
      result.steps.push_back({it.a.list, it.b.list, at(it.a.rank), at(it.b.rank), at(it.low), at(it.high)});
    }
    return result;
  }

  /// Those of a box of 5 voxels along all axes; with many more wires than registers compiled code gains little.
  static Compiled compiledMerge(SizeType first, SizeType second, RankRange needed) {
    const auto is = [&](SizeType a, SizeType b, SizeType begin, SizeType end) {
      return first == a && second == b && needed.begin == begin && needed.end == end;
    };
    return is(5, 5, 0, 10)      ? &CompiledMerge<Lanes, 5, 5, 0, 10>::run
           : is(10, 5, 0, 15)   ? &CompiledMerge<Lanes, 10, 5, 0, 15>::run
           : is(15, 10, 0, 25)  ? &CompiledMerge<Lanes, 15, 10, 0, 25>::run
           : is(25, 25, 0, 50)  ? &CompiledMerge<Lanes, 25, 25, 0, 50>::run
           : is(50, 25, 12, 63) ? &CompiledMerge<Lanes, 50, 25, 12, 63>::run
                                : nullptr;
  }

  /// The list of a level of columns that begins at an input row.
  Key* columns(std::size_t level, SizeType sec) {
    const SortedLevel& it = _plan.columns()[level];
    return arena() + _columns[level].place + sec % it.kept * it.count * stride();
  }
  Key* planes(std::size_t level, SizeType sec) {
    return level == 0 ? columns(_plan.plane(), sec) : arena() + _planes[level].place;
  }

  void readColumns(SizeType prim, SizeType sec, SizeType tert) {
    Key* const to = columns(0, sec);
    const std::byte* const from = _input.row(sec, tert) + prim * sizeof(Key);
    switch (_plan.extents()[2]) {
      case 3:
        return sortColumns<3>(from, to);
      case 5:
        return sortColumns<5>(from, to);
      case 7:
        return sortColumns<7>(from, to);
      default:
        break;
    }
    for (SizeType i = 0; i < _plan.extents()[2]; ++i) {
      for (SizeType x = 0; x < _strips.vectors * lanes; x += lanes) {
        Lanes::store(loadVoxels(from, i, x), to + i * stride() + x);
      }
    }
    mergeInterpreted(_sort, to, to, to);
  }

  V loadVoxels(const std::byte* from, SizeType slice, SizeType x) const {
    return Lanes::loadVoxels(from + static_cast<int64>(slice) * _input.strideTert + x * sizeof(Key), _bits);
  }

  template <SizeType size>
  void sortColumns(const std::byte* from, Key* to) const {
    for (SizeType x = 0; x < _strips.vectors * lanes; x += lanes) {
      V wires[size];
      for (SizeType i = 0; i < size; ++i) {
        wires[i] = loadVoxels(from, i, x);
      }
      forEachSortingComparator(size, [&wires](std::size_t a, std::size_t b) {
        const V low = Lanes::min(wires[a], wires[b]);
        wires[b] = Lanes::max(wires[a], wires[b]);
        wires[a] = low;
      });
      for (SizeType i = 0; i < size; ++i) {
        Lanes::store(wires[i], to + i * stride() + x);
      }
    }
  }

  /// All lists of columns that end at this row.
  void mergeColumns(SizeType sec) {
    for (std::size_t i = 1; i < _columns.size(); ++i) {
      const SortedLevel& level = _plan.columns()[i];
      if (sec + 1 >= level.parts) {
        const SizeType first = sec + 1 - level.parts;
        merge(_columns[i], columns(level.first, first),
              columns(level.second, first + _plan.columns()[level.first].parts), columns(i, first));
      }
    }
  }

  /// All lists of planes that end at this row, and the medians.
  void mergePlanes(SizeType sec) {
    const SizeType first = sec + 1 - _plan.extents()[1];
    for (std::size_t i = 1; i < _planes.size(); ++i) {
      const SortedLevel& level = _plan.planes()[i];
      merge(_planes[i], planes(level.first, first), planes(level.second, first) + _plan.planes()[level.first].parts,
            planes(i, first));
    }
    select(planes(_plan.first(), first), planes(_plan.second(), first) + _plan.planes()[_plan.first()].parts);
  }

  void select(const Key* a, const Key* b) {
    V least[MedianStrips::mostVectors];
    for (V& it : least) {
      it = Lanes::set(std::numeric_limits<Key>::max());
    }
    constexpr uint32 none = BoxMedianPlan::Candidate::none;
    for (const auto& [first, second] : _plan.candidates()) {
      const Key *const inA = a + first * stride(), *const inB = b + second * stride();
      for (SizeType i = 0; i < _strips.vectors; ++i) {
        const V larger = first == none ? Lanes::loadUnaligned(inB + i * lanes)
                         : second == none
                             ? Lanes::load(inA + i * lanes)
                             : Lanes::max(Lanes::load(inA + i * lanes), Lanes::loadUnaligned(inB + i * lanes));
        least[i] = Lanes::min(least[i], larger);
      }
    }
    for (SizeType i = 0; i < _strips.vectors; ++i) {
      Lanes::storeVoxels(least[i], _bits, reinterpret_cast<std::byte*>(arena() + _medians + i * lanes));
    }
  }

  void merge(const Level& level, const Key* first, const Key* second, Key* result) const {
    if (level.compiled != nullptr) {
      level.compiled(first, second, result, stride(), _strips.vectors);
    } else {
      mergeInterpreted(level.steps, first, second, result);
    }
  }

  void mergeInterpreted(const std::vector<Step>& steps, const Key* first, const Key* second, Key* result) const {
    const std::array<const Key*, 3> lists{first, second, result};
    switch (_strips.vectors) {
      case 1:
        return mergeVectors<1>(steps, lists, result);
      case 2:
        return mergeVectors<2>(steps, lists, result);
      case 3:
        return mergeVectors<3>(steps, lists, result);
      default:
        return mergeVectors<4>(steps, lists, result);
    }
  }

  template <SizeType vectors>
  static void mergeVectors(const std::vector<Step>& steps, const std::array<const Key*, 3>& lists, Key* result) {
    for (const Step& step : steps) {
      const Key *const a = lists[step.listA] + step.a, *const b = lists[step.listB] + step.b;
      for (SizeType i = 0; i < vectors; ++i) {
        const V x = Lanes::loadUnaligned(a + i * lanes), y = Lanes::loadUnaligned(b + i * lanes);
        Lanes::store(Lanes::min(x, y), result + step.low + i * lanes);
        Lanes::store(Lanes::max(x, y), result + step.high + i * lanes);
      }
    }
  }

  const BoxMedianPlan& _plan;
  const KeyBits<Key> _bits;
  const View<const std::byte> _input;
  const View<std::byte> _output;
  const MedianStrips _strips;
  std::vector<Level> _columns, _planes;
  std::vector<Step> _sort;
  SizeType _medians = 0, _size = 0;
  std::vector<Line> _arena;
};

}  // namespace NORV::TaviOperators::Impl
