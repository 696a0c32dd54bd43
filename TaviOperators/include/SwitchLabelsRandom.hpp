#pragma once

#include <Parameter.hpp>

/// Permutes the labels of a label volume at random, except 0.
///
/// So neighbouring objects get numbers, and colours, far apart. The permutation follows the process-wide sequence of
/// std::rand, which is not seeded here: std::srand makes runs repeatable.
///
/// - Border: every voxel is written.
/// - NaN: there is none in integer voxels.
/// - Failures: InvalidParameterObjectException for a missing volume or number of labels, or an outputVolume of another
///   voxel type; std::overflow_error for a number of labels beyond 2^32, NumericalOverflow for one beyond the voxel
///   type; IndexOutOfRange for a label at or beyond the number. All before the output is resized.
/// - Halo: whole volume.
/// - Memory: one label per number of labels.
/// - Threads: the draws are serial, as std::rand is one sequence; as many as the runtime offers for the passes over
///   volumes from 131072 voxels on. One step of progress per slice.
/// - Cost: two passes at the speed of memory, and one draw per label.
namespace NORV::TaviOperators::SwitchLabelsRandom {

/// One run.
class Parameter final : public CompositeOfProperties<Parameter> {
public:
  Property<SmartPointer<IVolume>> inputVolume;
  Property<uint64> inputNumberOfLabels;
  Property<SmartPointer<IVolume>> outputVolume;

  Parameter() {
    append("inputVolume", inputVolume, {Takes::volume, required, "labels, of an unsigned voxel type"});
    append("inputNumberOfLabels", inputNumberOfLabels,
           {Takes::count, required, "number of labels, the background included; all labels are below it"});
    append("outputVolume", outputVolume, {Takes::volume, optional, "target of the same voxel type; made if absent"});
  }
  std::string getType() const override { return "NORV::TaviOperators::SwitchLabelsRandom::Parameter"; }
};

}  // namespace NORV::TaviOperators::SwitchLabelsRandom
