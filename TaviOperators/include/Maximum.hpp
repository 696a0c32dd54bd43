#pragma once

#include <VoxelWise/PairwiseChoice.hpp>

/// Gives each voxel the larger of the voxels of two volumes at its place.
namespace NORV::TaviOperators::Maximum {

struct Traits {
  static constexpr Impl::Names names{"Maximum"};

  /// On a NaN in either volume the comparison fails, and the first voxel stays.
  template <class T>
  struct Choose {
    T operator()(T first, T second) const { return second > first ? second : first; }
  };
};

inline constexpr const Impl::Names& names = Traits::names;

class Parameter final : public Impl::PairwiseParameter<Parameter, Traits> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
};

template <class InputPtr, class OutputPtr>
class Operator final
    : public Impl::PairwiseOperator<Operator<InputPtr, OutputPtr>, Parameter, Traits, InputPtr, OutputPtr> {};

}  // namespace NORV::TaviOperators::Maximum
