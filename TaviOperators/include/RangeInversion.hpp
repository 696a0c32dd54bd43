#pragma once

#include <Parameter.hpp>

/// Mirrors the grey values of a volume within the range that they have: a voxel x becomes n - x + m, where m is the
/// smallest and n the largest voxel of the view.
///
/// The arithmetic is that of the voxel type. It is computed for each voxel also where the few values of a narrow range
/// would fit a table: a look into a table takes longer than two additions and gives the same. A NaN voxel stays NaN; if
/// it is the first of the volume, all voxels become NaN. Extra memory: two values per slice. Parallel over slices; the
/// search for the extremes is half of the progress, the slices are the other half.
namespace NORV::TaviOperators::RangeInversion {

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SmartPointer<IVolume>> outputVolume;
  Property<SizeType> inputNumberOfThreads;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to mirror"});
    append("outputVolume", outputVolume, {Takes::volume, required, "target of the same voxel type"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
  }
  std::string getType() const override { return "NORV::TaviOperators::RangeInversion::Parameter"; }
};

}  // namespace NORV::TaviOperators::RangeInversion
