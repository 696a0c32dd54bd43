#pragma once

#include <ObjectSelectionParameter.hpp>

/// Removes the objects of a volume that have more voxels than a threshold.
namespace NORV::TaviOperators::BigObjectsRemover {

/// One run. The background label is a `Data` of the voxel type of inputLabelVolume, the substitution value one of that
/// of inputVolume.
class Parameter final : public SizeSelectionParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::BigObjectsRemover::Parameter"; }
};

}  // namespace NORV::TaviOperators::BigObjectsRemover
