#pragma once

#include <BinarizationParameter.hpp>

/// Separates the voxels that have all bits of a pattern set from all others. Every voxel has the pattern 0.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::BitPatternBinarization {

/// One run. The pattern is a `Data<T>` of the voxel type of inputVolume, the two values of that of outputVolume.
class Parameter final : public BinarizationParameter<Parameter> {
public:
  Property<IData> inputBitPattern;

  Parameter() {
    appendInputVolume();
    append("inputBitPattern", inputBitPattern,
           like("inputVolume", required, "bits that all voxels of the foreground have"));
    appendValuesAndThreads();
    appendOutputVolume(optional, "target, whose voxel type is that of the two values; made with the input's if absent");
  }
  std::string getType() const override { return "NORV::TaviOperators::BitPatternBinarization::Parameter"; }
};

}  // namespace NORV::TaviOperators::BitPatternBinarization
