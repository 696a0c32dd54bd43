#pragma once

#include <PairwiseParameter.hpp>

/// Gives each voxel the larger of the voxels of two volumes at its place.
namespace NORV::TaviOperators::Maximum {

class Parameter final : public PairwiseParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::Maximum::Parameter"; }
};

}  // namespace NORV::TaviOperators::Maximum
