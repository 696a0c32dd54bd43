#pragma once

#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/PerThread.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/Tiles.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/StreamingStore.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <tuple>
#include <utility>

/// Voxel-wise transforms in the order of memory, of inputs that do not change while the output is written.
namespace NORV::TaviOperators::Impl {

/// The loop that the compiler vectorises, once for all its callers. In place is allowed: `output` may be one of the
/// inputs.
template <class Rule, class Out, class... In>
[[gnu::noinline]] void transformRow(const Rule& rule, Out* output, SizeType count, const In*... inputs) {
  if constexpr (requires { rule.row(inputs..., output, count); }) {
    rule.row(inputs..., output, count);
  } else {
    for (SizeType i = 0; i < count; ++i) {
      output[i] = rule(inputs[i]...);
    }
  }
}

/// As `transformRow`, past the cache: blocks are computed into a buffer that stays in the first cache level. As
/// measured, long blocks let the input wait while the output drains (4 KiB: 85 % of the rate of 1 KiB), shorter ones
/// gain nothing.
template <class Rule, class Out, class... In>
void transformRowStreaming(const Rule& rule, Out* output, SizeType count, const In*... inputs) {
  constexpr SizeType blockBytes = 1024, line = Tavi::Streaming::lineBytes;
  constexpr SizeType block = blockBytes / sizeof(Out);
  alignas(line) std::array<Out, block> buffer;

  const auto misplaced = reinterpret_cast<std::uintptr_t>(output) % line;
  SizeType done = std::min<SizeType>(count, (line - misplaced) % line / sizeof(Out));
  transformRow(rule, output, done, inputs...);
  while (count - done >= line / sizeof(Out)) {
    const SizeType piece = std::min(block, (count - done) * sizeof(Out) / line * (line / sizeof(Out)));
    transformRow(rule, buffer.data(), piece, (inputs + done)...);
    Tavi::Streaming::storeLines(reinterpret_cast<std::byte*>(output + done),
                                reinterpret_cast<const std::byte*>(buffer.data()), piece * sizeof(Out));
    done += piece;
  }
  transformRow(rule, output + done, count - done, (inputs + done)...);
}

template <class Rule, class Out, class... In>
void transformStrided(const Rule& rule, const View<Out>& output, SizeType sec, SizeType tert,
                      const View<const In>&... inputs) {
  Out* to = output.row(sec, tert);
  std::tuple<const In*...> from(inputs.row(sec, tert)...);
  for (SizeType prim = 0; prim < output.dimPrim; ++prim) {
    *to = std::apply([&rule](const In*... voxels) { return rule(*voxels...); }, from);
    to += output.stridePrim;
    std::apply([&](const In*&... voxels) { ((voxels += inputs.stridePrim), ...); }, from);
  }
}

/// Where and how a transform runs; `slices` of the view are its steps, whatever the parts of the loop.
struct TransformRun {
  OperatorBase& self;
  int threads;
  Steps steps;
  Schedule schedule;
  SizeType slices;
  LoopTime time;

