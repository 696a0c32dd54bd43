#pragma once

#include <Labelling/ObjectSelection.hpp>

/// Removes the objects of a volume that have fewer voxels than a threshold.
///
/// The number of removed objects counts labels below the largest that occur nowhere as objects without a voxel.
namespace NORV::TaviOperators::SmallObjectsRemover {

struct Traits {
  static constexpr Impl::Names names{"SmallObjectsRemover"};

  static Impl::SizeRule rule(Impl::ObjectSizes&, uint64* protectedSize, uint64 threshold) {
    if (protectedSize != nullptr) {
      *protectedSize = threshold;
    }
    return {threshold, true};
  }
};

inline constexpr const Impl::Names& names = Traits::names;

/// One run. The background label is a `Data` of the voxel type of inputLabelVolume, the substitution value one of that
/// of inputVolume.
class Parameter final : public Impl::SizeSelectionParameter<Parameter, Traits> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
};

template <class InputPtr, class LabelPtr, class OutputPtr>
class Operator final : public Impl::SelectionOperator<Operator<InputPtr, LabelPtr, OutputPtr>, Parameter, Traits,
                                                      InputPtr, LabelPtr, OutputPtr> {};

}  // namespace NORV::TaviOperators::SmallObjectsRemover
