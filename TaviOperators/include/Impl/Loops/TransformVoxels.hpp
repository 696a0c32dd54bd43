#pragma once

#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/View.hpp>
#include <Tavi/StreamingStore.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <tuple>

/// Voxel-wise transforms of one or several inputs into an output: a rule on values is applied row by row. A rule may
/// also provide `void row(inputs..., output, count)` on dense rows, a faster way to the same voxels.
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
  constexpr SizeType blockBytes = 1024;
  constexpr SizeType block = blockBytes / sizeof(Out);
  alignas(Tavi::Streaming::lineBytes) std::array<Out, block> buffer;

  const auto misplaced = reinterpret_cast<std::uintptr_t>(output) % Tavi::Streaming::lineBytes;
  SizeType done =
      std::min<SizeType>(count, (Tavi::Streaming::lineBytes - misplaced) % Tavi::Streaming::lineBytes / sizeof(Out));
  transformRow(rule, output, done, inputs...);
  for (; count - done >= block; done += block) {
    transformRow(rule, buffer.data(), block, (inputs + done)...);
    Tavi::Streaming::storeLines(reinterpret_cast<std::byte*>(output + done),
                                reinterpret_cast<const std::byte*>(buffer.data()), blockBytes);
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

/// As `transformVoxels`, for inputs that share no memory with the output or are identical to it.
template <class Rule, class Out, class... In>
void transformKept(OperatorBase& self, int threads, Steps steps, Schedule schedule, const Rule& rule,
                   const View<Out>& output, const View<const In>&... inputs) {
  const bool denseRows = output.hasDenseRows() && (inputs.hasDenseRows() && ...);
  const bool denseSlices = output.hasDenseSlices() && (inputs.hasDenseSlices() && ...);
  const SizeType rows = denseSlices ? 1 : output.dimSec;
  const SizeType length = denseSlices ? output.dimPrim * output.dimSec : output.dimPrim;
  const bool streaming = denseRows && output.size() * sizeof(Out) >= Tavi::Streaming::threshold &&
                         length * sizeof(Out) >= 1024 && !(mayOverlap(output, inputs) || ...) &&
                         reinterpret_cast<std::uintptr_t>(output.data) % sizeof(Out) == 0;
  const auto slice = [&](SizeType tert) {
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
  };
  constexpr double nanosecondsPerVoxel = 0.2;  // some rules take longer, most less
  forEachSlice(self, threads, output.dimTert, steps, slice, schedule, LoopTime::of(output.size(), nanosecondsPerVoxel));
}

/// Writes `rule(inputs...)` to every voxel of `output`, in parallel over slices. All views have the same extents; an
/// input that overlaps the output otherwise than voxel by voxel is copied first. Large dense outputs that share no
/// voxel with an input are stored past the cache. Extra memory: none but for such a copy.
template <class Rule, class Out, class... In>
void transformVoxels(OperatorBase& self, int threads, Steps steps, Schedule schedule, const Rule& rule,
                     const View<Out>& output, const View<const In>&... inputs) {
  transformKept(self, threads, steps, schedule, rule, output,
                KeptInput<In>(self, threads, inputs, output, Aliasing::identical).view()...);
}

/// As above, with slices shared out evenly.
template <class Rule, class Out, class... In>
void transformVoxels(OperatorBase& self, int threads, Steps steps, const Rule& rule, const View<Out>& output,
                     const View<const In>&... inputs) {
  transformVoxels(self, threads, steps, Schedule::fixed, rule, output, inputs...);
}

}  // namespace NORV::TaviOperators::Impl
