#pragma once

#include <HistogramUpdateParameter.hpp>

/// Writes to each voxel the minimum of the voxels under a structuring element.
///
/// Impl/HistogramUpdate.hpp tells which voxels are written, the memory needed and the threads.
namespace NORV::TaviOperators::HistogramUpdateErosion {

/// One run. The mask is a volume of `uint8`.
class Parameter final : public HistogramUpdateParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::HistogramUpdateErosion::Parameter"; }
};

}  // namespace NORV::TaviOperators::HistogramUpdateErosion
