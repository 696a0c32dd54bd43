#pragma once

#include <Impl/Loops/TransformVoxels.hpp>
#include <Impl/Loops/View.hpp>

namespace NORV::TaviOperators::Impl {

/// Sets every voxel of a view to `value`, in parallel over slices.
template <class T>
void fillVoxels(OperatorBase& self, int threads, const View<T>& view, T value) {
  transformVoxels(
      self, threads, Steps::silent, [value] { return value; }, view);
}

}  // namespace NORV::TaviOperators::Impl
