#pragma once

#include <BinarizationParameter.hpp>

/// Separates the voxels within a range of grey values, both limits included, from all others.
///
/// A NaN lies on neither side of the range and so is foreground. Limits in the wrong order leave nothing between them.
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::RangeBinarization {

/// One run. The thresholds are each a `Data<T>` of the voxel type of inputVolume, the two values of that of
/// outputVolume.
class Parameter final : public BinarizationParameter<Parameter> {
public:
  Property<IData> inputMinimumThreshold;
  Property<IData> inputMaximumThreshold;

  Parameter() {
    appendInputVolume();
    appendOutputVolume(required, "target, whose voxel type is that of the two values");
    append("inputMinimumThreshold", inputMinimumThreshold,
           like("inputVolume", required, "lowest grey value of the foreground"));
    append("inputMaximumThreshold", inputMaximumThreshold,
           like("inputVolume", required, "highest grey value of the foreground"));
    appendValuesAndThreads();
  }
  std::string getType() const override { return "NORV::TaviOperators::RangeBinarization::Parameter"; }
};

}  // namespace NORV::TaviOperators::RangeBinarization
