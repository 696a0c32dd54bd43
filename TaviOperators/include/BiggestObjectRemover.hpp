#pragma once

#include <ObjectSelectionParameter.hpp>

/// Removes the largest object of a volume, or all that share the largest size.
///
/// If there is nothing but the protected label, all is removed.
namespace NORV::TaviOperators::BiggestObjectRemover {

/// One run. The background label is a `Data` of the voxel type of inputLabelVolume, the substitution value one of that
/// of inputVolume.
class Parameter final : public BiggestSelectionParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::BiggestObjectRemover::Parameter"; }
};

}  // namespace NORV::TaviOperators::BiggestObjectRemover
