#pragma once

#include <Parameter.hpp>

/// Turns a volume of one voxel type into another by plain numeric conversion.
///
/// An integer that the target does not hold keeps its low bits. A floating-point voxel is truncated toward zero, to 64
/// bits for uint32 and to 32 bits for the other integers, of which the target keeps the low bits: -1.0 becomes
/// 4294967295 in uint32, 300.0 becomes 44 in uint8. A value beyond these bits becomes their lowest number. float64 to
/// float32 and integers to floating point round to nearest.
///
/// - Border: every voxel is written.
/// - NaN: becomes -2147483648 in int32, 0 in all other integers, and stays NaN in float targets.
/// - Failures: InvalidParameterObjectException for a missing volume or an outputVolume of another voxel type;
///   std::overflow_error for a thread count beyond 2147483647.
/// - Halo: none.
/// - Memory: none beyond the output, but a copy of an input that overlaps the output in another way than voxel by
///   voxel.
/// - Threads: parallel over slices; the result does not depend on the number of threads. No steps of progress.
/// - Cost: one pass at the speed of memory.
namespace NORV::TaviOperators::StaticCast {

/// One run. The voxel type of outputVolume, if it is given, is the target type.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<SizeType> inputNumberOfThreads;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "volume to convert"});
    append("inputNumberOfThreads", inputNumberOfThreads, threadCountKey());
    append("outputVolume", outputVolume,
           {Takes::volume, optional, "target, whose voxel type is converted to; made with the input's if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::StaticCast::Parameter"; }
};

}  // namespace NORV::TaviOperators::StaticCast
