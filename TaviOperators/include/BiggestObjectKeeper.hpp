#pragma once

#include <ObjectSelectionParameter.hpp>

/// Removes all objects of a volume but the largest, or those that share the largest size.
namespace NORV::TaviOperators::BiggestObjectKeeper {

/// One run. The background label is a `Data` of the voxel type of inputLabelVolume, the substitution value one of that
/// of inputVolume.
class Parameter final : public BiggestSelectionParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::BiggestObjectKeeper::Parameter"; }
};

}  // namespace NORV::TaviOperators::BiggestObjectKeeper
