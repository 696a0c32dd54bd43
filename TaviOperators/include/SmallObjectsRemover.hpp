#pragma once

#include <ObjectSelectionParameter.hpp>

/// Removes the objects of a volume that have fewer voxels than a threshold.
///
/// The number of removed objects counts labels below the largest that occur nowhere as objects without a voxel.
namespace NORV::TaviOperators::SmallObjectsRemover {

/// One run. The background label is a `Data` of the voxel type of inputLabelVolume, the substitution value one of that
/// of inputVolume.
class Parameter final : public SizeSelectionParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::SmallObjectsRemover::Parameter"; }
};

}  // namespace NORV::TaviOperators::SmallObjectsRemover
