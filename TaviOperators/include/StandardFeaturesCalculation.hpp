#pragma once

#include <Features.hpp>
#include <Parameter.hpp>

/// Measures the objects of a label volume: size, box, centres, statistics, shape.
///
/// A record is appended to the result for each label of the range that occurs, in ascending order. A vector that is
/// given keeps its earlier records.
///
/// - Border: every voxel is read.
/// - NaN: makes the sums of its object NaN.
/// - Failures: InvalidParameterObjectException for a missing volume or extents that differ; NULLPointer for a missing
///   label; std::overflow_error for a label beyond the voxel type; std::bad_alloc before the result changes.
/// - Halo: whole volume.
/// - Memory: per thread a record of 144 bytes at most for each label of the range; where the range holds more than
///   65536 labels and more than one for every 8 voxels, for each label that occurs. And the result. A copy of each
///   input whose rows are not dense.
/// - Threads: parallel over slices as threads become free, one step of progress each. With more than one thread the
///   last digits of sums of floating-point values may differ from run to run.
/// - Cost: one pass at the speed of memory; runs of one label are measured at once.
namespace NORV::TaviOperators::StandardFeaturesCalculation {

/// One run. The labels are `Data` of an integer type that fit the voxel type of inputLabelVolume; the result is a
/// `FeaturesVector`, to which an object of this class that is given already is extended.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputLabelVolume;
  Property<SmartPointer<IVolume>> inputValueVolume;
  Property<SmartPointer<IComposite>> inputMinimumLabel;
  Property<SmartPointer<IComposite>> inputMaximumLabel;
  Property<int32> inputNumberOfThreads;
  Property<SmartPointer<IComposite>> outputFeaturesVector;

  Parameter() {
    append("inputLabelVolume", inputLabelVolume, {Takes::volume, required, "labels, of an unsigned voxel type"});
    append("inputValueVolume", inputValueVolume, {Takes::volume, required, "grey values, of the same extents"});
    append("inputMinimumLabel", inputMinimumLabel,
           like("inputLabelVolume", required, "smallest label that is measured"));
    append("inputMaximumLabel", inputMaximumLabel,
           like("inputLabelVolume", required, "largest label that is measured"));
    append("inputNumberOfThreads", inputNumberOfThreads,
           threadCountKey().cautioning(
               "with several threads the last digits of sums of floating-point values may differ from run to run"));
    append("outputFeaturesVector", outputFeaturesVector,
           {Takes::object, optional, "a record for each label that occurs, in ascending order"});
  }
  std::string getType() const override { return "NORV::TaviOperators::StandardFeaturesCalculation::Parameter"; }
};

}  // namespace NORV::TaviOperators::StandardFeaturesCalculation
