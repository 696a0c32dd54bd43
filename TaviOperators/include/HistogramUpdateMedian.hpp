#pragma once

#include <Rank/HistogramUpdate.hpp>
#include <Rank/MedianRows.hpp>

/// Writes to each voxel the median of the voxels under a structuring element.
///
/// Impl/HistogramUpdate.hpp tells which voxels are written, the memory needed and the threads.
namespace NORV::TaviOperators::HistogramUpdateMedian {

inline constexpr Impl::Names names{"HistogramUpdateMedian"};

struct Traits {
  static constexpr const Impl::Names& names = HistogramUpdateMedian::names;
  /// Of an even number of voxels the lower one of the two in the middle.
  static SizeType rank(SizeType count) { return Impl::lowerMedianOf(count); }
  /// Each bit of the median costs a comparison and a sum.
  static double stepsPerVoxel(SizeType bits) { return 1.5 * static_cast<double>(bits); }

  template <class T>
  using Rows = Impl::MedianRows<T>;
};

/// One run. The mask is a volume of `uint8`.
class Parameter final : public Impl::HistogramUpdateParameter<Parameter, Traits> {};

template <class InputPtr, class OutputPtr, class MaskPointer>
class Operator final : public Impl::HistogramUpdateOperator<Operator<InputPtr, OutputPtr, MaskPointer>, Parameter,
                                                            Traits, InputPtr, OutputPtr, MaskPointer> {};

}  // namespace NORV::TaviOperators::HistogramUpdateMedian
