#pragma once

#include <Impl/HistogramUpdate.hpp>

/// Writes to each voxel the minimum of the voxels under a structuring element.
///
/// Impl/HistogramUpdate.hpp tells which voxels are written, the memory needed and the threads.
namespace NORV::TaviOperators::HistogramUpdateErosion {

inline constexpr Impl::Names names{"HistogramUpdateErosion"};

struct Traits {
  static constexpr const Impl::Names& names = HistogramUpdateErosion::names;
  static SizeType rank(SizeType) { return 0; }
};

/// One run. The mask is a volume of `uint8`.
class Parameter final : public Impl::HistogramUpdateParameter<Parameter, Traits> {};

template <class InputPtr, class OutputPtr, class MaskPointer>
class Operator final : public Impl::HistogramUpdateOperator<Operator<InputPtr, OutputPtr, MaskPointer>, Parameter,
                                                            Traits, InputPtr, OutputPtr, MaskPointer> {};

}  // namespace NORV::TaviOperators::HistogramUpdateErosion
