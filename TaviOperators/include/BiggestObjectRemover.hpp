#pragma once

#include <Labelling/ObjectSelection.hpp>

/// Removes the largest object of a volume, or all that share the largest size.
///
/// If there is nothing but the protected label, all is removed.
namespace NORV::TaviOperators::BiggestObjectRemover {

struct Traits {
  static constexpr Impl::Names names{"BiggestObjectRemover"};

  static Impl::SizeRule rule(Impl::ObjectSizes& sizes, uint64* protectedSize, uint64) {
    if (protectedSize != nullptr) {
      *protectedSize = 0;
    }
    return {sizes.largest(), false};
  }
};

inline constexpr const Impl::Names& names = Traits::names;

/// One run. The background label is a `Data` of the voxel type of inputLabelVolume, the substitution value one of that
/// of inputVolume.
class Parameter final : public Impl::BiggestSelectionParameter<Parameter, Traits> {
public:
  Parameter() {}  // written out: an implicit one would not register the class in a library that never calls it
};

template <class InputPtr, class LabelPtr, class OutputPtr>
class Operator final : public Impl::SelectionOperator<Operator<InputPtr, LabelPtr, OutputPtr>, Parameter, Traits,
                                                      InputPtr, LabelPtr, OutputPtr> {};

}  // namespace NORV::TaviOperators::BiggestObjectRemover
