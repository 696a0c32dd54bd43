#pragma once

#include <ConnectedComponentsParameter.hpp>

/// Numbers the objects of a volume, where voxels that share a face, an edge or a corner are of one object.
namespace NORV::TaviOperators::ChessboardConnectedComponentsAnalysis {

/// One run. The background is a `Data<T>` of the voxel type of inputFirstVolume.
class Parameter final : public ConnectedComponentsParameter<Parameter> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
  std::string getType() const override {
    return "NORV::TaviOperators::ChessboardConnectedComponentsAnalysis::Parameter";
  }
};

}  // namespace NORV::TaviOperators::ChessboardConnectedComponentsAnalysis
