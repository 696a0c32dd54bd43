#pragma once

#include <Labelling/ConnectedComponents.hpp>

/// Numbers the objects of a volume, where voxels that share a face are of one object.
namespace NORV::TaviOperators::CityblockConnectedComponentsAnalysis {

struct Traits {
  static constexpr Impl::Names names{"CityblockConnectedComponentsAnalysis"};
  static constexpr Impl::Neighbours neighbours = Impl::Neighbours::faces;
};

inline constexpr const Impl::Names& names = Traits::names;

/// One run. The background is a `Data<T>` of the voxel type of inputFirstVolume.
class Parameter final : public Impl::ConnectedComponentsParameter<Parameter, Traits> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
};

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::ConnectedComponentsOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {
};

}  // namespace NORV::TaviOperators::CityblockConnectedComponentsAnalysis
