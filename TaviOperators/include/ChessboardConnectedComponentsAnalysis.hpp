#pragma once

#include <Impl/ConnectedComponents.hpp>

#include <type_traits>

/// Labels the objects of a volume: connected sets of voxels that differ from the background, where voxels touch that
/// share a face, an edge or a corner.
///
/// Labels rise from 1 in the order in which a scan meets the objects; the background is 0. Extra memory: the table of
/// provisional labels, which stays with the operator, and two bits per voxel of a slice. One thread; two steps of
/// progress per slice.
namespace NORV::TaviOperators::ChessboardConnectedComponentsAnalysis {

struct Traits {
  static constexpr Impl::Names names{"ChessboardConnectedComponentsAnalysis"};
  static constexpr Impl::Connectivity connectivity = Impl::Connectivity::all;

  template <class In>
  [[noreturn]] static void throwOverflow() {
    if constexpr (std::is_same_v<In, int8>) {
      Impl::throwChessboardInt8Overflow();
    } else {
      Impl::throwChessboardOverflow();
    }
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

}  // namespace NORV::TaviOperators::ChessboardConnectedComponentsAnalysis
