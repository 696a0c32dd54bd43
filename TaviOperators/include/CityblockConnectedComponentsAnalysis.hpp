#pragma once

#include <Impl/ConnectedComponents.hpp>

/// Labels the objects of a volume: connected sets of voxels that differ from the background, where voxels touch that
/// share a face.
///
/// Labels rise from 1 in the order in which a scan meets the objects; the background is 0. Extra memory: the table of
/// provisional labels, which stays with the operator, and two bits per voxel of a slice. One thread; two steps of
/// progress per slice.
namespace NORV::TaviOperators::CityblockConnectedComponentsAnalysis {

struct Traits {
  static constexpr Impl::Names names{"CityblockConnectedComponentsAnalysis"};
  static constexpr Impl::Connectivity connectivity = Impl::Connectivity::faces;

  template <class In>
  [[noreturn]] static void throwOverflow() {
    Impl::throwCityblockOverflow();
  }
};

inline constexpr const Impl::Names& names = Traits::names;

class Parameter final : public Impl::LabellingParameter<Parameter, Traits> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
};

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::LabellingOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace NORV::TaviOperators::CityblockConnectedComponentsAnalysis
