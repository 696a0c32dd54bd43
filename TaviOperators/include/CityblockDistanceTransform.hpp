#pragma once

#include <Distance/DistanceTransform.hpp>

/// Gives each voxel the number of steps through faces to the nearest voxel of a given value.
///
/// Distances count voxels, whatever their size. None exceeds the largest value of the output's voxel type minus 2 minus
/// twice the largest extent of the volume, wrapped into the type; a voxel that no voxel of the value reaches holds
/// that.
namespace NORV::TaviOperators::CityblockDistanceTransform {

struct Traits {
  static constexpr Impl::Names names{"CityblockDistanceTransform"};
  static constexpr const Impl::Names& namesInFailures = names;
  static constexpr Impl::Neighbours neighbours = Impl::Neighbours::faces;

  /// Both volumes are scanned as they are seen.
  struct Scan {
    Scan(const IVolume&, const IVolume&) {}
    void end() {}
  };
};

inline constexpr const Impl::Names& names = Traits::names;

class Parameter final : public Impl::DistanceParameter<Parameter, Traits> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
};

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::DistanceOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace NORV::TaviOperators::CityblockDistanceTransform
