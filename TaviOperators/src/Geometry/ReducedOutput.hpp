#pragma once

#include <Impl/Loops/TransformVoxels.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

namespace NORV::TaviOperators::Impl {

/// All stored voxels of a volume, in the order of memory.
template <class T>
View<T> blockOf(Volume<T>& volume) {
  const auto stored = volume.getAllocatedDimension();
  const auto row = static_cast<int64>(stored.prim);
  return {volume.getData(), stored.prim, stored.sec, stored.tert, 1, row, row * static_cast<int64>(stored.sec)};
}

/// Prepares the output volume of given extents, calls `fill(view)` on it and returns it. Where a given volume shares
/// memory with the input, its voxels are computed beside it: to write them, or to resize it, would change the input.
template <class OutputPtr, class T, class Fill>
OutputPtr fillOutput(OperatorBase& self, int threads, const SmartPointer<IVolume>& given,
                     const Dimension<SizeType>& extents, const View<const T>& input, const Fill& fill) {
  const auto prepare = [&](const SmartPointer<IVolume>& volume) {
    return Tavi::Impl::checkOutputVolume<OutputPtr>(volume, extents, "NORV::TaviOperators::Operator");
  };
  const OutputPtr typed(given);
  const bool isShared = typed != nullptr && mayOverlap(blockOf(*typed), input);
  const OutputPtr target = prepare(isShared ? SmartPointer<IVolume>() : given);
  fill(viewOf(*target));
  if (!isShared || self.isAborted()) {
    return target;
  }
  const OutputPtr output = prepare(given);
  transformVoxels(
      self, threads, Steps::silent, [](T x) { return x; }, viewOf(*output), viewOf(std::as_const(*target)));
  return output;
}

}  // namespace NORV::TaviOperators::Impl
