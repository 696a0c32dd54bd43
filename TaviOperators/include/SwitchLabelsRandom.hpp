#pragma once

#include <Parameter.hpp>

/// Permutes the labels of a label volume at random, all but 0, so that neighbouring objects get numbers, and colours,
/// far apart.
///
/// The permutation follows the process-wide sequence of `std::rand`, which is not seeded here: `std::srand` makes runs
/// repeatable. A label at or beyond inputNumberOfLabels throws IndexOutOfRange before anything is written; a number of
/// labels beyond 2^32 throws `std::overflow_error`. Extra memory: one label per number of labels. One thread; a step of
/// progress per slice.
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
