#pragma once

#include <DistanceParameter.hpp>

/// Gives each voxel the number of steps through faces to the nearest voxel of a given value.
///
/// Distances count voxels, whatever their size. None exceeds the largest value of the output's voxel type minus 2 minus
/// twice the largest extent of the volume, wrapped into the type; a voxel that no voxel of the value reaches holds
/// that.
namespace NORV::TaviOperators::CityblockDistanceTransform {

class Parameter final : public DistanceParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override { return "NORV::TaviOperators::CityblockDistanceTransform::Parameter"; }
};

}  // namespace NORV::TaviOperators::CityblockDistanceTransform