  template <class Body>
  void forEachPart(SizeType parts, const Body& body) const {
    forEachPartOf(self, threads, parts, slices, steps, body, schedule, time);
  }
};

/// Rows that lie dense in memory, or an output none of whose axes does.
template <class Rule, class Out, class... In>
void transformRows(const TransformRun& run, const Rule& rule, const View<Out>& output, bool isLarge,
                   const View<const In>&... inputs) {
  const bool denseRows = output.hasDenseRows() && (inputs.hasDenseRows() && ...);
  const bool denseSlices = output.hasDenseSlices() && (inputs.hasDenseSlices() && ...);
  const SizeType rows = denseSlices ? 1 : output.dimSec;
  const SizeType length = denseSlices ? output.dimPrim * output.dimSec : output.dimPrim;
  const bool streaming = denseRows && isLarge && length * sizeof(Out) >= 1024;
  run.forEachPart(output.dimTert, [&](SizeType tert) {
    for (SizeType sec = 0; sec < rows; ++sec) {
      if (streaming) {
        transformRowStreaming(rule, output.row(sec, tert), length, inputs.row(sec, tert)...);
      } else if (denseRows) {
        transformRow(rule, output.row(sec, tert), length, inputs.row(sec, tert)...);
      } else {
        transformStrided(rule, output, sec, tert, inputs...);
      }
    }
    if (streaming) {
      Tavi::Streaming::finish();
    }
  });
}

/// Dense rows of an output from inputs some of which are reversed or lie along another axis.
template <class Rule, class Out, class... In>
void transformTiles(const TransformRun& run, const Rule& rule, const View<Out>& output, bool isLarge,
                    const View<const In>&... views) {
  const std::tuple<Tiles::Input<In>...> prepared(Tiles::Input<In>{views}...);
  const auto [isTransposed, shape, bytes] = std::apply(
      [&](const auto&... inputs) {
        const bool isAny = (inputs.isTransposed() || ...);
        const auto tile = Tiles::Shape::of(isAny, std::max({sizeof(In)...}));
        return std::tuple(isAny, tile, (inputs.bytes(tile) + ...));
      },
      prepared);
  const SizeType rowsOfPart = isTransposed ? shape.rows : output.dimSec;
  const SizeType partsOfSlice = (output.dimSec + rowsOfPart - 1) / rowsOfPart;
  PerThread<std::unique_ptr<std::byte[]>> buffers(
      run.threads, output.dimTert * partsOfSlice,
      [size = bytes] { return std::make_unique_for_overwrite<std::byte[]>(size); }, run.time);

  constexpr SizeType leastBytes = 256;  // of a row, for it to be stored past the cache
  const bool streaming = isLarge && output.dimPrim * sizeof(Out) >= leastBytes;
  const auto transformTile = [&](const Tiles::Place& place, const auto&... inputs) {
    for (SizeType row = 0; row < place.rows; ++row) {
      Out* const to = output.row(place.sec + row, place.tert) + place.prim;
      if (streaming) {
        transformRowStreaming(rule, to, place.columns, inputs.row(row)...);
      } else {
        transformRow(rule, to, place.columns, inputs.row(row)...);
      }
    }
  };
  const auto transformPart = [&, tile = shape](SizeType part, auto&... inputs) {
    std::byte* buffer = buffers.mine().get();
    ((inputs.setBuffer(buffer, tile), buffer += inputs.bytes(tile)), ...);
    const SizeType first = part % partsOfSlice * rowsOfPart, end = std::min(output.dimSec, first + rowsOfPart);
    for (SizeType sec = first; sec < end; sec += tile.rows) {
      for (SizeType prim = 0; prim < output.dimPrim; prim += tile.columns) {
        const Tiles::Place place{prim, sec, part / partsOfSlice, std::min(tile.columns, output.dimPrim - prim),
                                 std::min(tile.rows, end - sec)};
        (inputs.load(place), ...);
        transformTile(place, inputs...);
      }
    }
    if (streaming) {
      Tavi::Streaming::finish();
    }
  };
  run.forEachPart(output.dimTert * partsOfSlice, [&](SizeType part) {
    auto mine = prepared;
    std::apply([&](auto&... inputs) { transformPart(part, inputs...); }, mine);
  });
}

/// Writes `rule(inputs...)` to every voxel of `output`. The axes of all views are in their common order; the inputs
/// share no memory with the output or are identical to it.
template <class Rule, class Out, class... In>
void transformArranged(const TransformRun& run, const Rule& rule, const View<Out>& output,
                       const View<const In>&... inputs) {
  const bool isLarge = output.size() * sizeof(Out) >= Tavi::Streaming::threshold &&
                       !(mayOverlap(output, inputs) || ...) &&
                       reinterpret_cast<std::uintptr_t>(output.data) % sizeof(Out) == 0;
  if constexpr (sizeof...(In) != 0) {
    if (output.hasDenseRows() && !(inputs.hasDenseRows() && ...)) {
      transformTiles(run, rule, output, isLarge, inputs...);
      return;
    }
  }
  transformRows(run, rule, output, isLarge, inputs...);
}

}  // namespace NORV::TaviOperators::Impl
