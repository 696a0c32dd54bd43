#pragma once

#include <Impl/Loops/KeptInput.hpp>
#include <Impl/Loops/View.hpp>
#include <Operator.hpp>

namespace NORV::TaviOperators::Impl {

/// Prepares the output volume of given extents, calls `fill(view)` on it and returns it. Where a given volume shares
/// memory with the input, its voxels are computed beside it: to write them, or to resize it, would change the input.
template <class OutputPtr, class T, class Fill>
OutputPtr fillOutput(OperatorBase& self, int threads, const SmartPointer<IVolume>& given,
                     const Dimension<SizeType>& extents, const View<const T>& input, const Fill& fill) {
  const auto prepare = [&](const SmartPointer<IVolume>& volume) {
    return Tavi::Impl::checkOutputVolume<OutputPtr>(volume, extents, "NORV::TaviOperators::Operator");
  };
  const OutputPtr typed(given);
  const bool isShared =
      typed != nullptr && mayOverlap(denseView(typed->getData(), typed->getAllocatedDimension()), input);
  const OutputPtr target = prepare(isShared ? SmartPointer<IVolume>() : given);
  fill(viewOf(*target));
  if (!isShared || self.isAborted()) {
    return target;
  }
  const OutputPtr output = prepare(given);
  copyVoxels(self, threads, viewOf(std::as_const(*target)), viewOf(*output));
  return output;
}

}  // namespace NORV::TaviOperators::Impl
