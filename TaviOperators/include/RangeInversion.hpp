#pragma once

#include <Parameter.hpp>

/// Mirrors the grey values of a volume within the range that they have.
///
/// A voxel x becomes n - x + m, where m is the smallest and n the largest voxel of the view. The arithmetic is that of
/// the voxel type.
///
/// - Border: every voxel is written.
/// - NaN: stays NaN; as the first voxel of the volume it makes all voxels NaN.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   std::overflow_error for a thread count beyond 2147483647.
/// - Halo: whole volume.
/// - Memory: two values per slice, and a copy of a floating-point input whose rows are not dense while the extremes are
///   found. None beyond the output, but a copy of an input that overlaps the output in another way than voxel by voxel.
/// - Threads: parallel over slices; the result does not depend on the number of threads. The search for the extremes is
///   half of the progress, the slices are the other half.
/// - Cost: two passes at the speed of memory.
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
