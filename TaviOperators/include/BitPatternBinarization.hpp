#pragma once

#include <VoxelWise/Binarization.hpp>

/// Separates the voxels that have all bits of a pattern set from all others. Every voxel has the pattern 0.
///
/// Extra memory: none. Parallel over slices; the progress stays 0 until the end.
namespace NORV::TaviOperators::BitPatternBinarization {

inline constexpr Impl::Names names{"BitPatternBinarization"};

/// One run. The pattern is a `Data<T>` of the voxel type of inputVolume, the two values of that of outputVolume.
class Parameter final : public Impl::BinarizationParameter<Parameter> {
public:
  Property<IData> inputBitPattern;

  Parameter() {
    appendInputVolume();
    append("inputBitPattern", inputBitPattern,
           like("inputVolume", required, "bits that all voxels of the foreground have"));
    appendValuesAndThreads();
    appendOutputVolume(optional, "target, whose voxel type is that of the two values; made with the input's if absent");
  }
  std::string getType() const override { return names.parameterType(); }
};

template <class Bits>
struct AllBitsSet {
  using Voxel = Bits;
  Bits pattern;
  bool isForeground(Bits x) const { return (x & pattern) == pattern; }
};

struct Traits {
  static constexpr const Impl::Names& names = BitPatternBinarization::names;
  static constexpr const char* missingInput = " input volume is NULL";

  template <class T>
  static AllBitsSet<Impl::BitsOf<T>> criterion(const Parameter& parameter) {
    return {static_cast<Impl::BitsOf<T>>(parameter.inputBitPattern.template extractValue<T>())};
  }
};

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::BinarizationOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace NORV::TaviOperators::BitPatternBinarization
