#pragma once

#include <Impl/Loops/AxisOrder.hpp>
#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/SliceLoop.hpp>
#include <Impl/Loops/Tiles.hpp>
#include <Impl/Loops/TransformArranged.hpp>
#include <Impl/Loops/View.hpp>

/// Voxel-wise transforms of one or several inputs into an output: a rule on values is applied row by row. A rule may
/// also provide `void row(inputs..., output, count)` on dense rows, a faster way to the same voxels.
namespace NORV::TaviOperators::Impl {

/// Writes `rule(inputs...)` to every voxel of `output`, in parallel. All views have the same extents, and any regions
/// and orientations: voxels are visited in the order in which the output lies in memory, and the rows of an input that
/// lies otherwise are gathered in tiles. An input that overlaps the output otherwise than voxel by voxel is copied
/// first, and one of two that are dense along different axes than the output. Large outputs that share no voxel with an
/// input are stored past the cache. Each slice of the views is a step.
///
/// Extra memory: none but for such a copy, and 80 KiB per thread and input that is gathered.
template <class Rule, class Out, class... In>
void transformVoxels(OperatorBase& self, int threads, Steps steps, Schedule schedule, const Rule& rule,
                     const View<Out>& output, const View<const In>&... inputs) {
  const AxisOrder order = commonOrder(output, inputs...);
  const View<Out> to = arranged(output, order);
  [[maybe_unused]] const auto keep = [&]<class T>(const View<const T>& from) {
    const bool isScattered = Tiles::accessOf(from) == Tiles::Access::strided && denseAxis(from) < 3;
    return KeptInput<T>(self, threads, from, isScattered || aliasingOf(from, to) > Aliasing::identical);
  };
  constexpr double nanosecondsPerVoxel = 0.2;  // some rules take longer, most less
  transformArranged({self, threads, steps, schedule, output.dimTert, LoopTime::of(output.size(), nanosecondsPerVoxel)},
                    rule, to, keep(arranged(inputs, order)).view()...);
}

/// As above, with slices shared out evenly.
template <class Rule, class Out, class... In>
void transformVoxels(OperatorBase& self, int threads, Steps steps, const Rule& rule, const View<Out>& output,
                     const View<const In>&... inputs) {
  transformVoxels(self, threads, steps, Schedule::fixed, rule, output, inputs...);
}

}  // namespace NORV::TaviOperators::Impl
