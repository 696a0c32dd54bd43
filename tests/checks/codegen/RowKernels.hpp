#pragma once

#include <Impl/Frame/Instances.hpp>
#include <Impl/Loops/TransformVoxels.hpp>

/// A row loop of a voxel-wise operator, an instance of `transformRow`, for the check that the compiler turns it into
/// vector code. A source for each rule, as the rules stand in the sources of the operators.
template <class Rule, class Out, class... In>
[[gnu::noipa]] void rowKernel(const Rule& rule, Out* output, NORV::Tavi::SizeType count, const In*... inputs) {
  NORV::TaviOperators::Impl::transformRow(rule, output, count, inputs...);
}

/// Calls `call(output, first, second)` with rows of each voxel type.
template <class Call>
void forEachRowType(void* output, const void* first, const void* second, const Call& call) {
  namespace Impl = NORV::TaviOperators::Impl;
  Impl::forEachType(Impl::AllVoxelTypes(), [&]<class T>() {
    call(static_cast<T*>(output), static_cast<const T*>(first), static_cast<const T*>(second));
  });
}
