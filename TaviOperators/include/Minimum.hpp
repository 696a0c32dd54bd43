#pragma once

#include <PairwiseParameter.hpp>

/// Gives each voxel the smaller of the voxels of two volumes at its place.
namespace NORV::TaviOperators::Minimum {

class Parameter final : public PairwiseParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::Minimum::Parameter"; }
};

}  // namespace NORV::TaviOperators::Minimum
