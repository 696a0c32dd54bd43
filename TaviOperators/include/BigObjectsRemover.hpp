#pragma once

#include <Labelling/ObjectSelection.hpp>

#include <limits>

/// Removes the objects of a volume that have more voxels than a threshold.
namespace NORV::TaviOperators::BigObjectsRemover {

struct Traits {
  static constexpr Impl::Names names{"BigObjectsRemover"};

  /// No size exceeds the largest number.
  static Impl::SizeRule rule(Impl::ObjectSizes&, uint64* protectedSize, uint64 threshold) {
    if (protectedSize != nullptr) {
      *protectedSize = 0;
    }
    return threshold == std::numeric_limits<uint64>::max() ? Impl::SizeRule{0, true}
                                                           : Impl::SizeRule{threshold + 1, false};
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

}  // namespace NORV::TaviOperators::BigObjectsRemover
