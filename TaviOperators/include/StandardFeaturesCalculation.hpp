#pragma once

#include <Features.hpp>
#include <Parameter.hpp>

/// Measures each object of a label volume: size, bounding box, centres, statistics of its grey values, and shape.
///
/// Extra memory: per thread a record of 144 bytes at most for each label up to the largest that is asked for, and the
/// result. Parallel over slices, one step of progress each; which thread measures which slice is not fixed, so with
/// more than one thread the last digits of sums of floating-point values may differ from run to run.
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
           like("inputLabelVolume", required, "largest label that is measured; memory grows with it"));
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputFeaturesVector", outputFeaturesVector,
           {Takes::object, optional, "a record for each label that occurs, in ascending order"});
  }
  std::string getType() const override { return "NORV::TaviOperators::StandardFeaturesCalculation::Parameter"; }
};

}  // namespace NORV::TaviOperators::StandardFeaturesCalculation
