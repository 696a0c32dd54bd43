#pragma once

#include <VoxelWise/Binarization.hpp>

/// Separates the voxels within a range of grey values, both limits included, from all others.
///
/// A NaN lies on neither side of the range and so is foreground. Limits in the wrong order leave nothing between them.
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::RangeBinarization {

inline constexpr Impl::Names names{"RangeBinarization"};

/// One run. The thresholds are each a `Data<T>` of the voxel type of inputVolume, the two values of that of
/// outputVolume.
class Parameter final : public Impl::BinarizationParameter<Parameter> {
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
  std::string getType() const override { return names.parameterType(); }
};

template <class T>
struct Range {
  using Voxel = T;
  T minimum, maximum;
  // Both tests are always made, so that no branch stands in the way of vector code.
  bool isForeground(T x) const { return !((minimum > x) | (x > maximum)); }
};

struct Traits {
  static constexpr const Impl::Names& names = RangeBinarization::names;
  static constexpr const char* missingInput = " the input volume is NULL";

  template <class T>
  static Range<T> criterion(const Parameter& parameter) {
    const T minimum = parameter.inputMinimumThreshold.template extractValue<T>();
    const T maximum = parameter.inputMaximumThreshold.template extractValue<T>();
    return {minimum, maximum};
  }
};

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::BinarizationOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace NORV::TaviOperators::RangeBinarization
